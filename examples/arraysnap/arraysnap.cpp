// A provider for the devices of a disk array that is driven by its command-line tool.
#include <orca_pdk.h>
#include <sys/stat.h>

#include <new>
#include <utility>

#include "clones.h"
#include "failure.h"
#include "mapping.h"

namespace arraysnap {

namespace {

using namespace orca_pdk;

SFiProviderIdentity identity() {
  SFiProviderIdentity identity = SFiProviderIdentity::named("arraysnap");
  identity.unexpectedId = "ARRAYSNAP_UNEXPECTED";
  return identity;
}

SFiHelperMessages messages() {
  return {"ARRAYSNAP_MISSING_ARGUMENT", "ARRAYSNAP_BAD_DOCUMENT", "ARRAYSNAP_BAD_VALUE",
          "ARRAYSNAP_UNKNOWN_PARAMETER"};
}

const CFiParameters& parameters() {
  static const CFiParameters kAll =
      CFiParameters()
          .addText("snapshot_resource_spec", "ARRAYSNAP_PARAM_RESOURCE_SPEC")
          .addChoice("clone_mode", "ARRAYSNAP_PARAM_CLONE_MODE", "full", {"cow", "full"});
  return kAll;
}

CloneMode modeIn(const CFiConfigParamDataList& values) {
  parameters().requireAllowed(values);
  return parameters().text(values, "clone_mode") == "cow" ? CloneMode::kCow : CloneMode::kFull;
}

// What a snapshot of a node is made from and onto.
struct Plan {
  Device source, target;
  CloneMode mode;
};

class ArraySnap : public CFiPluginInterposer {
 public:
  ArraySnap() : m_setup(*this, identity(), messages()) {
    for (const auto& [pattern, fim] : ConfigurationFile().settings().fims) {
      addFim(pattern, fim.fimName, fim.fimDetail, fim.flags, fim.group);
    }
    m_setup.describe(parameters());
  }

  // Refused values change nothing, and do not stay with the request.
  int config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec) override {
    return m_setup.checkedConfig(domain, mode, sessionId, spec, parameters());
  }

  // Chooses the target of every node.
  int select(char*, pyx_splitnode** nodes, int count) override {
    return m_setup.guarded(__func__, [&] {
      for (pyx_domain* node : givenNodes(nodes, count)) chooseTarget(node);
    });
  }

  // Asks the array whether the clones can be made.
  int prepare(char*, pyx_splitnode** nodes, int count, int) override {
    return m_setup.guarded(__func__, [&] {
      const ArrayTool tool(getTraceLog());
      for (const Plan& plan : plansOf(nodes, count)) checkClone(tool, plan.source, plan.target);
    });
  }

  // Clones every node's device onto its target, all or none; the snapshots are named after the
  // targets.
  int make(char*, pyx_splitnode** nodes, int count, orca_objid*** snapshots,
           int* snapshotCount) override {
    return m_setup.guarded(__func__, [&] {
      const std::vector<Plan> plans = plansOf(nodes, count);
      const ArrayTool tool(getTraceLog());
      m_setup.takeEach(
          plans, snapshots, snapshotCount,
          [&](const Plan& plan, std::string& name) {
            std::string made = plan.target.udid;
            makeClone(tool, plan.source, plan.target, plan.mode);
            name = std::move(made);
          },
          [&](const Plan& plan, const std::string&) { forgetClone(tool, plan.target); });
    });
  }

  // Of an array that does not answer nothing is known, and no other pair is asked for.
  int getStatus(orca_objid** sources, orca_objid** snapshots, long count, char*, long,
                long* statuses) override {
    return m_setup.guarded(__func__, [&] {
      requireGiven(
          count <= 0 || (sources != nullptr && snapshots != nullptr && statuses != nullptr),
          "snapshots");
      const ArrayTool tool(getTraceLog());
      for (long i = 0; i < count; ++i) {
        const Device source = deviceOf(givenName(sources[i]));
        statuses[i] = statusOf(tool, source, deviceOf(givenName(snapshots[i])));
      }
    });
  }

  // Forgets the clone; its data stays on the target until that is used again.
  int dispose(pyx_domain*, pyx_domain* second, pyx_splitnode* node, pyx_disposition) override {
    return m_setup.guarded(__func__, [&] {
      forgetClone(ArrayTool(getTraceLog()), deviceOf(givenSnapshot(second, node)));
    });
  }

  // Hands out the path of the device, apart from what the base does.
  int importResource(char** names, char* resource, char* hostName, char* options, int flags,
                     char** imported, char* sessionId) override {
    return m_setup.guarded(__func__, [&] {
      m_importedPath.clear();
      deviceOf(resource != nullptr ? resource : "");  // says what is wrong with a name
      const int result = CFiPluginInterposer::importResource(names, resource, hostName, options,
                                                             flags, imported, sessionId);
      if (result == FI_OK && imported != nullptr && !m_importedPath.empty()) {
        *imported = CFiStringTool::tstrdup(CFiStringTool::str2tstr(m_importedPath));
        if (*imported == nullptr) throw std::bad_alloc();
      }
      return result;
    });
  }

  int deportResource(char* resource, char* hostName, char* options, char* sessionId,
                     int flags) override {
    return m_setup.guarded(__func__, [&] {
      deviceOf(resource != nullptr ? resource : "");
      return CFiPluginInterposer::deportResource(resource, hostName, options, sessionId, flags);
    });
  }

  // Maps the device for the hosts, or unmaps it (withdraw). No hosts: this one.
  int importNode(tstr name, std::vector<tstr> hosts, bool, bool, bool withdraw, int) override {
    return m_setup.guarded(__func__, [&] {
      const Device device = deviceOf(CFiStringTool::tstr2str(name));
      const ArrayTool tool(getTraceLog());
      if (withdraw) {
        unmapDevice(tool, device, givenHosts(hosts));
      } else {
        m_importedPath = mapDevice(tool, device, givenHosts(hosts), [&](const std::string& path) {
          giveToOwner(path, tool.settings());
        });
      }
    });
  }

 private:
  CFiPrivateDataPtr dataOf(pyx_domain* domain) const {
    CFiPrivateDataPtr data = findPrivateData(domain);
    if (!data) throw Failure{"ARRAYSNAP_UNKNOWN_NODE", {givenName(domain)}, FI_INVALID};
    return data;
  }

  void chooseTarget(pyx_domain* domain) const {
    if (dataOf(domain)->selectTargetFromConfigData() == FI_OK) return;
    throw Failure{
        "ARRAYSNAP_NO_TARGET",
        {givenName(domain), parameters().text(m_setup.valuesOf(domain), "snapshot_resource_spec")}};
  }

  // What is to be done for each node; chooses the targets that select has not chosen.
  std::vector<Plan> plansOf(pyx_splitnode** nodes, int count) const {
    std::vector<Plan> plans;
    for (pyx_domain* node : givenNodes(nodes, count)) {
      const CFiPrivateDataPtr data = dataOf(node);
      if (data->getConfiguredTarget().empty()) chooseTarget(node);
      plans.push_back({deviceOf(givenName(node)), deviceOf(data->getConfiguredTarget()),
                       modeIn(m_setup.valuesOf(node))});
    }
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
