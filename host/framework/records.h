#ifndef FIHOST_FRAMEWORK_RECORDS_H
#define FIHOST_FRAMEWORK_RECORDS_H

#include <cfisession.h>
#include <fiutil.h>

#include <memory>
#include <string>
#include <vector>

// A node that is quiesced; providers hand it on without looking into it.
struct pyx_quiescenode {
  pyx_domain* domain;
};

namespace fihost {

// A node and its records: a primary node, which is its own first member.
class Node {
 public:
  explicit Node(const std::string& name);
  ~Node();
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  const std::string& name() const { return m_name; }
  orca_objid* id() { return m_id; }
  pyx_domain* domain() { return &m_domain; }
  pyx_splitnode* splitNode() { return &m_splitNode; }
  pyx_quiescenode* quiesceNode() { return &m_quiesceNode; }
  // Where supportsFiType answers.
  int32_t& capability() { return m_capability; }

 private:
  std::string m_name;
  orca_objid* m_id;
  int32_t m_capability = 0;
  pyx_domain* m_members[1];
  pyx_domain m_domain{};
  pyx_splitnode m_splitNode{};
  pyx_quiescenode m_quiesceNode{};
};

// Several nodes that are driven together, and the arrays in which operations take them.
class NodeSet {
 public:
  explicit NodeSet(const std::vector<std::string>& names);
  // Nodes that others hold, too.
  explicit NodeSet(const std::vector<std::shared_ptr<Node>>& nodes);

  std::size_t size() const { return m_nodes.size(); }
  int count() const { return static_cast<int>(m_nodes.size()); }
  Node& operator[](std::size_t i) { return *m_nodes[i]; }
  pyx_splitnode** splitNodes() { return m_splitNodes.data(); }
  pyx_quiescenode** quiesceNodes() { return m_quiesceNodes.data(); }
  orca_objid** ids() { return m_ids.data(); }
  // All names, with ", " between them, and one by one.
  std::string names() const;
  std::vector<std::string> nameList() const;

 private:
  void add(const std::shared_ptr<Node>& node);

  std::vector<std::shared_ptr<Node>> m_nodes;
  std::vector<pyx_splitnode*> m_splitNodes;
  std::vector<pyx_quiescenode*> m_quiesceNodes;
  std::vector<orca_objid*> m_ids;
};

// The nodes of a session as a session object, which a provider may go on holding; the nodes, which
// must live as long as it is used, stay the caller's.
class SplitSession {
 public:
  SplitSession(NodeSet& nodes, const std::string& id);

  orca_pdk::CFiSessionPtr& pointer() { return m_session; }
  const std::string& id() const { return m_session->getId(); }
  NodeSet& nodes() { return m_nodes; }

 private:
  NodeSet& m_nodes;
  orca_pdk::CFiSessionPtr m_session;
};

}  // namespace fihost

#endif
