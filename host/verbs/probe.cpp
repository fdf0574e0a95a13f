#include <cfiplugininterposer.h>

#include "cli/text.h"
#include "framework/exceptions.h"
#include "framework/lifecycle.h"
#include "framework/operations.h"
#include "framework/overrides.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

void showIdentity(Plugin& plugin, Report& report) {
  const std::string fim = plugin.provider().getFimName();
  report.document()["provider"] = {
      {"name", plugin.name()}, {"fim", fim}, {"abi", plugin.abi()}, {"plugin", plugin.path()}};
  report.line("provider  " + printable(plugin.name()));
  report.line("FIM       " + printable(fim));
  report.line("ABI       " + printable(plugin.abi()));
  report.line("plug-in   " + printable(plugin.path()));
}

void showOverrides(Plugin& plugin, Report& report) {
  const auto operations = overriddenOperations(plugin.provider());
  report.document()["overrides"] = operations;
  std::string names;
  for (const std::string& operation : operations) names += " " + operation;
  report.line("overrides " + std::to_string(operations.size()) + " operations:" + names);
}

// What an interposing provider registered; nothing for other providers.
void showFims(Plugin& plugin, Report& report) {
  const auto* interposer = dynamic_cast<const orca_pdk::CFiPluginInterposer*>(&plugin.provider());
  if (interposer == nullptr) return;
  for (const auto& [name, group] : interposer->groups()) {
    report.document()["groups"].push_back({{"group", name}, {"pattern", group.pattern}});
    report.line("group     " + printable(name));
  }
  for (const auto& [pattern, fims] : interposer->fims()) {
    for (const orca_pdk::SFiFimInfo& fim : fims) {
      report.document()["fims"].push_back({{"pattern", pattern},
                                           {"fim", fim.fimName},
                                           {"detail", fim.fimDetail},
                                           {"group", fim.group},
                                           {"flags", fim.flags}});
      report.line("FIM       " + printable(fim.fimName) + "  pattern " + printable(pattern) +
                  "  group " + printable(fim.group) + "  " + printable(fim.fimDetail));
    }
  }
}

void showClaims(Caller& caller, Report& report, NodeSet& nodes) {
  auto list = nlohmann::ordered_json::array();
  Lifecycle lifecycle(caller, nodes);
  if (nodes.size() == 0 || !lifecycle.init()) return;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const auto answer = ops::claim(caller, nodes[i]);
    if (!answer) continue;
    const std::string meaning = describe(Op::Claim).meaningOf(*answer);
    list.push_back({{"node", nodes[i].name()}, {"answer", *answer}, {"meaning", meaning}});
    report.line("node " + printable(nodes[i].name()) + "  " + meaning);
  }
  report.document()["claims"] = list;
}

}  // namespace

Exit runProbe(const Options& options, Report& report) {
  Plugin plugin(options.plugin);
  Caller caller(plugin);
  OperationWatch watch;
  caller.observe(watch);
  caller.observe(report);
  report.setOperationsShown(false);
  NodeSet nodes(options.objects);
  showIdentity(plugin, report);
  showOverrides(plugin, report);
  showFims(plugin, report);
  showClaims(caller, report, nodes);
  return report.isFailed() ? kRefused : kDone;
}

}  // namespace fihost
