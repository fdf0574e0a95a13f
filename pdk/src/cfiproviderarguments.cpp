#include "cfiproviderarguments.h"

#include <limits.h>
#include <string.h>
#include <unistd.h>

#include <utility>

#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr std::size_t kQuoted = 64;  // bytes of a text that is no document

}  // namespace

void requireGiven(bool isGiven, const char* what) {
  if (!isGiven) throw SFiFailure{SFiHelperMessages().missing, {what}, FI_INVALID};
}

std::string givenName(const orca_objid* id) {
  requireGiven(id != nullptr && id->name != nullptr && *id->name != '\0', "object id");
  return id->name;
}

std::string givenName(const pyx_domain* node) {
  requireGiven(node != nullptr && node->objid != nullptr, "node");
  return givenName(node->objid);
}

std::vector<pyx_domain*> givenNodes(pyx_splitnode** nodes, int count) {
  requireGiven(nodes != nullptr || count <= 0, "node list");
  std::vector<pyx_domain*> given;
  for (int i = 0; i < count; ++i) {
    requireGiven(nodes[i] != nullptr && nodes[i]->domain != nullptr, "node");
    given.push_back(nodes[i]->domain);
  }
  return given;
}

std::string givenSnapshot(const pyx_domain* second, const pyx_splitnode* node) {
  return givenName(node != nullptr && node->second != nullptr ? node->second : second);
}

std::vector<std::string> givenHosts(const std::vector<tstr>& hosts) {
  std::vector<std::string> names;
  names.reserve(hosts.size());
  for (const tstr& host : hosts) names.push_back(CFiStringTool::tstr2str(host));
  if (!names.empty()) return names;
  char here[HOST_NAME_MAX + 1] = "";
  gethostname(here, sizeof here);
  return {here};
}

void checkConfig(int mode, pyx_confspec* spec,
                 const std::function<void(const CFiConfigParamDataList& values)>& check) {
  const bool sets = mode == FI_CONFIG_SET || mode == FI_CONFIG_SETPARAM;
  if (!sets || spec == nullptr || spec->first == 0 || spec->text == nullptr) return;
  char* const given = std::exchange(spec->text, nullptr);
  CFiConfigParamDataList values;
  if (values.parse(given) != FI_OK) {
    const std::string start(given, strnlen(given, kQuoted));
    throw SFiFailure{SFiHelperMessages().badDocument, {start}, FI_INVALID};
  }
  check(values);
  spec->text = given;
}

void checkConfig(int mode, pyx_confspec* spec, const CFiParameters& parameters) {
  checkConfig(mode, spec, [&](const auto& values) { parameters.requireAllowed(values); });
}

}  // namespace orca_pdk_4_4
