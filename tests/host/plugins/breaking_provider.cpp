#include <unistd.h>

#include <cfiproviderentry.h>
#include <cfiprovidersetup.h>
#include <cfistringtool.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "breaking.h"

namespace {

using namespace orca_pdk;
namespace fs = std::filesystem;

constexpr char kMarker[] = "<breaking>";
constexpr char kGroup[] = "breaking_GROUP";

struct Refusal {
  std::string what;
  std::string why;
  int result = FI_INVALID;
};

SFiProviderIdentity identity() {
  SFiProviderIdentity identity;
  identity.providerName = "breaking";
  identity.traceLevel = 0;
  return identity;
}

CFiConfigParamInfo parameter(const char* key, const char* messageId, int32_t type,
                             const char* defaultValue) {
  CFiConfigParamInfo info;
  info.key = key;
  info.messageId = messageId;
  info.dataType = type;
  info.usageType = FI_USAGE_SELECT;
  info.defaultValue = defaultValue;
  return info;
}

std::map<std::string, CFiConfigParamInfo> parameters() {
  CFiConfigParamInfo mode = parameter("mode", "BREAKING_MODE", FI_DATATYPE_STRING_LIST, "auto");
  mode.selectionList = {"auto", "copy"};
  CFiConfigParamInfo keep = parameter("keep", "BREAKING_KEEP", FI_DATATYPE_INT, "7");
  keep.rangeMin = 1;
  keep.rangeMax = 64;
  return {{"mode", mode},
          {"keep", keep},
          {"check", parameter("check", "BREAKING_CHECK", FI_DATATYPE_BOOLEAN, "false")},
          {"label", parameter("label", "BREAKING_LABEL", FI_DATATYPE_STRING, "none")}};
}

std::string nameOf(const orca_objid* id) {
  return id == nullptr || id->name == nullptr ? "" : id->name;
}

std::string nameOf(const pyx_domain* domain) {
  return domain == nullptr ? "" : nameOf(domain->objid);
}

// The file that a node is, or stands in front of.
fs::path fileOf(const std::string& node) {
  return node.starts_with(kMarker) ? node.substr(sizeof kMarker - 1) : node;
}

// Copies files, and keeps every requirement but the one that CHECK_BREAK names.
class Breaking : public CFiPluginBase {
 public:
  Breaking() : m_setup(*this, identity()) {
    if (breaks("load.entry")) throw std::runtime_error("no provider");
    if (breaks("load.again")) countLoads();
    ++s_alive;
    for (CFiConfigParamInfoList* list : {&firstConfigInfoList(1), &secondConfigInfoList(1)}) {
      list->params = parameters();
      list->updateXML();
    }
  }
  ~Breaking() override { --s_alive; }

  int init() override {
    breakSurroundings();
    return breaks("load.side_by_side") && s_alive > 1 ? FI_FAILED : FI_OK;
  }

  int isReady(char*, pyx_splitnode** nodes, int) override {
    if (breaks("table.returns")) nodes[0]->domain = nullptr;
    if (breaks("table.exceptions")) throw std::runtime_error("not ready");
    return breaks("table.results") ? 77 : FI_OK;
  }

  int claim(orca_objid* id, orca_objid***, int*) override {
    const std::string name = nameOf(id);
    const bool isFront = name.starts_with(kMarker);
    if (breaks("node.claim") && m_claimed.erase(name) > 0) return PYX_CLAIM_NONE;
    if (breaks("node.front") && isFront) return PYX_CLAIM_NONE;
    m_claimed.insert(name);
    if (breaks("node.nonsense") && name.size() > 5000) return PYX_CLAIM_PRIMARY;
    std::error_code failed;
    if (!fs::is_regular_file(fileOf(name), failed)) return PYX_CLAIM_NONE;
    return isFront ? PYX_CLAIM_SECONDARY : PYX_CLAIM_PRIMARY;
  }

  int interpose(pyx_domain* domain, orca_objid** front, orca_objid*** groups, int* count) override {
    const std::string name = nameOf(domain);
    if (name.empty() || front == nullptr || groups == nullptr || count == nullptr) return FI_OK;
    *front = idOf((breaks("node.marker") ? "" : kMarker) + name);
    *groups = static_cast<orca_objid**>(orca_alloc_buf(sizeof **groups));
    (*groups)[0] = idOf(kGroup);
    *count = 1;
    return FI_YES;
  }

  int initNode(pyx_domain* domain, pyx_domain**, int, orca_objid*) override {
    const std::string name = nameOf(domain);
    if (breaks("node.again") && !m_begun.insert(name).second) return FI_FAILED;
    if (breaks("node.groups") && name == kGroup) return FI_FAILED;
    return findOrCreatePrivateData(domain, 0) ? FI_OK : FI_INVALID;
  }

  int config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec) override {
    if (breaks("node.apart") && (mode == 1 || mode == 2) && !m_first) m_first = domain;
    if (breaks("node.apart") && mode == 1) domain = m_first;
    return CFiPluginBase::config(domain, mode, sessionId, spec);
  }

 private:
  // The folder of the process remembers it: the library forgets all when it is unloaded.
  static void countLoads() {
    std::ofstream("loads", std::ios::app) << 'x';
    if (fs::file_size("loads") > 50) throw std::runtime_error("once too often");
  }

  static orca_objid* idOf(const std::string& name) {
    return orca_get_objid(name.c_str(), name.size() + 1, 3);
  }

  static inline int s_alive = 0;

  CFiProviderSetup m_setup;
  std::set<std::string> m_claimed;
  std::set<std::string> m_begun;
  pyx_domain* m_first = nullptr;
};

}  // namespace

ORCA_PROVIDER(Breaking);
