#include "verbs/gone.h"

#include <map>

#include "framework/operations.h"
#include "verbs/snapshotset.h"

namespace fihost {

namespace {

constexpr int kMostOfNode = 8;  // asked for at a time; a later session goes on

SnapshotRecords oldest(ProviderRun& run, StateStore& store, const std::vector<std::string>& nodes,
                       const std::string& session) {
  SnapshotRecords records;
  for (const std::string& node : nodes) {
    for (SnapshotRecord& record : store.oldestOf(run.plugin.name(), node, kMostOfNode)) {
      if (record.session != session) records.push_back(std::move(record));
    }
  }
  return records;
}

}  // namespace

std::vector<std::string> forgetGone(ProviderRun& run, StateStore& store,
                                    const std::vector<std::string>& nodes,
                                    const std::string& session) {
  std::vector<std::string> names;
  const SnapshotRecords records = oldest(run, store, nodes, session);
  if (records.empty() || !setUpNodes(run, records)) return names;
  SnapshotRecords gone;
  for (const auto& [id, members] : bySession(records)) {
    KnownSnapshots known(run.caller, members);
    const std::vector<long> statuses = askStatus(run.caller, id, known.set());
    for (std::size_t i = 0; i < statuses.size(); ++i) {
      if (statuses[i] != orca_pdk::FI_SNAPSHOT_ABSENT) continue;
      gone.push_back(members[i]);
      names.push_back(members[i].name);
    }
  }
  if (!gone.empty()) store.forget(gone);
  return names;
}

}  // namespace fihost
