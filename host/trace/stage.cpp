#include "trace/stage.h"

#include <charconv>

namespace fihost {

void Stage::set(const Arguments& arguments, const std::string& sessionId) {
  m_arguments = arguments;
  m_sessionId = sessionId;
  m_sets.clear();
}

std::vector<std::shared_ptr<Node>> Stage::shared(const std::string& name) {
  std::vector<std::shared_ptr<Node>> nodes;
  for (const std::string& text : texts(name)) {
    std::shared_ptr<Node>& node = m_pool[text];
    if (node == nullptr) node = std::make_shared<Node>(text);
    nodes.push_back(node);
  }
  return nodes;
}

Node* Stage::nodeIf(const std::string& name) {
  const auto nodes = shared(name);
  return nodes.empty() ? nullptr : nodes.front().get();
}

NodeSet& Stage::nodes(const std::string& name) {
  std::unique_ptr<NodeSet>& set = m_sets[name];
  if (set == nullptr) set = std::make_unique<NodeSet>(shared(name));
  return *set;
}

SplitSession& Stage::session() {
  std::unique_ptr<Split>& split = m_sessions[{m_sessionId, texts("nodes")}];
  if (split == nullptr) split = std::make_unique<Split>(shared("nodes"), m_sessionId);
  return split->session;
}

const std::vector<std::string>& Stage::texts(const std::string& name) const {
  static const std::vector<std::string> none;
  const auto found = m_arguments.find(name);
  return found == m_arguments.end() ? none : found->second;
}

std::string Stage::text(const std::string& name) const {
  return texts(name).empty() ? "" : texts(name).front();
}

int Stage::number(const std::string& name) const {
  return texts(name).empty() ? 0 : numberIn(texts(name).front());
}

int numberIn(const std::string& text) {
  const bool isHex = text.starts_with("0x");
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto [last, error] =
      std::from_chars(text.data() + (isHex ? 2 : 0), end, number, isHex ? 16 : 10);
  if (error != std::errc() || last != end) throw "\"" + text + "\" is no number";
  return number;
}

}  // namespace fihost
