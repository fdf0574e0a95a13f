#include <vector>

#include "cli/names.h"
#include "framework/lifecycle.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

constexpr uint32_t kAccessOff = 0x40;

// The nodes as a list of sub-objects, as the two operations take them.
std::vector<pyx_node_subobj_list> subObjects(NodeSet& nodes) {
  std::vector<pyx_node_subobj_list> list(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    pyx_node_subobj_list* const next = i + 1 < nodes.size() ? &list[i + 1] : nullptr;
    list[i] = {nodes[i].domain(), nodes[i].id(), nullptr, next};
  }
  return list;
}

bool switchAccess(Driver& driver, NodeSet& nodes, bool on) {
  std::vector<pyx_node_subobj_list> list = subObjects(nodes);
  const long count = nodes.count();
  if (!on) {
    return driver.call("disableAccess", nodes.names(),
                       [&](auto& provider) { return provider.disableAccess(list.data(), count); });
  }
  return driver.call("enableAccess", nodes.names(), [&](auto& provider) {
    return provider.enableAccess(list.data(), count, 0, 0);
  });
}

void show(Report& report, NodeSet& nodes) {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const char* const access = (nodes[i].domain()->flags & kAccessOff) != 0 ? "off" : "on";
    report.document()["access"].push_back({{"node", nodes[i].name()}, {"access", access}});
    report.line("node " + printable(nodes[i].name()) + "  access " + access);
  }
}

}  // namespace

// The flags of nodes last as long as the host, so a node that is to be switched on begins off.
Exit runAccess(const Options& options, Report& report) {
  const bool on = options.action == "enable";
  Plugin plugin(options.plugin);
  Driver driver(plugin, report);
  NodeSet nodes(options.objects);
  for (std::size_t i = 0; i < nodes.size() && on; ++i) nodes[i].domain()->flags |= kAccessOff;
  {
    Lifecycle lifecycle(driver, nodes);
    if (lifecycle.init() && lifecycle.initNodes() && switchAccess(driver, nodes, on)) {
      show(report, nodes);
    }
  }
  return driver.isFailed() ? kRefused : kDone;
}

}  // namespace fihost
