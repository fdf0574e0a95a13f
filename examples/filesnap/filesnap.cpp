// A provider that snapshots regular files: disk images, database files. See README.md.

#include <orca_pdk.h>

#include <filesystem>
#include <string>
#include <vector>

#include "failure.h"
#include "parameters.h"
#include "snapshotstore.h"

namespace filesnap {

namespace {

using namespace orca_pdk;
namespace fs = std::filesystem;

constexpr char kSource[] = "../filesnap";
constexpr char kTraceFolder[] = "/usr/tarn/keystone/logs/frzcmd";

SFiProviderIdentity identity() {
  SFiProviderIdentity identity;
  identity.providerName = "filesnap";
  identity.fimName = "filesnap";
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

// Arguments of messages: a "<" would cut them on their way.
std::vector<icu::Formattable> formattables(const std::vector<std::string>& texts) {
  std::vector<icu::Formattable> arguments;
  arguments.reserve(texts.size());
  for (const std::string& text : texts) {
    arguments.emplace_back(CFiStringTool::str2ustr(CFiStringTool::searchreplace(text, "<", "(")));
  }
  return arguments;
}

}  // namespace

class FileSnap : public CFiPluginBase {
 public:
  FileSnap() : m_setup(*this, identity()) {
    describeParameters(firstConfigInfoList(kSnapshotIndex));
    describeParameters(secondConfigInfoList(kSnapshotIndex));
  }

  int claim(orca_objid* primary, orca_objid*** secondaries, int* count) override {
    const CFiTraceLogFunction scope(getTraceLog(), "claim", __LINE__, kSource);
    if (!hasName(primary) || !openRegular(primary->name)) return PYX_CLAIM_NONE;
    if (secondaries != nullptr) *secondaries = nullptr;
    if (count != nullptr) *count = 0;
    return PYX_CLAIM_PRIMARY;
  }

  int supportsFiType(pyx_domain* domain, char* fiType) override {
    CFiPluginBase::supportsFiType(domain, fiType);
    const std::string type = fiType == nullptr ? "" : fiType;
    if (type != getFimName() && type != "any") return FI_OK;
    if (domain != nullptr && domain->capability != nullptr) *domain->capability = 1;
    return FI_YES;
  }

  int initNode(pyx_domain* domain, pyx_domain**, int, orca_objid*) override {
    return guarded("initNode", __LINE__, [&] {
      pathOf(domain);
      return findOrCreatePrivateData(domain, 0) ? FI_OK : FI_INVALID;
    });
  }

  // Values are checked before they are taken, so that refused ones change nothing.
  int config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec) override {
    const bool sets = (mode == 2 || mode == 5) && spec != nullptr && spec->first != 0;
    const int checked = sets ? guarded("config", __LINE__, [&] { return checkValues(*spec); }) : 0;
    if (checked == FI_OK) return CFiPluginBase::config(domain, mode, sessionId, spec);
    spec->text = nullptr;
    return checked;
  }

  int prepare(char* sessionId, pyx_splitnode** nodes, int count, int) override {
    return guarded("prepare", __LINE__, [&] {
      for (pyx_domain* domain : domainsOf(nodes, count)) {
        if (sessionId != nullptr) privateData(domain)->setSessionId(sessionId);
        prepareSnapshot(pathOf(domain), readParameters(*privateData(domain)));
      }
      return FI_OK;
    });
  }

  int make(char* sessionId, pyx_splitnode** nodes, int count, orca_objid*** snapshots,
           int* snapshotCount) override {
    return guarded("make", __LINE__, [&]() -> int {
      require(snapshots != nullptr && snapshotCount != nullptr, "place for the snapshots");
      const std::vector<pyx_domain*> domains = domainsOf(nodes, count);
      std::vector<StagedSnapshot> staged = stageAll(domains, sessionId);
      std::vector<fs::path> paths;
      paths.reserve(staged.size());
      for (StagedSnapshot& snapshot : staged) paths.push_back(publishSnapshot(snapshot));
      // All of them or none: what is not kept goes away with its staging.
      if (!handOut(paths, *snapshots, *snapshotCount)) return FI_NO_MEMORY;
      for (StagedSnapshot& snapshot : staged) snapshot.staging.keep();
      for (pyx_domain* domain : domains) keepWithinLimit(domain, paths);
      return FI_OK;
    });
  }

  int getStatus(orca_objid**, orca_objid** snapshots, long count, char*, long,
                long* statuses) override {
    return guarded("getStatus", __LINE__, [&] {
      require(count <= 0 || (snapshots != nullptr && statuses != nullptr), "snapshot list");
      for (long i = 0; i < count; ++i) statuses[i] = static_cast<long>(stateOf(snapshots[i]));
      return FI_OK;
    });
  }

  int restore(orca_objid** sources, orca_objid** snapshots, long count, char*, char*, char***,
              long*, long, long* statuses) override {
    return guarded("restore", __LINE__, [&] {
      require(count <= 0 || (sources != nullptr && snapshots != nullptr), "snapshot list");
      int result = FI_OK;
      for (long i = 0; i < count; ++i) {
        const int restored = guarded("restoreSnapshot", 0, [&] {
          restoreSnapshot(pathOf(snapshots[i]), pathOf(sources[i]));
          return FI_OK;
        });
        if (statuses != nullptr) statuses[i] = restored == FI_OK ? 0 : 1;
        if (restored != FI_OK) result = restored;
      }
      return result;
    });
  }

  int dispose(pyx_domain*, pyx_domain* second, pyx_splitnode* node, pyx_disposition) override {
    return guarded("dispose", __LINE__, [&] {
      const bool hasSecond = node != nullptr && node->second != nullptr;
      removeSnapshot(pathOf(hasSecond ? node->second : second));
      return FI_OK;
    });
  }

  int processProviderState(pyx_domain* domain, pyx_blob* blob,
                           pyx_op_providerstate operation) override {
    const CFiPrivateDataPtr data = findPrivateData(domain);
    if (operation != PYX_OPSTATE_GET || blob == nullptr || !data) {
      return CFiPluginBase::processProviderState(domain, blob, operation);
    }
    return guarded("processProviderState", __LINE__, [&] { return data->getNodeState(blob); });
  }

 private:
  // Runs the body of an operation in its trace scope; what goes wrong becomes the last error.
  template <typename Body>
  int guarded(const char* operation, int line, Body body, pyx_eseverity severity = PYX_SEV_ERROR) {
    const CFiTraceLogFunction scope(getTraceLog(), operation, line, kSource);
    try {
      return body();
    } catch (const Failure& failed) {
      return push(failed, severity);
    } catch (const std::exception& error) {
      return push(failure("FILESNAP_INTERNAL", {operation, error.what()}), severity);
    } catch (...) {
      return push(failure("FILESNAP_INTERNAL", {operation, "?"}), severity);
    }
  }

  int push(const Failure& failed, pyx_eseverity severity) {
    m_setup.pushMessage(failed.messageId, severity, formattables(failed.arguments));
    return failed.result;
  }

  static void require(bool isGiven, const char* what) {
    if (!isGiven) throw Failure{"FILESNAP_NO_NODE", {what}, FI_INVALID};
  }

  SnapshotState stateOf(const orca_objid* snapshot) {
    SnapshotState state = SnapshotState::kDamaged;
    guarded("checkSnapshot", 0, [&] {
      state = checkSnapshot(pathOf(snapshot));
      return FI_OK;
    });
    if (state == SnapshotState::kAbsent) {
      push(failure("FILESNAP_ABSENT", {snapshot->name}), PYX_SEV_WARNING);
    }
    return state;
  }

  static int checkValues(const pyx_confspec& spec) {
    CFiConfigParamDataList values;
    if (spec.text != nullptr && values.parse(spec.text) == FI_OK) readParameters(values);
    return FI_OK;
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

  std::vector<StagedSnapshot> stageAll(const std::vector<pyx_domain*>& domains,
                                       const char* sessionId) {
    std::vector<StagedSnapshot> staged;
    for (pyx_domain* domain : domains) {
      const fs::path file = pathOf(domain);
      staged.push_back(stageSnapshot(file, readParameters(*privateData(domain)),
                                     sessionId == nullptr ? "" : sessionId, [&](int percent) {
                                       traceLine(FI_TRACE_INFO, "copied %d %% of %s", percent,
                                                 file.c_str());
                                     }));
    }
    return staged;
  }

  // False, and nothing handed out, when memory is short.
  static bool handOut(const std::vector<fs::path>& paths, orca_objid**& snapshots, int& count) {
    const std::size_t size = paths.size() * sizeof(orca_objid*);
    auto** ids = static_cast<orca_objid**>(orca_alloc_buf(size));
    bool isWhole = ids != nullptr;
    for (std::size_t i = 0; isWhole && i < paths.size(); ++i) {
      ids[i] = orca_get_objid(paths[i].c_str(), paths[i].native().size() + 1, 3);
      isWhole = ids[i] != nullptr;
    }
    if (!isWhole) {
      for (std::size_t i = 0; ids != nullptr && i < paths.size(); ++i) orca_free_objid(ids[i]);
      orca_free_buf(ids, size);
      return false;
    }
    snapshots = ids;
    count = static_cast<int>(paths.size());
    return true;
  }

  // The new snapshots exist: an old one that cannot be removed is no failure of theirs.
  void keepWithinLimit(pyx_domain* domain, const std::vector<fs::path>& fresh) {
    const auto removeOld = [&] {
      const Parameters parameters = readParameters(*privateData(domain));
      for (const fs::path& old : removeOldest(pathOf(domain), parameters, fresh)) {
        traceLine(FI_TRACE_INFO, "removed %s, beyond the number of snapshots to keep", old.c_str());
      }
      return FI_OK;
    };
    guarded("keepWithinLimit", __LINE__, removeOld, PYX_SEV_WARNING);
  }

  CFiProviderSetup m_setup;
};

}  // namespace filesnap

ORCA_PROVIDER(filesnap::FileSnap);
