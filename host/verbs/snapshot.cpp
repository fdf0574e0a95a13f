#include "cli/heldsignals.h"
#include "cli/text.h"
#include "verbs/gone.h"
#include "verbs/snapshotset.h"
#include "verbs/taking.h"

namespace fihost {

namespace {

std::string goneText(const Json& answer) {
  std::string text;
  for (const Json& name : rowsOf(answer, "gone")) {
    text += "off the list, since the provider no longer has it: " + printable(name) + "\n";
  }
  return text;
}

class Snapshot : public Verb {
 public:
  const char* name() const override { return "snapshot"; }
  const char* help() const override { return "Take snapshots of nodes"; }
  void declare(VerbOptions& options) override {
    options.plugin(m_plugin);
    options.nodes("Nodes, all in one session", 1, -1, m_nodes);
    options.keyValues(
        "--set", "KEY=VALUE of a parameter; given again for one key: a list of values", m_settings);
    options.text("--params", "File with a ConfigValueList", m_parameterFile);
    options.flag("--force", "Send values also where they do not fit the descriptions", m_force);
  }

  void run(Context& context) override {
    StateStore store(context.settings.stateFolder);
    const auto values = wantedValues(m_parameterFile, m_settings);
    const std::string sessionId = newSessionId(store);
    withProvider(context, m_plugin, [&](ProviderRun& run) {
      context.report.answer()["session"] = sessionId;
      if (!run.lifecycle.begin(m_nodes, Lifecycle::Claim::Yes)) return;
      Taking taking(run.caller, context.report, run.lifecycle.nodes(), store, sessionId,
                    context.settings.timeout);
      if (!taking.askForType() || !taking.configure(values, m_force) || !taking.take()) return;
      run.lifecycle.endNodes();
      if (HeldSignals::isPending()) return;
      context.report.answer()["gone"] = forgetGone(run, store, m_nodes, sessionId);
    });
  }

  std::string text(const Json& answer) const override {
    if (!answer.contains("session")) return "";
    return "session " + std::string(answer["session"]) + "\n" + statusText(answer) +
           goneText(answer);
  }

 private:
  std::string m_plugin;
  std::vector<std::string> m_nodes;
  std::vector<std::pair<std::string, std::string>> m_settings;
  std::string m_parameterFile;
  bool m_force = false;
};

}  // namespace

std::unique_ptr<Verb> make_snapshot() { return std::make_unique<Snapshot>(); }

}  // namespace fihost
