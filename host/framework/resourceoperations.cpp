#include "framework/operationarguments.h"
#include "framework/operations.h"

namespace fihost::ops {

namespace {

// The nodes as a list of sub-objects.
std::vector<pyx_node_subobj_list> subObjects(NodeSet& nodes) {
  std::vector<pyx_node_subobj_list> list(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    pyx_node_subobj_list* const next = i + 1 < nodes.size() ? &list[i + 1] : nullptr;
    list[i] = {nodes[i].domain(), nodes[i].id(), nullptr, next};
  }
  return list;
}

}  // namespace

bool importResource(Caller& caller, const std::string& resource, const std::string& host, int flags,
                    std::string& path) {
  std::string name = resource;
  std::string hostName = host;
  HandedText imported;
  return caller.call(
      Op::ImportResource, resource, {{"resource", resource}, {"host", host}, {"flags", flags}},
      [&](auto& provider) {
        return provider.importResource(nullptr, name.data(), orNull(hostName), nullptr, flags,
                                       imported.address(), nullptr);
      },
      [&](Call& call) {
        path = imported.text();
        call.outputs = {{"path", path}};
        if (!path.empty()) call.known = "handed out: " + path;
      });
}

bool deportResource(Caller& caller, const std::string& resource, const std::string& host,
                    int flags) {
  std::string name = resource;
  std::string hostName = host;
  return caller.call(
      Op::DeportResource, resource, {{"resource", resource}, {"host", host}, {"flags", flags}},
      [&](auto& provider) {
        return provider.deportResource(name.data(), orNull(hostName), nullptr, nullptr, flags);
      });
}

bool enableAccess(Caller& caller, NodeSet& nodes) {
  std::vector<pyx_node_subobj_list> list = subObjects(nodes);
  return caller.call(Op::EnableAccess, nodes.names(), ofNodes(nodes), [&](auto& provider) {
    return provider.enableAccess(list.data(), nodes.count(), 0, 0);
  });
}

bool disableAccess(Caller& caller, NodeSet& nodes) {
  std::vector<pyx_node_subobj_list> list = subObjects(nodes);
  return caller.call(Op::DisableAccess, nodes.names(), ofNodes(nodes), [&](auto& provider) {
    return provider.disableAccess(list.data(), nodes.count());
  });
}

}  // namespace fihost::ops
