// A provider for the devices of a disk array that is driven by its command-line tool.
#include <cfiplugininterposer.h>
#include <cfiproviderentry.h>
#include <cfiprovidersetup.h>
#include <cfistringtool.h>
#include <cfitracelog.h>
#include <cfiudid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <exception>
#include <filesystem>

#include "clones.h"
#include "failure.h"
#include "mapping.h"

namespace arraysnap {

namespace {

using namespace orca_pdk;

constexpr char kName[] = "arraysnap";
constexpr char kSource[] = "examples/arraysnap";
constexpr int kSnapshotIndex = 1;
constexpr int kObjidKind = 3;

SFiProviderIdentity identity() {
  tstr directory;
  tstr file;
  CFiConfigurationPathTool::getTraceFileInfo(kName, directory, file);
  SFiProviderIdentity id;
  id.providerName = kName;
  id.fimName = kName;
  // Without its directory the log would only complain.
  id.traceLevel = std::filesystem::is_directory(directory.c_str()) ? FI_TRACE_INFO : 0;
  return id;
}

void describeParameters(CFiConfigParamInfoList& list) {
  CFiConfigParamInfo target;
  target.key = "snapshot_resource_spec";
  target.messageId = "ARRAYSNAP_PARAM_RESOURCE_SPEC";
  target.dataType = FI_DATATYPE_STRING;
  target.usageType = FI_USAGE_SELECT;
  CFiConfigParamInfo mode = target;
  mode.key = "clone_mode";
  mode.messageId = "ARRAYSNAP_PARAM_CLONE_MODE";
  mode.dataType = FI_DATATYPE_STRING_LIST;
  mode.selectionList = {"cow", "full"};
  mode.defaultValue = "full";
  list.params[target.key] = target;
  list.params[mode.key] = mode;
  list.updateXML();
}

CloneMode cloneMode(CFiPrivateData& data) {
  const auto& values = data.configDataList(kSnapshotIndex)->params;
  const auto found = values.find("clone_mode");
  const std::string value = found == values.end() ? "full" : found->second.value;
  if (value == "cow") return CloneMode::kCow;
  if (value == "full") return CloneMode::kFull;
  throw Failure{"ARRAYSNAP_BAD_VALUE", {"clone_mode", value, "cow, full"}, FI_INVALID};
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
    describeParameters(firstConfigInfoList(kSnapshotIndex));
    describeParameters(secondConfigInfoList(kSnapshotIndex));
  }

  // Chooses the target of every node.
  int select(char*, pyx_splitnode** nodes, int count) override {
    return guarded("select", [&] {
      forEach(nodes, count, [&](const pyx_splitnode& node) { chooseTarget(node.domain); });
    });
  }

  // Asks the array whether the clones can be made.
  int prepare(char*, pyx_splitnode** nodes, int count, int) override {
    return guarded("prepare", [&] {
      const ArrayTool tool = openArray(getTraceLog());
      for (const Plan& plan : plansOf(nodes, count)) checkClone(tool, plan.source, plan.target);
    });
  }

  // Clones every node's device onto its target, all or none; the snapshots are named after the
  // targets.
  int make(char*, pyx_splitnode** nodes, int count, orca_objid*** snapshots,
           int* snapshotCount) override {
    return guarded("make", [&] {
      if (snapshots == nullptr || snapshotCount == nullptr) throw invalid("snapshots");
      const std::vector<Plan> plans = plansOf(nodes, count);
      const ArrayTool tool = openArray(getTraceLog());
      std::size_t made = 0;
      try {
        for (const Plan& plan : plans) {
          makeClone(tool, getTraceLog(), plan.source, plan.target, plan.mode);
          ++made;
        }
        *snapshots = snapshotIds(plans);
      } catch (...) {
        while (made > 0) forgetQuietly(tool, plans[--made].target);
        throw;
      }
      *snapshotCount = count;
    });
  }

  int getStatus(orca_objid** sources, orca_objid** snapshots, long count, char*, long,
                long* statuses) override {
    return guarded("getStatus", [&] {
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
    return guarded("dispose", [&] {
      const pyx_domain* named = node != nullptr && node->second != nullptr ? node->second : second;
      forgetClone(openArray(getTraceLog()), deviceOf(nameOf(named)));
    });
  }

  // Hands out the path of the device, apart from what the base does.
  int importResource(char** names, char* resource, char* hostName, char* options, int flags,
                     char** imported, char* sessionId) override {
    m_importedPath.clear();
    const int result = CFiPluginInterposer::importResource(names, resource, hostName, options,
                                                           flags, imported, sessionId);
    if (result == FI_OK && imported != nullptr && !m_importedPath.empty()) {
      *imported = CFiStringTool::tstrdup(CFiStringTool::str2tstr(m_importedPath));
    }
    return result;
  }

  // Maps the device for the hosts, or unmaps it (withdraw). No hosts: this one.
  int importNode(tstr name, std::vector<tstr> hosts, bool, bool, bool withdraw, int) override {
    return guarded("importNode", [&] {
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
  // Runs an operation's work; what it throws becomes a message record and a result.
  template <typename Work>
  int guarded(const char* operation, Work work) {
    const CFiTraceLogFunction scope(getTraceLog(), operation, __LINE__, kSource);
    try {
      work();
      return FI_OK;
    } catch (const Failure& failure) {
      return report(failure);
    } catch (const CFiUdidException& error) {
      return report({"ARRAYSNAP_BAD_UDID", {error.text, std::to_string(error.code)}, FI_INVALID});
    } catch (const std::exception& error) {
      return report({"ARRAYSNAP_UNEXPECTED", {operation, error.what()}});
    } catch (...) {
      return report({"ARRAYSNAP_UNEXPECTED", {operation, "?"}});
    }
  }

  int report(const Failure& failure) {
    std::vector<icu::Formattable> arguments;
    for (std::string argument : failure.arguments) {
      // A message on its way is delimited by "<".
      for (std::size_t at; (at = argument.find('<')) != std::string::npos;) {
        argument.replace(at, 1, "\u2039");
      }
      arguments.emplace_back(icu::UnicodeString::fromUTF8(argument));
    }
    m_setup.pushMessage(failure.messageId, PYX_SEV_ERROR, arguments);
    return failure.result;
  }

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

  // The ids in an array for the framework. Nothing that can fail but for want of memory follows.
  static orca_objid** snapshotIds(const std::vector<Plan>& plans) {
    const std::size_t size = plans.size() * sizeof(orca_objid*);
    auto** ids = static_cast<orca_objid**>(orca_alloc_buf(size));
    if (ids == nullptr) throw std::bad_alloc();
    for (std::size_t i = 0; i < plans.size(); ++i) {
      const std::string& name = plans[i].target.udid;
      ids[i] = orca_get_objid(name.c_str(), name.size() + 1, kObjidKind);
    }
    return ids;
  }

  void forgetQuietly(const ArrayTool& tool, const Device& target) {
    try {
      forgetClone(tool, target);
    } catch (const Failure& failure) {
      report(failure);
    }
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
