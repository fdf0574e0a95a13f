#ifndef FIHOST_VERBS_SNAPSHOTSET_H
#define FIHOST_VERBS_SNAPSHOTSET_H

#include <functional>
#include <string>
#include <vector>

#include "cli/exitstatus.h"
#include "cli/options.h"
#include "cli/report.h"
#include "framework/caller.h"
#include "framework/lifecycle.h"
#include "framework/records.h"
#include "state/statestore.h"

namespace fihost {

// Known snapshots that a verb works on, with the records of their nodes and of themselves side by
// side.
struct SnapshotSet {
  explicit SnapshotSet(const SnapshotRecords& records);

  NodeSet sources;
  NodeSet snapshots;
};

// Asks for the state of snapshots of one session; one status each, or nothing after a failure.
std::vector<long> askStatus(Caller& caller, const std::string& sessionId, SnapshotSet& set);

// Answers a status list to the user.
void showStatuses(Report& report, const SnapshotRecords& records,
                  const std::vector<long>& statuses);

// The records that the command line names (all, when it names none); throws a Problem for a
// snapshot that is not known.
SnapshotRecords namedRecords(const StateStore& store, const Options& options);

// Loads the plug-in of these records, sets their nodes up, lets `work` do its part with the records
// that are this provider's, and ends all that was begun. Returns the exit status; throws a Problem
// where a named snapshot belongs to another provider.
using SnapshotWork = std::function<void(Caller&, const SnapshotRecords&)>;
Exit workOnSnapshots(const Options& options, const SnapshotRecords& records, Report& report,
                     const SnapshotWork& work);

}  // namespace fihost

#endif
