#include "framework/records.h"

#include <cfitypes.h>

#include <new>

namespace fihost {

Node::Node(const std::string& name)
    : m_name(name), m_id(orca_get_objid(name.c_str(), name.size() + 1, orca_pdk::FI_OBJID_NODE)) {
  if (m_id == nullptr) throw std::bad_alloc();
  m_members[0] = &m_domain;
  m_domain.objid = m_id;
  m_domain.name = m_id->name;
  m_domain.capability = &m_capability;
  m_domain.members = m_members;
  m_domain.member_count = 1;
  m_splitNode.domain = &m_domain;
  m_quiesceNode.domain = &m_domain;
}

Node::~Node() { orca_free_objid(m_id); }

NodeSet::NodeSet(const std::vector<std::string>& names) {
  for (const std::string& name : names) add(std::make_shared<Node>(name));
}

NodeSet::NodeSet(const std::vector<std::shared_ptr<Node>>& nodes) {
  for (const std::shared_ptr<Node>& node : nodes) add(node);
}

void NodeSet::add(const std::shared_ptr<Node>& node) {
  m_nodes.push_back(node);
  m_splitNodes.push_back(node->splitNode());
  m_quiesceNodes.push_back(node->quiesceNode());
  m_ids.push_back(node->id());
}

std::string NodeSet::names() const {
  std::string all;
  for (const auto& node : m_nodes) all += (all.empty() ? "" : ", ") + node->name();
  return all;
}

std::vector<std::string> NodeSet::nameList() const {
  std::vector<std::string> list;
  for (const auto& node : m_nodes) list.push_back(node->name());
  return list;
}

SplitSession::SplitSession(NodeSet& nodes, const std::string& id)
    : m_nodes(nodes), m_session(new orca_pdk::CFiSession(id)) {
  for (std::size_t i = 0; i < nodes.size(); ++i) m_session->addSplitNode(nodes[i].splitNode());
}

}  // namespace fihost
