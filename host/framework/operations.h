#ifndef FIHOST_FRAMEWORK_OPERATIONS_H
#define FIHOST_FRAMEWORK_OPERATIONS_H

#include <optional>
#include <string>
#include <vector>

#include "framework/caller.h"
#include "framework/handed.h"
#include "framework/records.h"

// The operations of a provider as the host calls them, each with the name of its table. All go
// through the caller, which reports a failure. Where nothing else is said, true means that the
// operation did what it was called for, and said nothing of what it handed out that cannot be so (a
// count that is negative or more than the array has room for, a null entry). Outputs are filled in
// also after a failure, where the provider handed something out. An empty text, session ids apart,
// is passed as null, and so are records that this host does not have: access nodes, attributes,
// associations, replicas, resources and the like.
namespace fihost::ops {

// ---- The provider ----

bool delayedInit(Caller& caller);
bool init(Caller& caller);
void fini(Caller& caller);
// The provider's own descriptions of a list index (0 or 1) as a document; false for a null list.
bool globalConfigInfoList(Caller& caller, int index, bool second, std::string& document);
// A request of the provider's own.
bool objctl(Caller& caller, const std::string& request, const std::vector<std::string>& arguments,
            std::string& answer);
// The native text of a provider error code.
bool errMsg(Caller& caller, int code, std::string& text);
// The provider's text for a message id in a language; the id where there is none.
std::string catalogText(Caller& caller, const std::string& messageId,
                        const std::string& locale = "native");

// ---- A node ----

// The provider's answer, a PYX_CLAIM_ value; nothing after a failure. The secondary nodes that it
// names are given back.
std::optional<int> claim(Caller& caller, Node& node);
// The provider's answer, 1 for yes; nothing after a failure. The node's capability is 0 before and
// has the provider's answer afterwards.
std::optional<int> supportsFiType(Caller& caller, Node& node, const std::string& fiType);
bool initNode(Caller& caller, Node& node);
// `second` may be null.
bool initAltNode(Caller& caller, Node& primary, Node* second, Node& target, bool flag);
void deInitNode(Caller& caller, Node& node);
// Gives the provider back what it knew of a snapshot of a node in an earlier run; deInitNode of the
// snapshot lets it go again.
bool reAccessTmpObj(Caller& caller, Node& snapshot, Node& source, const std::string& sessionId);
// The same for an alternate node; firsts and seconds stand side by side.
bool reAccessAltNode(Caller& caller, Node& node, Node& first, Node& second,
                     const std::string& sessionId, NodeSet& firsts, NodeSet& seconds);
// The sub-objects of a node, which stay the provider's.
bool subobjList(Caller& caller, Node& node, std::vector<std::string>& objects);
// `node` is any name.
bool queryValidSecondaries(Caller& caller, const std::string& node,
                           std::vector<std::string>& secondaries);
bool checkNodeExistence(Caller& caller, Node& node, int& exists);
// `state` receives the provider's state of the node.
bool getProviderState(Caller& caller, Node& node, std::string& state);
bool cacheDisable(Caller& caller, Node& node, int flags);
void cacheEnable(Caller& caller, Node& node, int flags);
void cacheFlush(Caller& caller, Node& node, int flags);

// What an interposing provider puts in front of a node.
struct Interposed {
  bool isThere = false;
  std::string name;
  std::vector<std::string> groups;
};
bool interpose(Caller& caller, Node& node, Interposed& answer);

// The requests for the snapshot configuration of a node. The document that comes back is empty when
// there is none.
bool configGetParam(Caller& caller, Node& node, const std::string& sessionId,
                    std::string& document);
bool configGet(Caller& caller, Node& node, const std::string& sessionId, std::string& values);
bool configSet(Caller& caller, Node& node, const std::string& sessionId, const std::string& values,
               std::string& completed);
bool configClear(Caller& caller, Node& node, const std::string& sessionId);

// ---- Taking snapshots ----

bool verifyQSCombos(Caller& caller, NodeSet& nodes);
bool setImportOptions(Caller& caller, NodeSet& nodes, const std::vector<std::string>& hosts,
                      bool transportable);
bool preselect(Caller& caller, Node& node, NodeSet& nodes, const std::string& sessionId);
bool select(Caller& caller, NodeSet& nodes, const std::string& sessionId);
bool selectSnapshots(Caller& caller, SplitSession& session);
bool quiesce(Caller& caller, NodeSet& nodes, const std::string& sessionId);
void unquiesce(Caller& caller, NodeSet& nodes);
bool prePrepare(Caller& caller, Node& node);
bool prepare(Caller& caller, NodeSet& nodes, const std::string& sessionId);
bool prepareSnapshots(Caller& caller, SplitSession& session);
// `snapshots` receives the names of the ids that were handed out, in order; more than the nodes are
// a failure.
bool make(Caller& caller, NodeSet& nodes, const std::string& sessionId,
          std::vector<std::string>& snapshots);
bool makeSnapshots(Caller& caller, SplitSession& session);
// `ready` receives 1 or 0 a node, as the provider left its flag.
bool isReady(Caller& caller, NodeSet& nodes, const std::string& sessionId,
             std::vector<long>& ready);

// ---- Snapshots ----

// Sources and snapshots stand side by side. `statuses` receives one status a pair, kNoStatus where
// the provider gave none.
bool getStatus(Caller& caller, NodeSet& sources, NodeSet& snapshots, const std::string& sessionId,
               std::vector<long>& statuses);
bool restore(Caller& caller, NodeSet& sources, NodeSet& snapshots, const std::string& sessionId,
             std::vector<long>& statuses);
bool resync(Caller& caller, NodeSet& sources, NodeSet& snapshots, const std::string& sessionId,
            std::vector<long>& statuses);
bool dispose(Caller& caller, Node& source, Node& snapshot);
bool online(Caller& caller, Node& source, Node& snapshot, int flags);
bool getAttr(Caller& caller, Node& source, Node& snapshot);
bool getSnapshotSetId(Caller& caller, Node& node, std::string& id);
bool createSnapReplicaNode(Caller& caller, Node& node);
bool updateSnapshotId(Caller& caller, Node& source, Node& snapshot, int flags);
bool updateSnapshotHandle(Caller& caller, SplitSession& session);
bool getSnapdiff(Caller& caller, Node& node);

// ---- Trees ----

bool deportTree(Caller& caller, Node& node, Node& second);
// `import` becomes the node's import id for the call; firsts and seconds stand side by side.
// `imported` receives the name of what was imported.
bool importTreeNode(Caller& caller, Node& node, Node& import, NodeSet& firsts, NodeSet& seconds,
                    std::string& imported);
bool startBuildAltTree(Caller& caller, Node& node, NodeSet& ids);
// `built` receives a name for each pair, empty where nothing was built.
bool buildAltTree(Caller& caller, Node& node, NodeSet& firsts, NodeSet& seconds,
                  const std::string& sessionId, std::vector<std::string>& built);
bool refreshTree(Caller& caller, Node& node, int flags, int& changed);
bool postDeport(Caller& caller, Node& node, Node& second);
bool revisitPluginNodes(Caller& caller);

// ---- Resources ----

// `path` receives where the resource is imported; it is empty where the provider does not say.
bool importResource(Caller& caller, const std::string& resource, const std::string& host, int flags,
                    std::string& path);
bool preDeportResource(Caller& caller, const std::string& resource, const std::string& host,
                       int flags);
bool deportResource(Caller& caller, const std::string& resource, const std::string& host,
                    int flags);
bool resourceStatus(Caller& caller, Node& resource, int flags, long& status);
bool isParentPgn(Caller& caller, const std::string& name, int flags, int& answer);
// `translated` receives a name for each.
bool translateResourceNames(Caller& caller, const std::vector<std::string>& names,
                            std::vector<std::string>& translated);

// How resources are formatted or brought on line; only the latter takes a host.
struct ResourceOptions {
  std::string type;
  std::string name;
  std::string host;
  std::string options;
  int flags = 0;
};
bool format(Caller& caller, const std::vector<std::string>& resources,
            const ResourceOptions& options, std::vector<std::string>& formatted);
bool unformat(Caller& caller, const std::vector<std::string>& resources, int flags);
bool onlineResource(Caller& caller, const std::vector<std::string>& resources,
                    const ResourceOptions& options, std::vector<std::string>& onlined);

bool enableAccess(Caller& caller, NodeSet& nodes);
bool disableAccess(Caller& caller, NodeSet& nodes);

// ---- Lists ----

// A list is a record that this host cannot look into: it tells whether there is one, and the number
// that came with it.
struct Listed {
  bool isThere = false;
  int count = 0;
};
bool getProviderInfo(Caller& caller, Listed& list);
bool enumerateNodes(Caller& caller, const std::string& filter, int flags, Listed& list);
bool enumerateAssociations(Caller& caller, Listed& list);
bool enumerateGroupNodes(Caller& caller, Listed& list);
bool enumerateFims(Caller& caller, Listed& list);
bool enumerateEnclosures(Caller& caller, const std::string& filter, Listed& list);
bool enumerateHostNodes(Caller& caller, const std::string& filter, Listed& list);
bool getAssociatedNodes(Caller& caller, Listed& list);
bool isValidNodeAssociation(Caller& caller, int& valid);

// ---- Applications ----

bool getBackupset(Caller& caller, Node& node, const std::vector<std::string>& names, int flags);
bool getAppStatus(Caller& caller, Node& node, int kind);
bool setOpStatus(Caller& caller, Node& node, int status);
bool setCompStatus(Caller& caller, Node& node, int kind, const std::string& component, int status);
bool setRestorepaths(Caller& caller, Node& node, const std::string& path, int flags);

}  // namespace fihost::ops

#endif
