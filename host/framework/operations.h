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
// operation did what it was called for. Outputs are filled in also after a failure, where the
// provider handed something out.
namespace fihost::ops {

bool init(Caller& caller);
void fini(Caller& caller);
// The provider's answer, a PYX_CLAIM_ value; nothing after a failure. The secondary nodes that it
// names are given back.
std::optional<int> claim(Caller& caller, Node& node);
bool initNode(Caller& caller, Node& node);
void deInitNode(Caller& caller, Node& node);

// The two requests for the snapshot configuration of a node. The document that comes back is empty
// when there is none.
bool configGetParam(Caller& caller, Node& node, const std::string& sessionId,
                    std::string& document);
bool configSet(Caller& caller, Node& node, const std::string& sessionId, const std::string& values,
               std::string& completed);

// Gives the provider back what it knew of a snapshot of a node in an earlier run; deInitNode of the
// snapshot lets it go again.
bool reAccessTmpObj(Caller& caller, Node& snapshot, Node& source, const std::string& sessionId);

bool quiesce(Caller& caller, NodeSet& nodes, const std::string& sessionId);
void unquiesce(Caller& caller, NodeSet& nodes);
bool prePrepare(Caller& caller, Node& node);
bool prepare(Caller& caller, NodeSet& nodes, const std::string& sessionId);
// `snapshots` receives the names of the ids that were handed out, in order.
bool make(Caller& caller, NodeSet& nodes, const std::string& sessionId,
          std::vector<std::string>& snapshots);
// `state` receives the provider's state of the node.
bool getProviderState(Caller& caller, Node& node, std::string& state);

// The operations on snapshots: sources and snapshots stand side by side. `statuses` receives one
// status a pair, kNoStatus where the provider gave none.
bool getStatus(Caller& caller, NodeSet& sources, NodeSet& snapshots, const std::string& sessionId,
               std::vector<long>& statuses);
bool restore(Caller& caller, NodeSet& sources, NodeSet& snapshots, const std::string& sessionId,
             std::vector<long>& statuses);
bool dispose(Caller& caller, Node& source, Node& snapshot);

// What an interposing provider puts in front of a node.
struct Interposed {
  bool isThere = false;
  std::string name;
  std::vector<std::string> groups;
};
bool interpose(Caller& caller, Node& node, Interposed& answer);

// An empty host stands for none. `path` receives where the resource is imported; it is empty where
// the provider does not say.
bool importResource(Caller& caller, const std::string& resource, const std::string& host, int flags,
                    std::string& path);
bool deportResource(Caller& caller, const std::string& resource, const std::string& host,
                    int flags);

bool enableAccess(Caller& caller, NodeSet& nodes);
bool disableAccess(Caller& caller, NodeSet& nodes);

// The provider's text for a message id in the native language; the id where there is none.
std::string catalogText(Caller& caller, const std::string& messageId);

}  // namespace fihost::ops

#endif
