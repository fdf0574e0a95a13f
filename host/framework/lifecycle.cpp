#include "framework/lifecycle.h"

#include "framework/operations.h"

namespace fihost {

Lifecycle::~Lifecycle() {
  endNodes();
  if (m_initCalled) ops::fini(m_caller);
}

void Lifecycle::endNodes() {
  while (m_nodesBegun > 0) ops::deInitNode(m_caller, nodes()[--m_nodesBegun]);
}

bool Lifecycle::beginNodes(const std::vector<std::string>& names) {
  m_nodes = std::make_unique<NodeSet>(names);
  return initNodes();
}

bool Lifecycle::init() {
  m_initCalled = true;
  return ops::init(m_caller);
}

bool Lifecycle::begin(const std::vector<std::string>& names, Claim claimed, uint32_t flags) {
  m_nodes = std::make_unique<NodeSet>(names);
  for (std::size_t i = 0; i < m_nodes->size(); ++i) nodes()[i].domain()->flags |= flags;
  return init() && (claimed == Claim::No || claimAll()) && initNodes();
}

bool Lifecycle::claimAll() {
  for (std::size_t i = 0; i < nodes().size(); ++i) {
    const std::optional<int> answer = ops::claim(m_caller, nodes()[i]);
    if (!answer) return false;
    if (answer == PYX_CLAIM_NONE) return m_caller.refuse("the provider does not want this node");
  }
  return true;
}

bool Lifecycle::initNodes() {
  while (m_nodesBegun < nodes().size()) {
    if (!ops::initNode(m_caller, nodes()[m_nodesBegun++])) return false;
  }
  return true;
}

}  // namespace fihost
