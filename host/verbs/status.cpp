#include <map>

#include "verbs/snapshotset.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

std::map<std::string, SnapshotRecords> bySession(const SnapshotRecords& records) {
  std::map<std::string, SnapshotRecords> sessions;
  for (const SnapshotRecord& record : records) sessions[record.session].push_back(record);
  return sessions;
}

}  // namespace

Exit runStatus(const Options& options, Report& report) {
  const StateStore store(options.stateFolder);
  const SnapshotRecords records = namedRecords(store, options);
  report.document()["snapshots"] = nlohmann::ordered_json::array();
  if (records.empty()) {
    report.line("no snapshots");
    return kDone;
  }
  return workOnSnapshots(options, records, report, [&](Caller& caller, const auto& own) {
    for (const auto& [session, members] : bySession(own)) {
      SnapshotSet set(members);
      showStatuses(report, members, askStatus(caller, session, set));
    }
  });
}

}  // namespace fihost
