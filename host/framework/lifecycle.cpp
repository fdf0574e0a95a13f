#include "framework/lifecycle.h"

#include "framework/operations.h"

namespace fihost {

Lifecycle::~Lifecycle() {
  while (m_nodesBegun > 0) ops::deInitNode(m_caller, m_nodes[--m_nodesBegun]);
  if (m_initCalled) ops::fini(m_caller);
}

bool Lifecycle::init() {
  m_initCalled = true;
  return ops::init(m_caller);
}

bool Lifecycle::claimAll() {
  for (std::size_t i = 0; i < m_nodes.size(); ++i) {
    const std::optional<int> answer = ops::claim(m_caller, m_nodes[i]);
    if (!answer) return false;
    if (answer == PYX_CLAIM_NONE) {
      return m_caller.refuse("the provider does not want this node");
    }
  }
  return true;
}

bool Lifecycle::initNodes() {
  while (m_nodesBegun < m_nodes.size()) {
    if (!ops::initNode(m_caller, m_nodes[m_nodesBegun++])) return false;
  }
  return true;
}

}  // namespace fihost
