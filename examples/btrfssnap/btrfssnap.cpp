// A provider that snapshots Btrfs subvolumes. See README.md.

#include <orca_pdk.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "imports.h"
#include "parameters.h"
#include "retention.h"
#include "snapshotmaking.h"
#include "snapshotstore.h"

const char* const samples::kMessagePrefix = "BTRFSSNAP_";

namespace btrfssnap {

namespace {

using namespace orca_pdk;
namespace fs = std::filesystem;

SFiProviderIdentity identity() {
  SFiProviderIdentity identity = SFiProviderIdentity::named("btrfssnap");
  identity.unexpectedId = "BTRFSSNAP_INTERNAL";
  return identity;
}

SFiHelperMessages messages() {
  return {"BTRFSSNAP_NO_NODE", "BTRFSSNAP_BAD_DOCUMENT", "BTRFSSNAP_BAD_VALUE",
          "BTRFSSNAP_UNKNOWN_PARAMETER"};
}

// An absolute path without a "/" at its end.
fs::path pathOf(const std::string& name) {
  const fs::path path = fs::absolute(name);
  return path.has_filename() ? path : path.parent_path();
}

fs::path pathOf(const pyx_domain* domain) { return pathOf(givenName(domain)); }

fs::path pathOf(const char* resource) {
  requireGiven(resource != nullptr && *resource != '\0', "name");
  return pathOf(std::string(resource));
}

}  // namespace

class BtrfsSnap : public CFiPluginBase {
 public:
  BtrfsSnap() : m_setup(*this, identity(), messages()) { m_setup.describe(parameters()); }

  void fini() override { settleLimits(); }

  int claim(orca_objid* primary, orca_objid*** secondaries, int* count) override {
    return m_setup.claimWhere(primary, secondaries, count, [](const std::string& name) {
      openSubvolume(placeOf(pathOf(name)));
      return true;
    });
  }

  int supportsFiType(pyx_domain* domain, char* fiType) override {
    return m_setup.answerFiType(domain, fiType);
  }

  int initNode(pyx_domain* domain, pyx_domain**, int, orca_objid*) override {
    return m_setup.guarded("initNode", [&] {
      const fs::path path = pathOf(domain);
      m_setup.makeData(domain);
      m_nodes[path] = domain;
      beginSession();
    });
  }

  void deInitNode(pyx_domain* domain) override {
    settleLimits();
    m_setup.guarded("deInitNode", [&] {
      CFiPluginBase::deInitNode(domain);
      m_nodes.erase(pathOf(domain));
    });
  }

  // Values are checked before they are taken, so that refused ones change nothing.
  int config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec) override {
    return m_setup.checkedConfig(domain, mode, sessionId, spec, readParameters);
  }

  int prepare(char* sessionId, pyx_splitnode** nodes, int count, int) override {
    settleLimits();  // of a session whose nodes were not given up
    return m_setup.guarded("prepare", [&] {
      beginSession();
      const std::vector<pyx_domain*> domains = givenNodes(nodes, count);
      for (pyx_domain* domain : domains) {
        if (sessionId != nullptr) m_setup.makeData(domain)->setSessionId(sessionId);
      }
      checkSources(requestsFor(domains));
    });
  }

  int make(char* sessionId, pyx_splitnode** nodes, int count, orca_objid*** snapshots,
           int* snapshotCount) override {
    return m_setup.guarded("make", [&] {
      requireGiven(snapshots != nullptr && snapshotCount != nullptr, "place for the snapshots");
      beginSession();
      const std::vector<Request> requests = requestsFor(givenNodes(nodes, count));
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
      for (pyx_domain* domain : givenNodes(nodes, count)) domain->flags |= FI_NODE_READY;
    });
  }

  int getStatus(orca_objid** sources, orca_objid** snapshots, long count, char*, long,
                long* statuses) override {
    return m_setup.statusOfEach(sources, snapshots, count, statuses,
                                [&](const std::string& source, const std::string& snapshot) {
                                  const fs::path of = source.empty() ? fs::path() : pathOf(source);
                                  const Found found = findSnapshot(pathOf(snapshot), of);
                                  if (found.reason) m_setup.push(*found.reason, PYX_SEV_WARNING);
                                  return found.status;
                                });
  }

  int restore(orca_objid** sources, orca_objid** snapshots, long count, char*, char*, char***,
              long*, long, long* statuses) override {
    return m_setup.restoreEach(sources, snapshots, count, statuses,
                               [&](const std::string& source, const std::string& snapshot) {
                                 const fs::path path = pathOf(source);
                                 const auto told =
                                     restoreSnapshot(pathOf(snapshot), path, keepsReplaced(path));
                                 if (told) m_setup.push(*told, PYX_SEV_WARNING);
                               });
  }

  int dispose(pyx_domain*, pyx_domain* second, pyx_splitnode* node, pyx_disposition) override {
    return m_setup.guarded("dispose", [&] { removeSnapshot(pathOf(givenSnapshot(second, node))); });
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
        if (*imported == nullptr) throw std::bad_alloc();
      }
      return FI_OK;
    });
  }

  int deportResource(char* resource, char*, char*, char*, int) override {
    return m_setup.guarded("deportResource", [&] { deportSubvolume(pathOf(resource)); });
  }

  int processProviderState(pyx_domain* domain, pyx_blob* blob, pyx_op_providerstate what) override {
    return m_setup.answerNodeState(domain, blob, what);
  }

 private:
  bool keepsReplaced(const fs::path& source) const {
    const auto node = m_nodes.find(source);
    return node != m_nodes.end() && readParameters(m_setup.valuesOf(node->second)).keepReplaced;
  }

  std::vector<Request> requestsFor(const std::vector<pyx_domain*>& domains) const {
    std::vector<Request> requests;
    requests.reserve(domains.size());
    for (pyx_domain* domain : domains) {
      requests.push_back({pathOf(domain), readParameters(m_setup.valuesOf(domain))});
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
