#include "cli/text.h"
#include "framework/operations.h"
#include "verbs/snapshotset.h"
#include "verbs/verbs.h"

namespace fihost {

Exit runRestore(const Options& options, Report& report) {
  const SnapshotRecords records = namedRecords(StateStore(options.stateFolder), options);
  return workOnSnapshots(options, records, report, [&](Caller& caller, const auto& own) {
    const SnapshotRecord& record = own.front();
    SnapshotSet set({record});
    if (!ops::restore(caller, set.sources, set.snapshots, record.session)) return;
    report.document()["restored"] = record.name;
    report.line("restored " + printable(record.node) + "  from " + printable(record.name));
  });
}

}  // namespace fihost
