#ifndef FIHOST_FRAMEWORK_LIFECYCLE_H
#define FIHOST_FRAMEWORK_LIFECYCLE_H

#include <memory>
#include <string>
#include <vector>

#include "framework/caller.h"
#include "framework/records.h"

namespace fihost {

// The frame around the work with a provider: init and initNode before it, deInitNode and fini after
// it. What was begun is ended at the end of the scope, also when something in between failed.
class Lifecycle {
 public:
  explicit Lifecycle(Caller& caller) : m_caller(caller) {}
  ~Lifecycle();
  Lifecycle(const Lifecycle&) = delete;
  Lifecycle& operator=(const Lifecycle&) = delete;

  // True when the provider is ready.
  bool init();
  // Initialises the provider and sets nodes up; with `claimed`, each must be wanted by the provider
  // before. True when it went well for all; it stops at the first that did not. Called once.
  // `flags` are those that the nodes begin with.
  enum class Claim { No, Yes };
  bool begin(const std::vector<std::string>& names, Claim claimed, uint32_t flags = 0);
  // Ends the nodes before the scope does.
  void endNodes();
  // Sets other nodes up when those before were ended; true when it went well for all.
  bool beginNodes(const std::vector<std::string>& names);

  // The nodes that were begun last.
  NodeSet& nodes() { return *m_nodes; }

 private:
  bool claimAll();
  bool initNodes();

  Caller& m_caller;
  std::unique_ptr<NodeSet> m_nodes;
  bool m_initCalled = false;
  std::size_t m_nodesBegun = 0;
};

}  // namespace fihost

#endif
