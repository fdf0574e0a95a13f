#include "cli/names.h"
#include "framework/handedids.h"
#include "framework/lifecycle.h"
#include "framework/objidholder.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

// Offers a node to be interposed, and what comes of it to be claimed.
nlohmann::ordered_json offer(Driver& driver, Node& node) {
  ObjidHolder own;
  HandedIds groups;
  nlohmann::ordered_json answer{{"node", node.name()}};
  if (!driver.call("interpose", node.name(), [&](auto& provider) {
        return provider.interpose(node.domain(), own.address(), groups.array(), groups.count());
      })) {
    return answer;
  }
  const bool isInterposed = *driver.last().code != 0 && own.get() != nullptr;
  answer["interposed"] = isInterposed ? own.name() : "";
  answer["groups"] = groups.names();
  if (!isInterposed) {
    driver.report().line("node " + printable(node.name()) + "  not interposed");
    return answer;
  }
  driver.report().line("node " + printable(own.name()) + "  in front of " + printable(node.name()));
  for (const std::string& group : groups.names()) {
    driver.report().line("group " + printable(group));
  }
  Node front(own.name());
  if (Lifecycle::claim(driver, front)) {
    const int claimed = *driver.last().code;
    answer["claim"] = meaningOf("claim", claimed);
    driver.report().line("node " + printable(front.name()) + "  " + meaningOf("claim", claimed));
  }
  return answer;
}

}  // namespace

Exit runInterpose(const Options& options, Report& report) {
  Plugin plugin(options.plugin);
  Driver driver(plugin, report);
  NodeSet nodes(options.objects);
  {
    Lifecycle lifecycle(driver, nodes);
    auto answers = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < nodes.size() && (i > 0 || lifecycle.init()); ++i) {
      answers.push_back(offer(driver, nodes[i]));
    }
    report.document()["nodes"] = answers;
  }
  return driver.isFailed() ? kRefused : kDone;
}

}  // namespace fihost
