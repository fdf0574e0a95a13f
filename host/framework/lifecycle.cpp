#include "framework/lifecycle.h"

#include "framework/handedids.h"

namespace fihost {

Lifecycle::~Lifecycle() {
  while (m_nodesBegun > 0) {
    Node& node = m_nodes[--m_nodesBegun];
    m_driver.call("deInitNode", node.name(),
                  [&](auto& provider) { provider.deInitNode(node.domain()); });
  }
  if (m_initCalled) {
    m_driver.call("fini", "", [](auto& provider) { provider.fini(); });
  }
}

bool Lifecycle::init() {
  m_initCalled = true;
  return m_driver.call("init", "", [](auto& provider) { return provider.init(); });
}

bool Lifecycle::claim(Driver& driver, Node& node) {
  HandedIds secondaries;
  return driver.call("claim", node.name(), [&](auto& provider) {
    return provider.claim(node.id(), secondaries.array(), secondaries.count());
  });
}

bool Lifecycle::claimAll() {
  for (std::size_t i = 0; i < m_nodes.size(); ++i) {
    if (!claim(m_driver, m_nodes[i])) return false;
    if (m_driver.last().code == PYX_CLAIM_NONE) {
      return m_driver.refuse("the provider does not want this node");
    }
  }
  return true;
}

bool Lifecycle::initNodes() {
  for (; m_nodesBegun < m_nodes.size();) {
    Node& node = m_nodes[m_nodesBegun++];
    pyx_domain* domain = node.domain();
    const auto count = static_cast<int>(domain->member_count);
    if (!m_driver.call("initNode", node.name(), [&](auto& provider) {
          return provider.initNode(domain, domain->members, count, nullptr);
        })) {
      return false;
    }
  }
  return true;
}

}  // namespace fihost
