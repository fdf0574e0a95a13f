#include "framework/operationarguments.h"

namespace fihost::ops {

Values ofNode(const Node& node) { return {{"node", node.name()}}; }

Values ofNodes(const NodeSet& nodes) { return {{"nodes", nodes.nameList()}}; }

Values ofSession(const NodeSet& nodes, const std::string& sessionId) {
  return {{"session", sessionId}, {"nodes", nodes.nameList()}};
}

Values ofPairs(const NodeSet& sources, const NodeSet& snapshots, const std::string& sessionId) {
  return {
      {"sources", sources.nameList()}, {"snapshots", snapshots.nameList()}, {"session", sessionId}};
}

}  // namespace fihost::ops
