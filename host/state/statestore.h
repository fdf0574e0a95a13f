#ifndef FIHOST_STATE_STATESTORE_H
#define FIHOST_STATE_STATESTORE_H

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace fihost {

// A snapshot that the host knows.
struct SnapshotRecord {
  std::string name;           // the provider's name for it
  std::string node;           // the node that it was taken of
  std::string session;        // id of the session that took it
  std::string provider;       // name of the provider
  std::string plugin;         // path of the plug-in
  std::string taken;          // when, UTC
  std::string values;         // the ConfigValueList it was taken with; may be empty
  std::string providerState;  // the provider's own state of the node, any bytes; may be empty

  // As the list shows it: bytes that are no UTF-8 travel as numbers. fromJson throws an exception
  // of nlohmann::json for what toJson did not make.
  nlohmann::ordered_json toJson() const;
  static SnapshotRecord fromJson(const nlohmann::ordered_json& json);
};
using SnapshotRecords = std::vector<SnapshotRecord>;

// Takes a record off a list.
void forget(SnapshotRecords& records, const SnapshotRecord& record);

// The host's own state: one file in a folder. It is replaced by rename, so that a reader finds the
// old or the new one whole, also after a crash; writers lock each other out. What goes wrong is
// thrown as a Problem.
class StateStore {
 public:
  explicit StateStore(std::string folder) : m_folder(std::move(folder)) {}

  const std::string& folder() const { return m_folder; }
  // What is known; empty where there is no state yet.
  SnapshotRecords load() const;
  // Changes it: reads, lets `change` work on it, and writes, all under the lock.
  void update(const std::function<void(SnapshotRecords&)>& change) const;
  // Makes sure that update will find a folder it can write.
  void check() const;

 private:
  std::string file() const;
  void save(const SnapshotRecords& records) const;

  std::string m_folder;
};

}  // namespace fihost

#endif
