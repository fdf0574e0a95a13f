#include "cli/text.h"
#include "framework/operations.h"
#include "verbs/snapshotset.h"
#include "verbs/verbs.h"

namespace fihost {

Exit runDispose(const Options& options, Report& report) {
  const StateStore store(options.stateFolder);
  const SnapshotRecords records = namedRecords(store, options);
  store.check();
  return workOnSnapshots(options, records, report, [&](Caller& caller, const auto& own) {
    SnapshotSet set({own.front()});
    if (!ops::dispose(caller, set.sources[0], set.snapshots[0])) return;
    store.update([&](SnapshotRecords& list) { forget(list, own.front()); });
    report.document()["disposed"] = own.front().name;
    report.line("disposed " + printable(own.front().name));
  });
}

}  // namespace fihost
