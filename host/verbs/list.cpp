#include "cli/text.h"
#include "state/statestore.h"
#include "verbs/verbs.h"

namespace fihost {

Exit runList(const Options& options, Report& report) {
  auto list = nlohmann::ordered_json::array();
  const SnapshotRecords records = StateStore(options.stateFolder).load();
  for (const SnapshotRecord& record : records) {
    list.push_back(record.toJson());
    report.line(printable(record.name + "  of " + record.node + "  by " + record.provider + "  " +
                          record.taken + "  session " + record.session));
  }
  report.document()["snapshots"] = list;
  if (records.empty()) report.line("no snapshots");
  return kDone;
}

}  // namespace fihost
