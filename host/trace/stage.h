#ifndef FIHOST_TRACE_STAGE_H
#define FIHOST_TRACE_STAGE_H

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "framework/caller.h"
#include "framework/records.h"

namespace fihost {

// The nodes that a session file has named, each with one record from its first mention on. Must
// live as long as the plug-in, which may go on knowing them.
using NodePool = std::map<std::string, std::shared_ptr<Node>>;

// What an operation of a session file is called with: the caller, and the arguments of its line by
// their names.
class Stage {
 public:
  Stage(Caller& caller, NodePool& pool) : m_caller(caller), m_pool(pool) {}

  // Takes the arguments of a line in place of those before.
  using Arguments = std::map<std::string, std::vector<std::string>>;
  void set(const Arguments& arguments, const std::string& sessionId);

  Caller& caller() { return m_caller; }
  const std::string& sessionId() const { return m_sessionId; }
  // A node; null where it was left out.
  Node* nodeIf(const std::string& name);
  Node& node(const std::string& name) { return *nodeIf(name); }
  // Valid until the next line.
  NodeSet& nodes(const std::string& name);
  // The nodes of "nodes" as a session object: the same for the same nodes and session.
  SplitSession& session();
  const std::vector<std::string>& texts(const std::string& name) const;
  // Empty where it was left out.
  std::string text(const std::string& name) const;
  // 0 where it was left out.
  int number(const std::string& name) const;

 private:
  struct Split {
    Split(const std::vector<std::shared_ptr<Node>>& shared, const std::string& id)
        : nodes(shared), session(nodes, id) {}
    NodeSet nodes;
    SplitSession session;
  };

  std::vector<std::shared_ptr<Node>> shared(const std::string& name);

  Caller& m_caller;
  NodePool& m_pool;
  Arguments m_arguments;
  std::string m_sessionId;
  std::map<std::string, std::unique_ptr<NodeSet>> m_sets;
  std::map<std::pair<std::string, std::vector<std::string>>, std::unique_ptr<Split>> m_sessions;
};

// A whole number, decimal or with 0x in front, that fits into an int. Throws a text for another.
int numberIn(const std::string& text);

}  // namespace fihost

#endif
