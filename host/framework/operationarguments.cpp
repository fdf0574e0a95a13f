#include "framework/operationarguments.h"

namespace fihost::ops {

TextArray::TextArray(const std::vector<std::string>& texts) : m_texts(texts) {
  for (std::string& text : m_texts) m_pointers.push_back(text.data());
}

Values with(Values values, const Values& more) {
  values.insert(values.end(), more.begin(), more.end());
  return values;
}

Values ofNode(const Node& node) { return {{"node", node.name()}}; }

Values ofNodes(const NodeSet& nodes) { return {{"nodes", nodes.nameList()}}; }

Values ofSession(const NodeSet& nodes, const std::string& sessionId) {
  return {{"session", sessionId}, {"nodes", nodes.nameList()}};
}

Values ofPairs(const NodeSet& sources, const NodeSet& snapshots, const std::string& sessionId) {
  return {
      {"sources", sources.nameList()}, {"snapshots", snapshots.nameList()}, {"session", sessionId}};
}

Values ofSnapshot(const Node& source, const Node& snapshot) {
  return {{"source", source.name()}, {"snapshot", snapshot.name()}};
}

}  // namespace fihost::ops
