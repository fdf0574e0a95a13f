// A provider that snapshots regular files: disk images, database files. See README.md.

#include <orca_pdk.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "common/failure.h"
#include "parameters.h"
#include "retention.h"
#include "snapshotmaking.h"
#include "snapshotstore.h"

const char* const samples::kUntrusted = "FILESNAP_UNTRUSTED";

namespace filesnap {

namespace {

using namespace orca_pdk;
namespace fs = std::filesystem;

SFiProviderIdentity identity() {
  SFiProviderIdentity identity = SFiProviderIdentity::named("filesnap");
  identity.unexpectedId = "FILESNAP_INTERNAL";
  return identity;
}

SFiHelperMessages messages() {
  return {"FILESNAP_NO_NODE", "FILESNAP_BAD_DOCUMENT", "FILESNAP_BAD_VALUE",
          "FILESNAP_UNKNOWN_PARAMETER"};
}

}  // namespace

class FileSnap : public CFiPluginBase {
 public:
  FileSnap() : m_setup(*this, identity(), messages()) { m_setup.describe(parameters()); }

  void fini() override { settleLimits(); }

  int claim(orca_objid* primary, orca_objid*** secondaries, int* count) override {
    return m_setup.claimWhere(primary, secondaries, count, [](const std::string& file) {
      return static_cast<bool>(openSource(file));
    });
  }

  int supportsFiType(pyx_domain* domain, char* fiType) override {
    return m_setup.answerFiType(domain, fiType);
  }

  int initNode(pyx_domain* domain, pyx_domain**, int, orca_objid*) override {
    return m_setup.guarded("initNode", [&] {
      const std::string path = givenName(domain);
      m_setup.makeData(domain);
      m_nodes[path] = domain;
      beginSession();
    });
  }

  void deInitNode(pyx_domain* domain) override {
    settleLimits();
    m_setup.guarded("deInitNode", [&] {
      CFiPluginBase::deInitNode(domain);
      m_nodes.erase(givenName(domain));
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
      prepareFiles(requestsFor(domains));
    });
  }

  int make(char* sessionId, pyx_splitnode** nodes, int count, orca_objid*** snapshots,
           int* snapshotCount) override {
    return m_setup.guarded("make", [&] {
      requireGiven(snapshots != nullptr && snapshotCount != nullptr, "place for the snapshots");
      beginSession();
      const std::vector<Request> requests = requestsFor(givenNodes(nodes, count));
      const std::vector<fs::path> made = snapshotFiles(
          requests, sessionId == nullptr ? "" : sessionId, [&](const fs::path& file, int percent) {
            traceLine(FI_TRACE_INFO, "copied %d %% of %s", percent, file.c_str());
          });
      // All of them or none.
      try {
        noteLimits(requests, made);
        CFiObjidList ids;
        for (const fs::path& path : made) ids.add(path);
        ids.handOver(*snapshots, *snapshotCount);
      } catch (...) {
        withdraw(made);
        throw;
      }
    });
  }

  int getStatus(orca_objid** sources, orca_objid** snapshots, long count, char*, long,
                long* statuses) override {
    return m_setup.statusOfEach(
        sources, snapshots, count, statuses,
        [&](const std::string& source, const std::string& snapshot) {
          const SnapshotState state = checkSnapshot(snapshot, isDeep(source));
          if (state == SnapshotState::kAbsent) {
            m_setup.push(failure("FILESNAP_ABSENT", {snapshot}), PYX_SEV_WARNING);
          }
          return static_cast<long>(state);
        });
  }

  int restore(orca_objid** sources, orca_objid** snapshots, long count, char*, char*, char***,
              long*, long, long* statuses) override {
    return m_setup.restoreEach(sources, snapshots, count, statuses,
                               [](const std::string& source, const std::string& snapshot) {
                                 restoreSnapshot(snapshot, source);
                               });
  }

  int dispose(pyx_domain*, pyx_domain* second, pyx_splitnode* node, pyx_disposition) override {
    return m_setup.guarded("dispose", [&] { removeSnapshot(givenSnapshot(second, node)); });
  }

  int processProviderState(pyx_domain* domain, pyx_blob* blob, pyx_op_providerstate what) override {
    return m_setup.answerNodeState(domain, blob, what);
  }

 private:
  bool isDeep(const std::string& source) const {
    const auto node = m_nodes.find(source);
    return node != m_nodes.end() && readParameters(m_setup.valuesOf(node->second)).deep;
  }

  std::vector<Request> requestsFor(const std::vector<pyx_domain*>& domains) const {
    std::vector<Request> requests;
    requests.reserve(domains.size());
    for (pyx_domain* domain : domains) {
      requests.push_back({givenName(domain), readParameters(m_setup.valuesOf(domain))});
    }
    return requests;
  }

  void beginSession() {
    if (m_begun == 0) m_begun = now();
  }

  void noteLimits(const std::vector<Request>& requests, const std::vector<fs::path>& made) {
    for (std::size_t i = 0; i < made.size(); ++i) {
      const fs::path folder = made[i].parent_path();
      FolderLimits& limits = m_limits[folder];
      const fs::path place =
          withMessage("FILESNAP_DIR_FAILED", folder, [&] { return placeOf(requests[i].file); });
      limits.keep[place] = requests[i].parameters.keep;
      limits.fresh.insert(made[i].filename());
    }
  }

  // Keeps the session's files within their limits. Done when the framework is through with the new
  // snapshots and the writers go on: what is removed here held nobody up. The new snapshots exist:
  // an old one that cannot be removed is no failure of theirs.
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
  std::map<std::string, pyx_domain*> m_nodes;  // by their paths
  std::map<fs::path, FolderLimits> m_limits;   // of the snapshots made last
  int64_t m_begun = 0;                         // when the session began; 0: there is none
};

}  // namespace filesnap

ORCA_PROVIDER(filesnap::FileSnap);
