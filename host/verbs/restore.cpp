#include <cstdlib>

#include "cli/names.h"
#include "verbs/snapshotset.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

// The names that restore may hand out: an array of texts.
struct HandedNames {
  HandedNames() = default;
  ~HandedNames() {
    if (array == nullptr || count < 0) return;
    for (long i = 0; i < count; ++i) std::free(array[i]);
    orca_free_buf(array, static_cast<std::size_t>(count) * sizeof *array);
  }
  HandedNames(const HandedNames&) = delete;
  HandedNames& operator=(const HandedNames&) = delete;

  char** array = nullptr;
  long count = 0;
};

bool restore(Driver& driver, const SnapshotRecord& record) {
  SnapshotSet set({record});
  std::string session = record.session;
  std::string splitType = driver.plugin().provider().getFimName();
  HandedNames names;
  long status = 0;
  driver.setChanged("whether the node's content has changed is not known to the host");
  return driver.call("restore", record.node, [&](auto& provider) {
    return provider.restore(set.sources.ids(), set.snapshots.ids(), 1, session.data(),
                            splitType.data(), &names.array, &names.count, 0, &status);
  });
}

}  // namespace

Exit runRestore(const Options& options, Report& report) {
  const SnapshotRecords records = namedRecords(StateStore(options.stateFolder), options);
  return workOnSnapshots(options, records, report, [&](Driver& driver, const auto& own) {
    const SnapshotRecord& record = own.front();
    if (!restore(driver, record)) return;
    report.document()["restored"] = record.name;
    report.line("restored " + printable(record.node) + "  from " + printable(record.name));
  });
}

}  // namespace fihost
