#ifndef SAMPLES_KEEPER_H
#define SAMPLES_KEEPER_H

#include <orca_pdk.h>

#include "keeping.h"

namespace samples {

// What a provider is called, and the ids of its messages; see failure.h.
orca_pdk::SFiProviderIdentity identityOf(const char* providerName);
orca_pdk::SFiHelperMessages helperMessages();

// A provider that keeps its snapshots in folders beside the sources. The operations of the
// framework are here; a sample claims its nodes, and overrides what is done with sources and
// snapshots. All of that runs guarded: it may throw.
//
// A session begins with its first node, prepare or make. It ends when a node is given up or the
// next one is prepared: then the framework is through with the new snapshots, the writers go on,
// and the oldest snapshots beyond the limits are removed, which holds nobody up.
//
// Parameters derives from Keeping.
template <typename Parameters>
class Keeper : public orca_pdk::CFiPluginBase {
 public:
  using Path = std::filesystem::path;
  using Values = orca_pdk::CFiConfigParamDataList;

  void fini() override { settleLimits(); }

  int supportsFiType(pyx_domain* domain, char* fiType) override {
    return m_setup.answerFiType(domain, fiType);
  }

  int initNode(pyx_domain* domain, pyx_domain**, int, orca_objid*) override {
    return m_setup.guarded(__func__, [&] {
      const Path path = pathOf(orca_pdk::givenName(domain));
      m_setup.makeData(domain);
      m_nodes[path] = domain;
      beginSession();
    });
  }

  void deInitNode(pyx_domain* domain) override {
    settleLimits();
    m_setup.guarded(__func__, [&] {
      CFiPluginBase::deInitNode(domain);
      m_nodes.erase(pathOf(orca_pdk::givenName(domain)));
    });
  }

  // Values are checked before they are taken, so that refused ones change nothing.
  int config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec) override {
    return m_setup.checkedConfig(domain, mode, sessionId, spec, m_read);
  }

  int prepare(char* sessionId, pyx_splitnode** nodes, int count, int) override {
    settleLimits();  // of a session whose nodes were not given up
    return m_setup.guarded(__func__, [&] {
      beginSession();
      const std::vector<pyx_domain*> domains = orca_pdk::givenNodes(nodes, count);
      for (pyx_domain* domain : domains) {
        if (sessionId != nullptr) m_setup.makeData(domain)->setSessionId(sessionId);
      }
      Requests requests = requestsFor(domains);
      prepareSources(requests);
    });
  }

  int make(char* sessionId, pyx_splitnode** nodes, int count, orca_objid*** snapshots,
           int* snapshotCount) override {
    return m_setup.guarded(__func__, [&] {
      orca_pdk::requireGiven(snapshots != nullptr && snapshotCount != nullptr,
                             "place for the snapshots");
      beginSession();
      Requests requests = requestsFor(orca_pdk::givenNodes(nodes, count));
      // All of them or none.
      try {
        takeSnapshots(requests, sessionId == nullptr ? "" : sessionId);
        noteLimits(requests);
        orca_pdk::CFiObjidList ids;
        for (const auto& request : requests) ids.add(request.made.path);
        ids.handOver(*snapshots, *snapshotCount);
      } catch (...) {
        withdraw(requests);
        throw;
      }
    });
  }

  int getStatus(orca_objid** sources, orca_objid** snapshots, long count, char*, long,
                long* statuses) override {
    return m_setup.statusOfEach(sources, snapshots, count, statuses,
                                [&](const std::string& source, const std::string& snapshot) {
                                  return statusOf(source.empty() ? Path() : pathOf(source),
                                                  pathOf(snapshot));
                                });
  }

  int restore(orca_objid** sources, orca_objid** snapshots, long count, char*, char*, char***,
              long*, long, long* statuses) override {
    return m_setup.restoreEach(sources, snapshots, count, statuses,
                               [&](const std::string& source, const std::string& snapshot) {
                                 restoreSnapshot(pathOf(source), pathOf(snapshot));
                               });
  }

  int dispose(pyx_domain*, pyx_domain* second, pyx_splitnode* node, pyx_disposition) override {
    return m_setup.guarded(__func__,
                           [&] { removeSnapshot(pathOf(orca_pdk::givenSnapshot(second, node))); });
  }

  int processProviderState(pyx_domain* domain, pyx_blob* blob, pyx_op_providerstate what) override {
    return m_setup.answerNodeState(domain, blob, what);
  }

 protected:
  using Requests = std::vector<RequestOf<Parameters>>;

  // read takes the parameters from values, as Keeping::read does.
  Keeper(const char* name, const orca_pdk::CFiParameters& parameters,
         Parameters (*read)(const Values& values))
      : m_setup(*this, identityOf(name), helperMessages()), m_read(read) {
    m_setup.describe(parameters);
  }

  // The path of a source or a snapshot, from its name.
  virtual Path pathOf(const std::string& name) const { return name; }
  // Now, by the clock that times of snapshots come from: nanoseconds since the epoch.
  virtual int64_t now() const = 0;
  // Checks that snapshots can be made.
  virtual void prepareSources(Requests& requests) = 0;
  // Makes a snapshot of each source. A snapshot's path is set before anything can be there: when
  // this throws, all of them are removed.
  virtual void takeSnapshots(Requests& requests, const std::string& session) = 0;
  // An EFiSnapshotStatus; the source is empty where it is not known.
  virtual long statusOf(const Path& source, const Path& snapshot) = 0;
  virtual void restoreSnapshot(const Path& source, const Path& snapshot) = 0;
  // One that is gone is no failure.
  virtual void removeSnapshot(const Path& snapshot) = 0;
  // Removes the oldest snapshots in a folder beyond the limits and returns their paths.
  virtual std::vector<Path> removeOldest(const Path& folder, const FolderLimits& limits) = 0;

  // What the user chose for a source; the defaults where it is none of the nodes.
  Parameters parametersOf(const Path& source) const {
    const auto node = m_nodes.find(source);
    return node == m_nodes.end() ? Parameters() : m_read(m_setup.valuesOf(node->second));
  }

  // The folders that the session has made snapshots in.
  const std::map<Path, FolderLimits>& limits() const { return m_limits; }

  orca_pdk::CFiProviderSetup m_setup;

 private:
  Requests requestsFor(const std::vector<pyx_domain*>& domains) const {
    Requests requests;
    requests.reserve(domains.size());
    for (pyx_domain* domain : domains) {
      requests.push_back(
          {pathOf(orca_pdk::givenName(domain)), m_read(m_setup.valuesOf(domain)), {}});
    }
    return requests;
  }

  void beginSession() {
    if (m_begun == 0) m_begun = now();
  }

  void withdraw(const Requests& requests) {
    std::string left;
    for (const auto& request : requests) {
      try {
        if (!request.made.path.empty()) removeSnapshot(request.made.path);
      } catch (const Failure&) {
        left += " " + request.made.path.string();
      }
    }
    if (!left.empty()) throw failure(messageId("LEFT"), {left.substr(1)});
  }

  void noteLimits(const Requests& requests) {
    for (const auto& request : requests) {
      const Made& made = request.made;
      FolderLimits& limits = m_limits[made.path.parent_path()];
      limits.keep[made.line] = request.parameters.keep;
      limits.fresh.insert(made.path.filename());
      limits.owner = made.owner;
      limits.begun = m_begun;
    }
  }

  void settleLimits() noexcept {
    if (m_limits.empty()) return;
    for (const auto& entry : m_limits) settleFolder(entry.first, entry.second);
    m_limits.clear();
    m_begun = 0;
  }

  // The new snapshots exist: an old one that cannot be removed is no failure of theirs.
  void settleFolder(const Path& folder, const FolderLimits& limits) noexcept {
    m_setup.guarded(
        __func__,
        [&] {
          for (const Path& old : removeOldest(folder, limits)) {
            traceLine(orca_pdk::FI_TRACE_INFO, "removed %s, beyond the number of snapshots to keep",
                      old.c_str());
          }
        },
        PYX_SEV_WARNING);
  }

  Parameters (*m_read)(const Values& values);
  std::map<Path, pyx_domain*> m_nodes;    // by their paths
  std::map<Path, FolderLimits> m_limits;  // of the snapshots made last
  int64_t m_begun = 0;                    // when the session began; 0: there is none
};

}  // namespace samples

#endif
