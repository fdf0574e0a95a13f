#include "framework/operationarguments.h"
#include "framework/operations.h"

namespace fihost::ops {

namespace {

Values ofPair(const Node& node, const Node& second) {
  return {{"node", node.name()}, {"second", second.name()}};
}

bool isOneOf(NodeSet& nodes, const orca_objid* id) {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].id() == id) return true;
  }
  return false;
}

std::string nameOf(const orca_objid* id) {
  return id == nullptr || id->name == nullptr ? "" : id->name;
}

// Names the host's import of a node for its scope.
class ImportId {
 public:
  ImportId(Node& node, Node& import) : m_node(node) { node.domain()->import_objid = import.id(); }
  ~ImportId() { m_node.domain()->import_objid = nullptr; }
  ImportId(const ImportId&) = delete;
  ImportId& operator=(const ImportId&) = delete;

 private:
  Node& m_node;
};

}  // namespace

bool deportTree(Caller& caller, Node& node, Node& second) {
  return caller.call(Op::DeportTree, node.name(), ofPair(node, second), [&](auto& provider) {
    return provider.deportTree(node.domain(), second.domain(), nullptr);
  });
}

bool importTreeNode(Caller& caller, Node& node, Node& import, NodeSet& firsts, NodeSet& seconds,
                    std::string& imported) {
  const ImportId importId(node, import);
  orca_objid* id = nullptr;
  const bool good = caller.call(
      Op::ImportTreeNode, node.name(),
      {{"node", node.name()},
       {"import", import.name()},
       {"firsts", firsts.nameList()},
       {"seconds", seconds.nameList()}},
      [&](auto& provider) {
        return provider.importTreeNode(node.domain(), firsts.ids(), seconds.ids(), firsts.count(),
                                       &id);
      },
      [&](Call& call) {
        imported = nameOf(id);
        call.outputs = {{"imported", imported}};
      });
  // The import id itself may come back.
  if (id != import.id() && !isOneOf(firsts, id) && !isOneOf(seconds, id)) orca_free_objid(id);
  return good;
}

bool startBuildAltTree(Caller& caller, Node& node, NodeSet& ids) {
  return caller.call(Op::StartBuildAltTree, node.name(), with(ofNode(node), ofNodes(ids)),
                     [&](auto& provider) {
                       return provider.startBuildAltTree(node.domain(), ids.ids(), nullptr);
                     });
}

bool buildAltTree(Caller& caller, Node& node, NodeSet& firsts, NodeSet& seconds,
                  const std::string& sessionId, std::vector<std::string>& built) {
  std::string session = sessionId;
  std::vector<orca_objid*> ids(firsts.size());
  const bool good = caller.call(
      Op::BuildAltTree, node.name(),
      {{"node", node.name()},
       {"session", sessionId},
       {"firsts", firsts.nameList()},
       {"seconds", seconds.nameList()}},
      [&](auto& provider) {
        return provider.buildAltTree(node.domain(), session.data(), firsts.ids(), seconds.ids(),
                                     firsts.count(), ids.data());
      },
      [&](Call& call) {
        built = idNames(ids.data(), firsts.count());
        call.outputs = {{"built", built}};
      });
  for (orca_objid* id : ids) {
    if (!isOneOf(firsts, id) && !isOneOf(seconds, id)) orca_free_objid(id);
  }
  return good;
}

bool refreshTree(Caller& caller, Node& node, int flags, int& changed) {
  changed = 0;
  return caller.call(
      Op::RefreshTree, node.name(), {{"node", node.name()}, {"flags", flags}},
      [&](auto& provider) {
        return provider.refreshTree(node.domain(), flags, 0, nullptr, 0, &changed, nullptr, 0);
      },
      [&](Call& call) {
        call.outputs = {{"changed", changed}};
      });
}

bool postDeport(Caller& caller, Node& node, Node& second) {
  return caller.call(Op::PostDeport, node.name(), ofPair(node, second), [&](auto& provider) {
    return provider.postDeport(node.domain(), second.domain());
  });
}

bool revisitPluginNodes(Caller& caller) {
  return caller.call(Op::RevisitPluginNodes, "", {},
                     [](auto& provider) { return provider.revisitPluginNodes(nullptr); });
}

}  // namespace fihost::ops
