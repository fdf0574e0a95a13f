#include "cli/text.h"
#include "framework/operations.h"
#include "verbs/snapshotset.h"

namespace fihost {

namespace {

class Restore : public Verb {
 public:
  const char* name() const override { return "restore"; }
  const char* help() const override { return "Put the content of a snapshot back"; }
  void declare(VerbOptions& options) override {
    options.pluginOfSnapshots(m_wanted.plugin);
    options.names("SNAPSHOT", "The snapshot", 1, 1, m_wanted.names);
  }

  void run(Context& context) override {
    StateStore store(context.settings.stateFolder);
    const SnapshotRecords records = wantedRecords(store, m_wanted);
    workOnSnapshots(context, m_wanted, records, [&](ProviderRun& run, const auto& own) {
      const SnapshotRecord& record = own.front();
      KnownSnapshots known(run.caller, {record});
      SnapshotSet& set = known.set();
      std::vector<long> statuses;
      if (!ops::restore(run.caller, set.sources, set.snapshots, record.session, statuses) ||
          !areGood(run.caller, {record}, statuses)) {
        return;
      }
      run.caller.setDone(record.node + " was restored");
      context.report.answer()["restored"] = record.name;
      context.report.answer()["node"] = record.node;
    });
  }

  std::string text(const Json& answer) const override {
    if (!answer.contains("restored")) return "";
    return "restored " + printable(answer["node"]) + "  from " + printable(answer["restored"]) +
           "\n";
  }

 private:
  WantedSnapshots m_wanted;
};

}  // namespace

std::unique_ptr<Verb> make_restore() { return std::make_unique<Restore>(); }

}  // namespace fihost
