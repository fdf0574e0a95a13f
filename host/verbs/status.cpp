#include <cficonfig.h>

#include "framework/operations.h"
#include "verbs/snapshotset.h"

namespace fihost {

namespace {

// Lets the provider read whole snapshots where it has a parameter for that.
bool readWhole(ProviderRun& run, const std::string& session) {
  NodeSet& nodes = run.lifecycle.nodes();
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    std::string document;
    std::string completed;
    orca_pdk::CFiConfigParamDataList values;
    if (!ops::configGet(run.caller, nodes[i], session, document)) return false;
    const bool isKnown = values.parse(document.c_str()) == 0 && values.params.contains("deep");
    if (!isKnown) return run.caller.refuse("the provider has no parameter deep");
    values.params["deep"].value = "true";
    values.updateXML();
    const std::string sent = values.getXML().c_str();
    if (!ops::configSet(run.caller, nodes[i], session, sent, completed)) return false;
  }
  return true;
}

class Status : public Verb {
 public:
  const char* name() const override { return "status"; }
  const char* help() const override { return "Ask the provider for the state of snapshots"; }
  void declare(VerbOptions& options) override {
    options.pluginOfSnapshots(m_wanted.plugin);
    options.flag("--deep", "Let the provider read whole snapshots (its parameter deep)", m_isDeep);
    options.names("SNAPSHOT", "Snapshots (default: all)", 0, -1, m_wanted.names);
  }

  void run(Context& context) override {
    StateStore store(context.settings.stateFolder);
    const SnapshotRecords records = wantedRecords(store, m_wanted);
    context.report.answer()["snapshots"] = Json::array();
    if (records.empty()) return;
    workOnSnapshots(context, m_wanted, records, [&](ProviderRun& run, const auto& own) {
      if (m_isDeep && !readWhole(run, own.front().session)) return;
      for (const auto& [session, members] : bySession(own)) {
        KnownSnapshots known(run.caller, members);
        tellStatuses(run.caller, context.report, members,
                     askStatus(run.caller, session, known.set()));
      }
    });
  }

  std::string text(const Json& answer) const override {
    const bool isAsked = answer.contains("operations") || !answer.contains("snapshots");
    return isAsked ? statusText(answer) : "no snapshots\n";
  }

 private:
  WantedSnapshots m_wanted;
  bool m_isDeep = false;
};

}  // namespace

std::unique_ptr<Verb> make_status() { return std::make_unique<Status>(); }

}  // namespace fihost
