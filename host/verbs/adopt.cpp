#include "cli/exitstatus.h"
#include "cli/text.h"
#include "verbs/snapshotset.h"

namespace fihost {

namespace {

// Settles what a killed session may have left. Only the provider can tell that a snapshot is there,
// and only the user which it is.
class Adopt : public Verb {
 public:
  const char* name() const override { return "adopt"; }
  const char* help() const override { return "Settle what a killed session may have left"; }
  void declare(VerbOptions& options) override {
    options.pluginOfSnapshots(m_wanted.plugin);
    options.names("SNAPSHOT", "The snapshot that it left", 0, 1, m_wanted.names);
    declareLeft(options, m_wanted);
    options.flag("--nothing", "It left no snapshot of the node, or of any", m_nothing);
  }

  void run(Context& context) override {
    if (m_wanted.session.empty() || m_nothing != m_wanted.names.empty()) {
      throw Problem{kWrongUse, "adopt takes --session, and SNAPSHOT or --nothing"};
    }
    StateStore store(context.settings.stateFolder);
    m_nothing ? dismiss(store, context) : adopt(store, context);
  }

  std::string text(const Json& answer) const override {
    std::string text = statusText(answer);
    if (answer.contains("adopted")) text += "adopted " + printable(answer["adopted"]) + "\n";
    for (const Json& node : rowsOf(answer, "dismissed")) {
      text += "nothing is to be settled of node " + printable(node) + "\n";
    }
    return text;
  }

 private:
  void adopt(StateStore& store, Context& context) {
    const SnapshotRecord record = leftRecord(store, m_wanted);
    store.check();
    workOnSnapshots(context, m_wanted, {record}, [&](ProviderRun& run, const auto& own) {
      KnownSnapshots known(run.caller, own);
      const std::vector<long> statuses = askStatus(run.caller, record.session, known.set());
      tellStatuses(run.caller, context.report, own, statuses);
      if (statuses.empty() || statuses[0] == orca_pdk::FI_SNAPSHOT_ABSENT ||
          statuses[0] == kNoStatus)
        return;
      store.adopt(record);
      context.report.answer()["adopted"] = record.name;
    });
  }

  void dismiss(StateStore& store, Context& context) {
    const SnapshotRecords intents = leftIntents(store, m_wanted);
    store.forget(intents);
    for (const SnapshotRecord& intent : intents) {
      context.report.answer()["dismissed"].push_back(intent.node);
    }
  }

  WantedSnapshots m_wanted;
  bool m_nothing = false;
};

}  // namespace

std::unique_ptr<Verb> make_adopt() { return std::make_unique<Adopt>(); }

}  // namespace fihost
