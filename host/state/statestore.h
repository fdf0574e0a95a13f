#ifndef FIHOST_STATE_STATESTORE_H
#define FIHOST_STATE_STATESTORE_H

#include <memory>
#include <string>

#include "state/database.h"
#include "state/record.h"
#include "state/worklock.h"

namespace fihost {

// The host's own state: a database in a folder, which is made when something is first written. Each
// change is one transaction, durable when the function returns and whole also after a crash. A
// list that hosts before kept as a JSON file is taken over first. What goes wrong is thrown as a
// Problem.
class StateStore {
 public:
  explicit StateStore(std::string folder) : m_folder(std::move(folder)) {}
  StateStore(const StateStore&) = delete;
  StateStore& operator=(const StateStore&) = delete;

  const std::string& folder() const { return m_folder; }

  // The snapshots that are known, in the order in which they were added: all, or those of a name.
  SnapshotRecords all();
  SnapshotRecords named(const std::string& name);
  // The first so many of a node by a provider.
  SnapshotRecords oldestOf(const std::string& provider, const std::string& node, int most);

  // Adds snapshots; one of the same name and provider is replaced.
  void add(const SnapshotRecords& records);
  // Takes snapshots off the list, and the intents to take them.
  void forget(const SnapshotRecords& records);
  // A number that no other session in this folder ever gets. It is the number of the session that
  // works with this object.
  std::int64_t nextSession();
  // Makes sure that the state can be written.
  void check() { nextSession(); }

  // Says what the session is about to take: records without names. It counts as at work as long as
  // this object lives.
  void intend(const SnapshotRecords& intents);
  // Adds what came of it and takes the intents away, all in one.
  void settle(const std::string& session, const SnapshotRecords& taken);
  // The intents of sessions that ended without settling them, and may have left snapshots.
  SnapshotRecords unsettled();
  // Adds a snapshot that such a session left, and takes the intent to take it away.
  void adopt(const SnapshotRecord& record);

 private:
  bool isOpen();
  Database& opened();
  void open(const std::string& folder);

  std::string m_folder;
  std::int64_t m_session = 0;
  std::unique_ptr<WorkLock> m_work;
  std::unique_ptr<Database> m_database;
};

}  // namespace fihost

#endif
