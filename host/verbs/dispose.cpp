#include "cli/heldsignals.h"
#include "cli/text.h"
#include "framework/operations.h"
#include "verbs/snapshotset.h"

namespace fihost {

namespace {

// Takes a snapshot off the list that is no more.
void takeOff(StateStore& store, const SnapshotRecord& record) {
  const HeldSignals held;
  try {
    store.forget({record});
  } catch (Problem& problem) {
    problem.text += "; " + record.name + " was disposed, but is still in the list";
    throw;
  }
}

class Dispose : public Verb {
 public:
  const char* name() const override { return "dispose"; }
  const char* help() const override { return "Remove a snapshot"; }
  void declare(VerbOptions& options) override {
    options.pluginOfSnapshots(m_wanted.plugin);
    options.names("SNAPSHOT", "The snapshot", 1, 1, m_wanted.names);
    declareLeft(options, m_wanted);
  }

  void run(Context& context) override {
    StateStore store(context.settings.stateFolder);
    const SnapshotRecords records = wantedRecords(store, m_wanted);
    store.check();
    workOnSnapshots(context, m_wanted, records, [&](ProviderRun& run, const auto& own) {
      const SnapshotRecord& record = own.front();
      KnownSnapshots known(run.caller, {record});
      SnapshotSet& set = known.set();
      if (!ops::dispose(run.caller, set.sources[0], set.snapshots[0])) return;
      run.caller.setDone(record.name + " was disposed, but is still in the list");
      takeOff(store, record);
      run.caller.setDone(record.name + " was disposed");
      context.report.answer()["disposed"] = record.name;
    });
  }

  std::string text(const Json& answer) const override {
    return answer.contains("disposed") ? "disposed " + printable(answer["disposed"]) + "\n" : "";
  }

 private:
  WantedSnapshots m_wanted;
};

}  // namespace

std::unique_ptr<Verb> make_dispose() { return std::make_unique<Dispose>(); }

}  // namespace fihost
