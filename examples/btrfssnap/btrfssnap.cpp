// A provider that snapshots Btrfs subvolumes. See README.md.

#include <orca_pdk.h>
#include <string.h>

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "imports.h"
#include "parameters.h"
#include "retention.h"
#include "snapshotmaking.h"
#include "snapshotstore.h"

const char* const samples::kUntrusted = "BTRFSSNAP_UNTRUSTED";

namespace btrfssnap {

namespace {

using namespace orca_pdk;
namespace fs = std::filesystem;

SFiProviderIdentity identity() {
  tstr folder;
  tstr file;
  CFiConfigurationPathTool::getTraceFileInfo("btrfssnap", folder, file);
  SFiProviderIdentity identity;
  identity.providerName = "btrfssnap";
  identity.fimName = "btrfssnap";
  identity.unexpectedId = "BTRFSSNAP_INTERNAL";
  // Without the product's log folder every start would only complain that it is missing.
  std::error_code ignored;
  identity.traceLevel = fs::is_directory(folder.c_str(), ignored) ? FI_TRACE_INFO : 0;
  return identity;
}

void require(bool isGiven, const char* what) {
  if (!isGiven) throw Failure{"BTRFSSNAP_NO_NODE", {what}, FI_INVALID};
}

bool hasName(const orca_objid* id) { return id != nullptr && id->name != nullptr; }

// An absolute path without a "/" at its end.
fs::path pathOf(const char* name) {
  require(name != nullptr && *name != '\0', "name");
  const fs::path path = fs::absolute(name);
  return path.has_filename() ? path : path.parent_path();
}

fs::path pathOf(const orca_objid* id) {
  require(hasName(id), "object id");
  return pathOf(id->name);
}

fs::path pathOf(const pyx_domain* domain) {
  require(domain != nullptr && hasName(domain->objid), "node");
  return pathOf(domain->objid);
}

std::vector<pyx_domain*> domainsOf(pyx_splitnode** nodes, int count) {
  require(count <= 0 || nodes != nullptr, "node list");
  std::vector<pyx_domain*> domains;
  for (int i = 0; i < count; ++i) {
    require(nodes[i] != nullptr, "node");
    domains.push_back(nodes[i]->domain);
  }
  return domains;
}

// Refused text does not stay with the request.
void checkValues(char*& text) {
  if (text == nullptr) return;
  char* const given = std::exchange(text, nullptr);
  CFiConfigParamDataList values;
  if (values.parse(given) != FI_OK) {
    throw Failure{"BTRFSSNAP_BAD_DOCUMENT", {std::string(given, strnlen(given, 64))}, FI_INVALID};
  }
  readParameters(values);
  text = given;
}

}  // namespace

class BtrfsSnap : public CFiPluginBase {
 public:
  BtrfsSnap() : m_setup(*this, identity()) {
    describeParameters(firstConfigInfoList(kSnapshotIndex));
    describeParameters(secondConfigInfoList(kSnapshotIndex));
  }

  void fini() override { settleLimits(); }

  int claim(orca_objid* primary, orca_objid*** secondaries, int* count) override {
    const int claimed = m_setup.guarded("claim", [&]() -> int {
      if (!hasName(primary)) return PYX_CLAIM_NONE;
      openSubvolume(placeOf(pathOf(primary)));
      if (secondaries != nullptr) *secondaries = nullptr;
      if (count != nullptr) *count = 0;
      return PYX_CLAIM_PRIMARY;
    });
    return claimed == PYX_CLAIM_PRIMARY ? PYX_CLAIM_PRIMARY : PYX_CLAIM_NONE;
  }

  int supportsFiType(pyx_domain* domain, char* fiType) override {
    return m_setup.guarded("supportsFiType", [&]() -> int {
      CFiPluginBase::supportsFiType(domain, fiType);
      const std::string type = fiType == nullptr ? "" : fiType;
      if (type != getFimName() && type != "any") return FI_OK;
      if (domain != nullptr && domain->capability != nullptr) *domain->capability = FI_YES;
      return FI_YES;
    });
  }

  int initNode(pyx_domain* domain, pyx_domain**, int, orca_objid*) override {
    return m_setup.guarded("initNode", [&] {
      const fs::path path = pathOf(domain);
      privateData(domain);
      m_nodes[path] = domain;
      beginSession();
    });
  }

  void deInitNode(pyx_domain* domain) override {
    settleLimits();
    m_setup.guarded("deInitNode", [&] {
      if (domain != nullptr && hasName(domain->objid)) m_nodes.erase(pathOf(domain));
      CFiPluginBase::deInitNode(domain);
    });
  }

  // Values are checked before they are taken, so that refused ones change nothing.
  int config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec) override {
    return m_setup.guarded("config", [&] {
      const bool sets = mode == FI_CONFIG_SET || mode == FI_CONFIG_SETPARAM;
      if (sets && spec != nullptr && spec->first != 0) checkValues(spec->text);
      return CFiPluginBase::config(domain, mode, sessionId, spec);
    });
  }

  int prepare(char* sessionId, pyx_splitnode** nodes, int count, int) override {
    settleLimits();  // of a session whose nodes were not given up
    return m_setup.guarded("prepare", [&] {
      beginSession();
      const std::vector<pyx_domain*> domains = domainsOf(nodes, count);
      for (pyx_domain* domain : domains) {
        if (sessionId != nullptr) privateData(domain)->setSessionId(sessionId);
      }
      checkSources(requestsFor(domains));
    });
  }

  int make(char* sessionId, pyx_splitnode** nodes, int count, orca_objid*** snapshots,
           int* snapshotCount) override {
    return m_setup.guarded("make", [&] {
      require(snapshots != nullptr && snapshotCount != nullptr, "place for the snapshots");
      beginSession();
      const std::vector<Request> requests = requestsFor(domainsOf(nodes, count));
      const std::vector<Made> made = takeSnapshots(requests, sessionId == nullptr ? "" : sessionId);
      // All of them or none.
      try {
        noteLimits(requests, made);
        CFiObjidList ids;
        for (const Made& one : made) ids.add(one.path);
        ids.handOver(*snapshots, *snapshotCount);
      } catch (...) {
        withdraw(made);
        throw;
      }
    });
  }

  // Ready is what no crash takes away any more.
  int isReady(char*, pyx_splitnode** nodes, int count) override {
    return m_setup.guarded("isReady", [&] {
      for (const auto& entry : m_limits) waitForSnapshots(entry.first);
      for (pyx_domain* domain : domainsOf(nodes, count)) {
        if (domain != nullptr) domain->flags |= FI_NODE_READY;
      }
    });
  }

  int getStatus(orca_objid** sources, orca_objid** snapshots, long count, char*, long,
                long* statuses) override {
    return m_setup.guarded("getStatus", [&] {
      require(count <= 0 || (snapshots != nullptr && statuses != nullptr), "snapshot list");
      for (long i = 0; i < count; ++i) {
        statuses[i] = statusOf(sources == nullptr ? nullptr : sources[i], snapshots[i]);
      }
    });
  }

  int restore(orca_objid** sources, orca_objid** snapshots, long count, char*, char*, char***,
              long*, long, long* statuses) override {
    return m_setup.guarded("restore", [&] {
      require(count <= 0 || (sources != nullptr && snapshots != nullptr), "snapshot list");
      for (long i = 0; i < count; ++i) {
        pathOf(snapshots[i]);
        pathOf(sources[i]);
      }
      int result = FI_OK;
      for (long i = 0; i < count; ++i) {
        const int restored = m_setup.guarded("restoreSnapshot", [&] {
          const fs::path source = pathOf(sources[i]);
          const auto told = restoreSnapshot(pathOf(snapshots[i]), source, keepsReplaced(source));
          if (told) m_setup.push(*told, PYX_SEV_WARNING);
        });
        if (statuses != nullptr) {
          statuses[i] = restored == FI_OK ? FI_RESTORE_DONE : FI_RESTORE_FAILED;
        }
        if (restored != FI_OK) result = restored;
      }
      return result;
    });
  }

  int dispose(pyx_domain*, pyx_domain* second, pyx_splitnode* node, pyx_disposition) override {
    return m_setup.guarded("dispose", [&] {
      const bool hasSecond = node != nullptr && node->second != nullptr;
      removeSnapshot(pathOf(hasSecond ? node->second : second));
    });
  }

  // Mounts a snapshot, or another subvolume; hosts are all this one.
  int importResource(char**, char* resource, char*, char*, int flags, char** imported,
                     char*) override {
    return m_setup.guarded("importResource", [&] {
      const bool isReadOnly = (flags & FI_IMPORT_READ_ONLY) != 0;
      if (!isReadOnly && (flags & FI_IMPORT_READ_WRITE) == 0) return FI_FAILED;
      const std::string place = importSubvolume(pathOf(resource), isReadOnly);
      if (imported != nullptr) {
        *imported = CFiStringTool::tstrdup(CFiStringTool::str2tstr(place));
      }
      return FI_OK;
    });
  }

  int deportResource(char* resource, char*, char*, char*, int) override {
    return m_setup.guarded("deportResource", [&] { deportSubvolume(pathOf(resource)); });
  }

  int processProviderState(pyx_domain* domain, pyx_blob* blob, pyx_op_providerstate what) override {
    return m_setup.guarded("processProviderState", [&]() -> int {
      const CFiPrivateDataPtr data = findPrivateData(domain);
      if (what != PYX_OPSTATE_GET || blob == nullptr || !data) {
        return CFiPluginBase::processProviderState(domain, blob, what);
      }
      return data->getNodeState(blob);
    });
  }

 private:
  long statusOf(const orca_objid* source, const orca_objid* snapshot) {
    long status = FI_SNAPSHOT_DAMAGED;
    m_setup.guarded("findSnapshot", [&] {
      const bool hasSource = hasName(source) && source->name[0] != '\0';
      const Found found = findSnapshot(pathOf(snapshot), hasSource ? pathOf(source) : fs::path());
      status = found.status;
      if (found.reason) m_setup.push(*found.reason, PYX_SEV_WARNING);
    });
    return status;
  }

  CFiPrivateDataPtr privateData(pyx_domain* domain) const {
    CFiPrivateDataPtr data = findOrCreatePrivateData(domain, 0);
    require(static_cast<bool>(data), "private data");
    return data;
  }

  bool keepsReplaced(const fs::path& source) const {
    const auto node = m_nodes.find(source);
    return node != m_nodes.end() && readParameters(*privateData(node->second)).keepReplaced;
  }

  std::vector<Request> requestsFor(const std::vector<pyx_domain*>& domains) const {
    std::vector<Request> requests;
    requests.reserve(domains.size());
    for (pyx_domain* domain : domains) {
      requests.push_back({pathOf(domain), readParameters(*privateData(domain))});
    }
    return requests;
  }

  void beginSession() {
    if (m_begun == 0) m_begun = now();
  }

  void noteLimits(const std::vector<Request>& requests, const std::vector<Made>& made) {
    for (std::size_t i = 0; i < made.size(); ++i) {
      FolderLimits& limits = m_limits[made[i].path.parent_path()];
      limits.keep[made[i].line] = requests[i].parameters.keep;
      limits.fresh.insert(made[i].path.filename());
      limits.owner = made[i].owner;
    }
  }

  // Keeps the session's subvolumes within their limits. Done when the framework is through with the
  // new snapshots and the writers go on. The new snapshots exist: an old one that cannot be removed
  // is no failure of theirs.
  void settleLimits() noexcept {
    if (m_limits.empty()) return;
    for (const auto& entry : m_limits) settleFolder(entry.first, entry.second);
    m_limits.clear();
    m_begun = 0;
  }

  void settleFolder(const fs::path& folder, const FolderLimits& limits) noexcept {
    m_setup.guarded(
        "settleFolder",
        [&] {
          for (const fs::path& old : removeOldest(folder, limits, m_begun)) {
            traceLine(FI_TRACE_INFO, "removed %s, beyond the number of snapshots to keep",
                      old.c_str());
          }
        },
        PYX_SEV_WARNING);
  }

  CFiProviderSetup m_setup;
  std::map<fs::path, pyx_domain*> m_nodes;    // by their paths
  std::map<fs::path, FolderLimits> m_limits;  // of the snapshots made last
  int64_t m_begun = 0;                        // when the session began; 0: there is none
};

}  // namespace btrfssnap

ORCA_PROVIDER(btrfssnap::BtrfsSnap);
