#include <cfiplugininterposer.h>

#include "cli/text.h"
#include "framework/operations.h"
#include "framework/overrides.h"
#include "verbs/withprovider.h"

namespace fihost {

namespace {

void tellIdentity(Plugin& plugin, Json& answer) {
  answer["provider"] = {{"name", plugin.name()},
                        {"fim", plugin.provider().getFimName()},
                        {"abi", plugin.abi()},
                        {"plugin", plugin.path()}};
  const Overrides overrides = overriddenOperations(plugin.provider());
  answer["overrides"] = overrides.own;
  if (!overrides.inherited.empty()) answer["inherited"] = overrides.inherited;
}

// What an interposing provider registered; nothing for other providers.
void tellFims(Plugin& plugin, Json& answer) {
  const auto* interposer = dynamic_cast<const orca_pdk::CFiPluginInterposer*>(&plugin.provider());
  if (interposer == nullptr) return;
  for (const auto& [name, group] : interposer->groups()) {
    answer["groups"].push_back({{"group", name}, {"pattern", group.pattern}});
  }
  for (const auto& [pattern, fims] : interposer->fims()) {
    for (const orca_pdk::SFiFimInfo& fim : fims) {
      answer["fims"].push_back({{"pattern", pattern},
                                {"fim", fim.fimName},
                                {"detail", fim.fimDetail},
                                {"group", fim.group},
                                {"flags", fim.flags}});
    }
  }
}

std::string countText(const Json& operations) {
  std::string text = std::to_string(operations.size()) + " operations:";
  for (const std::string operation : operations) text += " " + operation;
  return text + "\n";
}

std::string identityText(const Json& answer) {
  if (!answer.contains("provider")) return "";
  const Json& provider = answer["provider"];
  std::string text = "provider  " + printable(provider["name"]) + "\nFIM       " +
                     printable(provider["fim"]) + "\nABI       " + printable(provider["abi"]) +
                     "\nplug-in   " + printable(provider["plugin"]) + "\n";
  text += "overrides " + countText(answer["overrides"]);
  if (answer.contains("inherited")) text += "inherits  " + countText(answer["inherited"]);
  return text;
}

class Probe : public Verb {
 public:
  const char* name() const override { return "probe"; }
  const char* help() const override { return "Show what a plug-in is and which nodes it claims"; }
  void declare(VerbOptions& options) override {
    options.plugin(m_plugin);
    options.nodes("Nodes to offer", 0, -1, m_nodes);
  }
  bool showsOperations() const override { return false; }

  void run(Context& context) override {
    Json& answer = context.report.answer();
    withProvider(context, m_plugin, [&](ProviderRun& run) {
      tellIdentity(run.plugin, answer);
      tellFims(run.plugin, answer);
      if (m_nodes.empty() || !run.lifecycle.init()) return;
      NodeSet nodes(m_nodes);
      answer["claims"] = Json::array();
      for (std::size_t i = 0; i < nodes.size(); ++i) {
        const auto claimed = ops::claim(run.caller, nodes[i]);
        if (!claimed) continue;
        answer["claims"].push_back({{"node", nodes[i].name()},
                                    {"answer", *claimed},
                                    {"meaning", describe(Op::Claim).meaningOf(*claimed)}});
      }
    });
  }

  std::string text(const Json& answer) const override {
    std::string text = identityText(answer);
    for (const Json& row : rowsOf(answer, "groups")) {
      text += "group     " + printable(row["group"]) + "\n";
    }
    for (const Json& row : rowsOf(answer, "fims")) {
      text += "FIM       " + printable(row["fim"]) + "  pattern " + printable(row["pattern"]) +
              "  group " + printable(row["group"]) + "  " + printable(row["detail"]) + "\n";
    }
    for (const Json& row : rowsOf(answer, "claims")) {
      text += "node " + printable(row["node"]) + "  " + std::string(row["meaning"]) + "\n";
    }
    return text;
  }

 private:
  std::string m_plugin;
  std::vector<std::string> m_nodes;
};

}  // namespace

std::unique_ptr<Verb> make_probe() { return std::make_unique<Probe>(); }

}  // namespace fihost
