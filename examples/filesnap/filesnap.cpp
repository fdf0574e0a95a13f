// A provider that snapshots regular files: disk images, database files. See README.md.

#include <orca_pdk.h>
#include <string.h>

#include <filesystem>
#include <map>
#include <new>
#include <string>
#include <utility>
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

constexpr char kTraceFolder[] = "/usr/tarn/keystone/logs/frzcmd";

SFiProviderIdentity identity() {
  SFiProviderIdentity identity;
  identity.providerName = "filesnap";
  identity.fimName = "filesnap";
  identity.unexpectedId = "FILESNAP_INTERNAL";
  // Without the product's log folder every start would only complain that it is missing.
  std::error_code ignored;
  identity.traceLevel = fs::is_directory(kTraceFolder, ignored) ? FI_TRACE_INFO : 0;
  return identity;
}

bool hasName(const orca_objid* id) { return id != nullptr && id->name != nullptr; }

// The path of a node; a Failure where the framework gave none.
fs::path pathOf(const pyx_domain* domain) {
  if (domain == nullptr || !hasName(domain->objid)) {
    throw Failure{"FILESNAP_NO_NODE", {"node"}, FI_INVALID};
  }
  return domain->objid->name;
}

fs::path pathOf(const orca_objid* id) {
  if (!hasName(id)) throw Failure{"FILESNAP_NO_NODE", {"object id"}, FI_INVALID};
  return id->name;
}

}  // namespace

class FileSnap : public CFiPluginBase {
 public:
  FileSnap() : m_setup(*this, identity()) {
    describeParameters(firstConfigInfoList(kSnapshotIndex));
    describeParameters(secondConfigInfoList(kSnapshotIndex));
  }

  void fini() override { settleLimits(); }

  int claim(orca_objid* primary, orca_objid*** secondaries, int* count) override {
    const int claimed = m_setup.guarded("claim", [&]() -> int {
      if (!hasName(primary) || !openSource(primary->name)) return PYX_CLAIM_NONE;
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
      if (domain != nullptr && domain->capability != nullptr) *domain->capability = 1;
      return FI_YES;
    });
  }

  int initNode(pyx_domain* domain, pyx_domain**, int, orca_objid*) override {
    return m_setup.guarded("initNode", [&] {
      const fs::path path = pathOf(domain);
      if (!findOrCreatePrivateData(domain, 0)) return FI_INVALID;
      m_nodes[path] = domain;
      beginSession();
      return FI_OK;
    });
  }

  void deInitNode(pyx_domain* domain) override {
    settleLimits();
    m_setup.guarded("deInitNode", [&] {
      if (domain != nullptr && hasName(domain->objid)) m_nodes.erase(domain->objid->name);
      CFiPluginBase::deInitNode(domain);
      return FI_OK;
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
      prepareFiles(requestsFor(domains));
      return FI_OK;
    });
  }

  int make(char* sessionId, pyx_splitnode** nodes, int count, orca_objid*** snapshots,
           int* snapshotCount) override {
    return m_setup.guarded("make", [&]() -> int {
      require(snapshots != nullptr && snapshotCount != nullptr, "place for the snapshots");
      beginSession();
      const std::vector<Request> requests = requestsFor(domainsOf(nodes, count));
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
      return FI_OK;
    });
  }

  int getStatus(orca_objid** sources, orca_objid** snapshots, long count, char*, long,
                long* statuses) override {
    return m_setup.guarded("getStatus", [&] {
      require(count <= 0 || (snapshots != nullptr && statuses != nullptr), "snapshot list");
      for (long i = 0; i < count; ++i) {
        const bool deep = sources != nullptr && isDeep(sources[i]);
        statuses[i] = static_cast<long>(stateOf(snapshots[i], deep));
      }
      return FI_OK;
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
          restoreSnapshot(pathOf(snapshots[i]), pathOf(sources[i]));
          return FI_OK;
        });
        if (statuses != nullptr)
          statuses[i] = restored == FI_OK ? FI_RESTORE_DONE : FI_RESTORE_FAILED;
        if (restored != FI_OK) result = restored;
      }
      return result;
    });
  }

  int dispose(pyx_domain*, pyx_domain* second, pyx_splitnode* node, pyx_disposition) override {
    return m_setup.guarded("dispose", [&] {
      const bool hasSecond = node != nullptr && node->second != nullptr;
      removeSnapshot(pathOf(hasSecond ? node->second : second));
      return FI_OK;
    });
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
  static void require(bool isGiven, const char* what) {
    if (!isGiven) throw Failure{"FILESNAP_NO_NODE", {what}, FI_INVALID};
  }

  SnapshotState stateOf(const orca_objid* snapshot, bool deep) {
    SnapshotState state = SnapshotState::kDamaged;
    m_setup.guarded("checkSnapshot", [&] {
      state = checkSnapshot(pathOf(snapshot), deep);
      if (state == SnapshotState::kAbsent) {
        m_setup.push(failure("FILESNAP_ABSENT", {snapshot->name}), PYX_SEV_WARNING);
      }
      return FI_OK;
    });
    return state;
  }

  bool isDeep(const orca_objid* source) const {
    const auto node = hasName(source) ? m_nodes.find(source->name) : m_nodes.end();
    return node != m_nodes.end() && readParameters(*privateData(node->second)).deep;
  }

  // Refused text does not stay with the request.
  static void checkValues(char*& text) {
    if (text == nullptr) return;
    char* const given = std::exchange(text, nullptr);
    CFiConfigParamDataList values;
    if (values.parse(given) != FI_OK) {
      throw Failure{"FILESNAP_BAD_DOCUMENT", {std::string(given, strnlen(given, 64))}, FI_INVALID};
    }
    readParameters(values);
    text = given;
  }

  static std::vector<pyx_domain*> domainsOf(pyx_splitnode** nodes, int count) {
    require(count <= 0 || nodes != nullptr, "node list");
    std::vector<pyx_domain*> domains;
    for (int i = 0; i < count; ++i) {
      require(nodes[i] != nullptr, "node");
      domains.push_back(nodes[i]->domain);
    }
    return domains;
  }

  CFiPrivateDataPtr privateData(pyx_domain* domain) const {
    CFiPrivateDataPtr data = findOrCreatePrivateData(domain, 0);
    require(static_cast<bool>(data), "private data");
    return data;
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
          return FI_OK;
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
