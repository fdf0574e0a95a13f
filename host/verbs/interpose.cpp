#include "cli/text.h"
#include "framework/operations.h"
#include "verbs/withprovider.h"

namespace fihost {

namespace {

// Offers a node to be interposed, and what comes of it to be claimed.
Json offer(Caller& caller, Node& node) {
  ops::Interposed front;
  Json answer{{"node", node.name()}};
  if (!ops::interpose(caller, node, front)) return answer;
  answer["interposed"] = front.isThere ? front.name : "";
  answer["groups"] = front.groups;
  if (!front.isThere) return answer;
  Node own(front.name);
  const auto claimed = ops::claim(caller, own);
  if (claimed) answer["claim"] = describe(Op::Claim).meaningOf(*claimed);
  return answer;
}

std::string rowText(const Json& row) {
  if (!row.contains("interposed")) return "";
  const std::string node = printable(row["node"]);
  const std::string front = printable(row["interposed"]);
  if (front.empty()) return "node " + node + "  not interposed\n";
  std::string text = "node " + front + "  in front of " + node + "\n";
  for (const std::string group : row["groups"]) text += "group " + printable(group) + "\n";
  if (row.contains("claim")) text += "node " + front + "  " + std::string(row["claim"]) + "\n";
  return text;
}

class Interpose : public Verb {
 public:
  const char* name() const override { return "interpose"; }
  const char* help() const override { return "Offer nodes to be interposed and claimed"; }
  void declare(VerbOptions& options) override {
    options.plugin(m_plugin);
    options.nodes("Nodes to offer", 1, -1, m_nodes);
  }

  void run(Context& context) override {
    Json& answer = context.report.answer();
    answer["nodes"] = Json::array();
    withProvider(context, m_plugin, [&](ProviderRun& run) {
      if (!run.lifecycle.init()) return;
      NodeSet nodes(m_nodes);
      for (std::size_t i = 0; i < nodes.size(); ++i) {
        answer["nodes"].push_back(offer(run.caller, nodes[i]));
      }
    });
  }

  std::string text(const Json& answer) const override {
    std::string text;
    for (const Json& row : rowsOf(answer, "nodes")) text += rowText(row);
    return text;
  }

 private:
  std::string m_plugin;
  std::vector<std::string> m_nodes;
};

}  // namespace

std::unique_ptr<Verb> make_interpose() { return std::make_unique<Interpose>(); }

}  // namespace fihost
