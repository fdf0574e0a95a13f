// A provider for the devices of a disk array that is driven by its command-line tool.
#include <cfiobjidlist.h>
#include <cfiparameters.h>
#include <cfiplugininterposer.h>
#include <cfiproviderentry.h>
#include <cfiprovidersetup.h>
#include <cfistringtool.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <utility>

#include "clones.h"
#include "failure.h"
#include "mapping.h"

namespace arraysnap {

namespace {

using namespace orca_pdk;

constexpr char kName[] = "arraysnap";
constexpr int kSnapshotIndex = 1;

SFiProviderIdentity identity() {
  tstr directory;
  tstr file;
  CFiConfigurationPathTool::getTraceFileInfo(kName, directory, file);
  SFiProviderIdentity id;
  id.providerName = kName;
  id.fimName = kName;
  id.unexpectedId = "ARRAYSNAP_UNEXPECTED";
  // Without its directory the log would only complain.
  id.traceLevel = std::filesystem::is_directory(directory.c_str()) ? FI_TRACE_INFO : 0;
  return id;
}

const CFiParameters& parameters() {
  static const CFiParameters kAll =
      CFiParameters()
          .addText("snapshot_resource_spec", "ARRAYSNAP_PARAM_RESOURCE_SPEC")
          .addChoice("clone_mode", "ARRAYSNAP_PARAM_CLONE_MODE", "full", {"cow", "full"});
  return kAll;
}

// Throws Failure for values that cannot be taken.
void requireAllowed(const CFiConfigParamDataList& values) {
  const auto fault = parameters().check(values);
  if (!fault) return;
  if (fault->isUnknown) throw Failure{"ARRAYSNAP_UNKNOWN_PARAMETER", {fault->key}, FI_INVALID};
  throw Failure{"ARRAYSNAP_BAD_VALUE", {fault->key, fault->value, fault->allowed}, FI_INVALID};
}

void requireAllowed(const char* text) {
  CFiConfigParamDataList values;
  if (values.parse(text) != FI_OK) {
    throw Failure{"ARRAYSNAP_BAD_DOCUMENT", {std::string(text, strnlen(text, 64))}, FI_INVALID};
  }
  requireAllowed(values);
}

CloneMode cloneMode(CFiPrivateData& data) {
  const CFiConfigParamDataList& values = *data.configDataList(kSnapshotIndex);
  requireAllowed(values);
  return parameters().text(values, "clone_mode") == "cow" ? CloneMode::kCow : CloneMode::kFull;
}

const char* nameOf(const pyx_domain* domain) {
  const bool isNamed = domain != nullptr && domain->objid != nullptr && domain->objid->name;
  return isNamed ? domain->objid->name : "";
}

const char* nameOf(const orca_objid* id) { return id != nullptr && id->name ? id->name : ""; }

std::vector<std::string> hostNames(const std::vector<tstr>& hosts) {
  std::vector<std::string> names;
  names.reserve(hosts.size());
  for (const tstr& host : hosts) names.push_back(CFiStringTool::tstr2str(host));
  if (!names.empty()) return names;
  char here[256] = "";
  gethostname(here, sizeof here - 1);
  return {here};
}

// What a snapshot of a node is made from and onto.
struct Plan {
  Device source;
  Device target;
  CloneMode mode;
};

class ArraySnap : public CFiPluginInterposer {
 public:
  ArraySnap() : m_setup(*this, identity()) {
    for (const auto& [pattern, fim] : ConfigurationFile().settings().fims) {
      addFim(pattern, fim.fimName, fim.fimDetail, fim.flags, fim.group);
    }
    parameters().describe(firstConfigInfoList(kSnapshotIndex));
    parameters().describe(secondConfigInfoList(kSnapshotIndex));
  }

  // Refused values change nothing, and do not stay with the request.
  int config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec) override {
    return m_setup.guarded("config", [&] {
      const bool sets = mode == FI_CONFIG_SET || mode == FI_CONFIG_SETPARAM;
      if (sets && spec != nullptr && spec->first != 0 && spec->text != nullptr) {
        char* const given = std::exchange(spec->text, nullptr);
        requireAllowed(given);
        spec->text = given;
      }
      return CFiPluginInterposer::config(domain, mode, sessionId, spec);
    });
  }

  // Chooses the target of every node.
  int select(char*, pyx_splitnode** nodes, int count) override {
    return m_setup.guarded("select", [&] {
      forEach(nodes, count, [&](const pyx_splitnode& node) { chooseTarget(node.domain); });
    });
  }

  // Asks the array whether the clones can be made.
  int prepare(char*, pyx_splitnode** nodes, int count, int) override {
    return m_setup.guarded("prepare", [&] {
      const ArrayTool tool = openArray(getTraceLog());
      for (const Plan& plan : plansOf(nodes, count)) checkClone(tool, plan.source, plan.target);
    });
  }

  // Clones every node's device onto its target, all or none; the snapshots are named after the
  // targets.
  int make(char*, pyx_splitnode** nodes, int count, orca_objid*** snapshots,
           int* snapshotCount) override {
    return m_setup.guarded("make", [&] {
      if (snapshots == nullptr || snapshotCount == nullptr) throw invalid("snapshots");
      const std::vector<Plan> plans = plansOf(nodes, count);
      const ArrayTool tool = openArray(getTraceLog());
      std::size_t made = 0;
      try {
        for (const Plan& plan : plans) {
          makeClone(tool, getTraceLog(), plan.source, plan.target, plan.mode);
          ++made;
        }
        CFiObjidList ids;
        for (const Plan& plan : plans) ids.add(plan.target.udid);
        ids.handOver(*snapshots, *snapshotCount);
      } catch (...) {
        while (made > 0) {
          --made;
          m_setup.guarded("forget", [&] { forgetClone(tool, plans[made].target); });
        }
        throw;
      }
    });
  }

  int getStatus(orca_objid** sources, orca_objid** snapshots, long count, char*, long,
                long* statuses) override {
    return m_setup.guarded("getStatus", [&] {
      if (sources == nullptr || snapshots == nullptr || statuses == nullptr) {
        throw invalid("snapshots");
      }
      const ArrayTool tool = openArray(getTraceLog());
      for (long i = 0; i < count; ++i) {
        statuses[i] = statusOf(tool, deviceOf(nameOf(sources[i])), deviceOf(nameOf(snapshots[i])));
      }
    });
  }

  // Forgets the clone; its data stays on the target until that is used again.
  int dispose(pyx_domain*, pyx_domain* second, pyx_splitnode* node, pyx_disposition) override {
    return m_setup.guarded("dispose", [&] {
      const pyx_domain* named = node != nullptr && node->second != nullptr ? node->second : second;
      forgetClone(openArray(getTraceLog()), deviceOf(nameOf(named)));
    });
  }

  // Hands out the path of the device, apart from what the base does.
  int importResource(char** names, char* resource, char* hostName, char* options, int flags,
                     char** imported, char* sessionId) override {
    return m_setup.guarded("importResource", [&] {
      m_importedPath.clear();
      deviceOf(resource != nullptr ? resource : "");  // says what is wrong with a name
      const int result = CFiPluginInterposer::importResource(names, resource, hostName, options,
                                                             flags, imported, sessionId);
      if (result == FI_OK && imported != nullptr && !m_importedPath.empty()) {
        *imported = CFiStringTool::tstrdup(CFiStringTool::str2tstr(m_importedPath));
      }
      return result;
    });
  }

  int deportResource(char* resource, char* hostName, char* options, char* sessionId,
                     int flags) override {
    return m_setup.guarded("deportResource", [&] {
      deviceOf(resource != nullptr ? resource : "");
      return CFiPluginInterposer::deportResource(resource, hostName, options, sessionId, flags);
    });
  }

  // Maps the device for the hosts, or unmaps it (withdraw). No hosts: this one.
  int importNode(tstr name, std::vector<tstr> hosts, bool, bool, bool withdraw, int) override {
    return m_setup.guarded("importNode", [&] {
      const Device device = deviceOf(CFiStringTool::tstr2str(name));
      const ArrayTool tool = openArray(getTraceLog());
      if (withdraw) {
        unmapDevice(tool, getTraceLog(), device, hostNames(hosts));
      } else {
        m_importedPath =
            mapDevice(tool, getTraceLog(), device, hostNames(hosts),
                      [&](const std::string& path) { giveToOwner(path, tool.settings()); });
      }
    });
  }

 private:
  static Failure invalid(const char* what) {
    return {"ARRAYSNAP_MISSING_ARGUMENT", {what}, FI_INVALID};
  }

  template <typename Work>
  static void forEach(pyx_splitnode** nodes, int count, Work work) {
    if (nodes == nullptr) throw invalid("nodes");
    for (int i = 0; i < count; ++i) {
      if (nodes[i] == nullptr || nodes[i]->domain == nullptr) throw invalid("nodes");
      work(*nodes[i]);
    }
  }

  CFiPrivateDataPtr dataOf(pyx_domain* domain) const {
    CFiPrivateDataPtr data = findPrivateData(domain);
    if (!data) throw Failure{"ARRAYSNAP_UNKNOWN_NODE", {nameOf(domain)}, FI_INVALID};
    return data;
  }

  void chooseTarget(pyx_domain* domain) const {
    const CFiPrivateDataPtr data = dataOf(domain);
    if (data->selectTargetFromConfigData() == FI_OK) return;
    const auto& values = data->configDataList(kSnapshotIndex)->params;
    const auto spec = values.find("snapshot_resource_spec");
    throw Failure{"ARRAYSNAP_NO_TARGET",
                  {nameOf(domain), spec == values.end() ? "" : spec->second.value}};
  }

  // What is to be done for each node; chooses the targets that select has not chosen.
  std::vector<Plan> plansOf(pyx_splitnode** nodes, int count) const {
    std::vector<Plan> plans;
    forEach(nodes, count, [&](const pyx_splitnode& node) {
      const CFiPrivateDataPtr data = dataOf(node.domain);
      if (data->getConfiguredTarget().empty()) chooseTarget(node.domain);
      plans.push_back(
          {deviceOf(nameOf(node.domain)), deviceOf(data->getConfiguredTarget()), cloneMode(*data)});
    });
    return plans;
  }

  // The owner from the configuration, if there is one and this process may change it.
  void giveToOwner(const std::string& path, const Settings& settings) {
    if (!settings.owner || !settings.group) return;
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode)) {
      throw Failure{"ARRAYSNAP_NO_OWNER", {path}, FI_CANNOT_QUERY_DEVICE};
    }
    if (status.st_uid == *settings.owner && status.st_gid == *settings.group) return;
    const int result = setOwnerIds(path, *settings.owner, *settings.group);
    if (result != FI_OK) throw Failure{"ARRAYSNAP_NO_OWNER", {path}, result};
  }

  CFiProviderSetup m_setup;
  std::string m_importedPath;
};

}  // namespace

}  // namespace arraysnap

ORCA_PROVIDER(arraysnap::ArraySnap);
