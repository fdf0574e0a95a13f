#include "cli/text.h"
#include "framework/exceptions.h"
#include "framework/lifecycle.h"
#include "framework/operations.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

constexpr uint32_t kAccessOff = 0x40;

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
  Caller caller(plugin);
  OperationWatch watch;
  caller.observe(watch);
  caller.observe(report);
  NodeSet nodes(options.objects);
  for (std::size_t i = 0; i < nodes.size() && on; ++i) nodes[i].domain()->flags |= kAccessOff;
  {
    Lifecycle lifecycle(caller, nodes);
    if (lifecycle.init() && lifecycle.initNodes() &&
        (on ? ops::enableAccess(caller, nodes) : ops::disableAccess(caller, nodes))) {
      show(report, nodes);
    }
  }
  return report.isFailed() ? kRefused : kDone;
}

}  // namespace fihost
