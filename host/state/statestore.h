#ifndef FIHOST_STATE_STATESTORE_H
#define FIHOST_STATE_STATESTORE_H

#include <memory>
#include <string>

#include "state/database.h"
#include "state/record.h"

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

  // Adds snapshots; one of the same name and provider is replaced.
  void add(const SnapshotRecords& records);
  // Takes a snapshot off the list.
  void forget(const SnapshotRecord& record);
  // A number that no other session in this folder ever gets.
  std::int64_t nextSession();
  // Makes sure that the state can be written.
  void check() { nextSession(); }

 private:
  bool isOpen();
  Database& opened();
  void open(const std::string& folder);

  std::string m_folder;
  std::unique_ptr<Database> m_database;
};

}  // namespace fihost

#endif
