#include "cli/names.h"
#include "verbs/snapshotset.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

bool dispose(Driver& driver, const SnapshotRecord& record) {
  SnapshotSet set({record});
  pyx_domain* source = set.sources[0].domain();
  pyx_domain* second = set.snapshots[0].domain();
  pyx_splitnode node{source, second};
  driver.setChanged("the snapshot stays in the list");
  return driver.call("dispose", record.node, [&](auto& provider) {
    return provider.dispose(source, second, &node, PYX_DISPOSITION_NONE);
  });
}

}  // namespace

Exit runDispose(const Options& options, Report& report) {
  const StateStore store(options.stateFolder);
  const SnapshotRecords records = namedRecords(store, options);
  store.check();
  return workOnSnapshots(options, records, report, [&](Driver& driver, const auto& own) {
    if (!dispose(driver, own.front())) return;
    store.update([&](SnapshotRecords& list) { forget(list, own.front()); });
    report.document()["disposed"] = own.front().name;
    report.line("disposed " + printable(own.front().name));
  });
}

}  // namespace fihost
