#include "verbs/snapshotset.h"

namespace fihost {

namespace {

class Status : public Verb {
 public:
  const char* name() const override { return "status"; }
  const char* help() const override { return "Ask the provider for the state of snapshots"; }
  void declare(VerbOptions& options) override {
    options.pluginOfSnapshots(m_wanted.plugin);
    options.names("SNAPSHOT", "Snapshots (default: all)", 0, -1, m_wanted.names);
  }

  void run(Context& context) override {
    StateStore store(context.settings.stateFolder);
    const SnapshotRecords records = wantedRecords(store, m_wanted);
    context.report.answer()["snapshots"] = Json::array();
    if (records.empty()) return;
    workOnSnapshots(context, m_wanted, records, [&](ProviderRun& run, const auto& own) {
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
};

}  // namespace

std::unique_ptr<Verb> make_status() { return std::make_unique<Status>(); }

}  // namespace fihost
