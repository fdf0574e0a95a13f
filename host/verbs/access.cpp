#include "cli/text.h"
#include "framework/operations.h"
#include "verbs/withprovider.h"

namespace fihost {

namespace {

class Access : public Verb {
 public:
  const char* name() const override { return "access"; }
  const char* help() const override { return "Switch access to nodes off and on"; }
  void declare(VerbOptions& options) override {
    options.plugin(m_plugin);
    options.choice("ACTION", "disable or enable", {"disable", "enable"}, m_action);
    options.nodes("Nodes", 1, -1, m_nodes);
  }

  // The flags of nodes last as long as the host, so a node that is to be switched on begins off.
  void run(Context& context) override {
    const bool on = m_action == "enable";
    withProvider(context, m_plugin, [&](ProviderRun& run) {
      if (!run.lifecycle.begin(m_nodes, Lifecycle::Claim::No,
                               on ? uint32_t{orca_pdk::FI_NODE_ACCESS_OFF} : 0))
        return;
      NodeSet& nodes = run.lifecycle.nodes();
      if (!(on ? ops::enableAccess(run.caller, nodes) : ops::disableAccess(run.caller, nodes))) {
        return;
      }
      for (std::size_t i = 0; i < nodes.size(); ++i) {
        const char* const access =
            (nodes[i].domain()->flags & orca_pdk::FI_NODE_ACCESS_OFF) != 0 ? "off" : "on";
        context.report.answer()["access"].push_back(
            {{"node", nodes[i].name()}, {"access", access}});
      }
    });
  }

  std::string text(const Json& answer) const override {
    std::string text;
    for (const Json& row : rowsOf(answer, "access")) {
      text += "node " + printable(row["node"]) + "  access " + std::string(row["access"]) + "\n";
    }
    return text;
  }

 private:
  std::string m_plugin;
  std::string m_action;
  std::vector<std::string> m_nodes;
};

}  // namespace

std::unique_ptr<Verb> make_access() { return std::make_unique<Access>(); }

}  // namespace fihost
