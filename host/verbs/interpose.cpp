#include "cli/text.h"
#include "framework/exceptions.h"
#include "framework/lifecycle.h"
#include "framework/operations.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

// Offers a node to be interposed, and what comes of it to be claimed.
nlohmann::ordered_json offer(Caller& caller, Report& report, Node& node) {
  ops::Interposed front;
  nlohmann::ordered_json answer{{"node", node.name()}};
  if (!ops::interpose(caller, node, front)) return answer;
  answer["interposed"] = front.isThere ? front.name : "";
  answer["groups"] = front.groups;
  if (!front.isThere) {
    report.line("node " + printable(node.name()) + "  not interposed");
    return answer;
  }
  report.line("node " + printable(front.name) + "  in front of " + printable(node.name()));
  for (const std::string& group : front.groups) report.line("group " + printable(group));
  Node own(front.name);
  if (const auto claimed = ops::claim(caller, own)) {
    const std::string meaning = describe(Op::Claim).meaningOf(*claimed);
    answer["claim"] = meaning;
    report.line("node " + printable(front.name) + "  " + meaning);
  }
  return answer;
}

}  // namespace

Exit runInterpose(const Options& options, Report& report) {
  Plugin plugin(options.plugin);
  Caller caller(plugin);
  OperationWatch watch;
  caller.observe(watch);
  caller.observe(report);
  NodeSet nodes(options.objects);
  {
    Lifecycle lifecycle(caller, nodes);
    auto answers = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < nodes.size() && (i > 0 || lifecycle.init()); ++i) {
      answers.push_back(offer(caller, report, nodes[i]));
    }
    report.document()["nodes"] = answers;
  }
  return report.isFailed() ? kRefused : kDone;
}

}  // namespace fihost
