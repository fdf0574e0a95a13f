#ifndef FIHOST_VERBS_SNAPSHOTSET_H
#define FIHOST_VERBS_SNAPSHOTSET_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "framework/records.h"
#include "state/statestore.h"
#include "verbs/withprovider.h"

namespace fihost {

// Known snapshots that a verb works on, with the records of their nodes and of themselves side by
// side.
struct SnapshotSet {
  explicit SnapshotSet(const SnapshotRecords& records);

  NodeSet sources;
  NodeSet snapshots;
};

// Snapshots of an earlier run as the provider finds them: it gets back what it knew of them for the
// scope.
class KnownSnapshots {
 public:
  KnownSnapshots(Caller& caller, const SnapshotRecords& records);
  ~KnownSnapshots();
  KnownSnapshots(const KnownSnapshots&) = delete;
  KnownSnapshots& operator=(const KnownSnapshots&) = delete;

  SnapshotSet& set() { return m_set; }

 private:
  Caller& m_caller;
  SnapshotSet m_set;
};

// Asks for the state of snapshots of one session; one status each, or nothing after a failure.
std::vector<long> askStatus(Caller& caller, const std::string& sessionId, SnapshotSet& set);

// False when the last step gave a pair a status that is not good; each such pair is a failure of
// it.
bool areGood(Caller& caller, const SnapshotRecords& records, const std::vector<long>& statuses);

// Adds the answer of getStatus to the user's, with a failure for each snapshot that is not ready;
// and shows it as text.
void tellStatuses(Caller& caller, Report& report, const SnapshotRecords& records,
                  const std::vector<long>& statuses);
std::string statusText(const Json& answer);

// What the command line says of known snapshots.
struct WantedSnapshots {
  std::string plugin;              // empty: the one that took them
  std::vector<std::string> names;  // empty: all
  // Where it is set, the names are not known: they are what this session left, which was killed.
  std::string session;
  std::string node;  // of which node; may be empty for a session of one node
};

// Declares --session and --node.
void declareLeft(VerbOptions& options, WantedSnapshots& wanted);

// What a killed session intended and did not settle, of the node when one is wanted. Throws a
// Problem where there is no such intent.
SnapshotRecords leftIntents(StateStore& store, const WantedSnapshots& wanted);

// The record that a killed session's snapshot has, by that intent; a name that is an existing path
// becomes absolute, in `wanted` too. Throws a Problem where it is not clear which intent it is, and
// for a snapshot that is in the list already.
SnapshotRecord leftRecord(StateStore& store, WantedSnapshots& wanted);

// The records of wanted snapshots, left ones among them; a name that is not known as it stands is
// looked up as a path, too, and then stands as such in `wanted`. Throws a Problem for one that is
// not known.
SnapshotRecords wantedRecords(StateStore& store, WantedSnapshots& wanted);

// Records by their sessions.
std::map<std::string, SnapshotRecords> bySession(const SnapshotRecords& records);

// Sets the nodes of records up with the values that the last snapshot of each was taken with. True
// when it went well; what the provider refuses of the values is reported and stops nothing.
bool setUpNodes(ProviderRun& run, const SnapshotRecords& records);

// Loads the plug-in of these records, sets their nodes up with the values that the last snapshot of
// each was taken with, lets `work` do its part with the records
// that are this provider's, and ends all that was begun. Throws a Problem where a wanted snapshot
// belongs to another provider.
using SnapshotWork = std::function<void(ProviderRun&, const SnapshotRecords&)>;
void workOnSnapshots(Context& context, const WantedSnapshots& wanted,
                     const SnapshotRecords& records, const SnapshotWork& work);

}  // namespace fihost

#endif
