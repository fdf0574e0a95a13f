#ifndef FIHOST_FRAMEWORK_LIFECYCLE_H
#define FIHOST_FRAMEWORK_LIFECYCLE_H

#include <vector>

#include "framework/caller.h"
#include "framework/records.h"

namespace fihost {

// The frame around the work with a provider: init and initNode before it, deInitNode and fini after
// it. What was begun is ended at the end of the scope, also when something in between failed.
class Lifecycle {
 public:
  Lifecycle(Caller& caller, NodeSet& nodes) : m_caller(caller), m_nodes(nodes) {}
  ~Lifecycle();
  Lifecycle(const Lifecycle&) = delete;
  Lifecycle& operator=(const Lifecycle&) = delete;

  // Each is true when it went well for all nodes; it stops at the first that did not.
  bool init();
  bool claimAll();
  bool initNodes();

 private:
  Caller& m_caller;
  NodeSet& m_nodes;
  bool m_initCalled = false;
  std::size_t m_nodesBegun = 0;
};

}  // namespace fihost

#endif
