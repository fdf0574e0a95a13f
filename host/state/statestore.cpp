#include "state/statestore.h"

#include <iterator>
#include <map>

#include "cli/exitstatus.h"
#include "state/statefolder.h"
#include "state/takeover.h"

namespace fihost {

namespace {

constexpr std::int64_t kDatabaseVersion = 1;
constexpr char kDatabaseName[] = "/state.db";

constexpr char kTables[] =
    "CREATE TABLE snapshots(id INTEGER PRIMARY KEY, name TEXT NOT NULL, node TEXT NOT NULL,"
    " session TEXT NOT NULL, provider TEXT NOT NULL, plugin TEXT NOT NULL, taken TEXT NOT NULL,"
    " \"values\" TEXT NOT NULL, provider_state BLOB NOT NULL, UNIQUE(name, provider));"
    "CREATE INDEX snapshots_of_nodes ON snapshots(provider, node);"
    "CREATE TABLE intents(id INTEGER PRIMARY KEY, name TEXT NOT NULL, node TEXT NOT NULL,"
    " session TEXT NOT NULL, provider TEXT NOT NULL, plugin TEXT NOT NULL, taken TEXT NOT NULL,"
    " \"values\" TEXT NOT NULL, provider_state BLOB NOT NULL, number INTEGER NOT NULL,"
    " UNIQUE(session, node));"
    "CREATE TABLE counter(sessions INTEGER NOT NULL);"
    "INSERT INTO counter VALUES(0);"
    "PRAGMA user_version=1";

#define FIHOST_FIELDS "name, node, session, provider, plugin, taken, \"values\", provider_state"

// The texts of a record in the order of the columns.
constexpr std::string SnapshotRecord::*kColumns[] = {
    &SnapshotRecord::name,     &SnapshotRecord::node,         &SnapshotRecord::session,
    &SnapshotRecord::provider, &SnapshotRecord::plugin,       &SnapshotRecord::taken,
    &SnapshotRecord::values,   &SnapshotRecord::providerState};

constexpr int kColumnCount = std::size(kColumns);

SnapshotRecord recordAt(Statement& statement) {
  SnapshotRecord record;
  int column = 0;
  for (const auto field : kColumns) record.*field = statement.text(column++);
  return record;
}

SnapshotRecords recordsOf(Statement& statement) {
  SnapshotRecords records;
  while (statement.next()) records.push_back(recordAt(statement));
  return records;
}

void bindFields(Statement& statement, const SnapshotRecord& record) {
  int place = 1;
  for (const auto field : kColumns) statement.bind(place++, record.*field);
}

// Adds records one after the other.
class Adding {
 public:
  explicit Adding(Database& database)
      : m_statement(database, "INSERT OR REPLACE INTO snapshots(" FIHOST_FIELDS
                              ") VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, CAST(?8 AS BLOB))") {}

  void add(const SnapshotRecord& record) {
    bindFields(m_statement, record);
    m_statement.run();
  }

 private:
  Statement m_statement;
};

void removeIntent(Database& database, const SnapshotRecord& record) {
  Statement(database, "DELETE FROM intents WHERE session = ?1 AND node = ?2")
      .bind(1, record.session)
      .bind(2, record.node)
      .run();
}

std::int64_t versionOf(Database& database) {
  Statement statement(database, "PRAGMA user_version");
  return statement.next() ? statement.number(0) : 0;
}

void makeTables(Database& database) {
  Transaction transaction(database);
  if (versionOf(database) == 0) database.run(kTables);  // else another host was faster
  transaction.commit();
}

void takeOver(Database& database, const std::string& folder) {
  takeOverOldList(folder, [&](const RecordReader& read) {
    Transaction transaction(database);
    Adding adding(database);
    read([&](const SnapshotRecord& record) { adding.add(record); });
    transaction.commit();
  });
}

}  // namespace

SnapshotRecords StateStore::all() {
  if (!isOpen()) return {};
  Statement statement(*m_database, "SELECT " FIHOST_FIELDS " FROM snapshots ORDER BY id");
  return recordsOf(statement);
}

SnapshotRecords StateStore::named(const std::string& name) {
  if (!isOpen()) return {};
  Statement statement(*m_database,
                      "SELECT " FIHOST_FIELDS " FROM snapshots WHERE name = ?1 ORDER BY id");
  return recordsOf(statement.bind(1, name));
}

SnapshotRecords StateStore::oldestOf(const std::string& provider, const std::string& node,
                                     int most) {
  if (!isOpen()) return {};
  Statement statement(*m_database, "SELECT " FIHOST_FIELDS
                                   " FROM snapshots WHERE provider = ?1 AND node = ?2"
                                   " ORDER BY id LIMIT ?3");
  return recordsOf(statement.bind(1, provider).bind(2, node).bind(3, most));
}

void StateStore::add(const SnapshotRecords& records) {
  Database& database = opened();
  Transaction transaction(database);
  Adding adding(database);
  for (const SnapshotRecord& record : records) adding.add(record);
  transaction.commit();
}

void StateStore::forget(const SnapshotRecords& records) {
  Database& database = opened();
  Transaction transaction(database);
  Statement statement(database, "DELETE FROM snapshots WHERE name = ?1 AND provider = ?2");
  for (const SnapshotRecord& record : records) {
    statement.bind(1, record.name).bind(2, record.provider).run();
    removeIntent(database, record);
  }
  transaction.commit();
}

void StateStore::intend(const SnapshotRecords& intents) {
  Database& database = opened();
  m_work = std::make_unique<WorkLock>(findStateFolder(m_folder), m_session);
  Transaction transaction(database);
  Statement statement(database, "INSERT INTO intents(" FIHOST_FIELDS
                                ", number) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)");
  for (const SnapshotRecord& intent : intents) {
    bindFields(statement, intent);
    statement.bind(kColumnCount + 1, m_session).run();
  }
  transaction.commit();
}

void StateStore::settle(const std::string& session, const SnapshotRecords& taken) {
  Database& database = opened();
  Transaction transaction(database);
  Adding adding(database);
  for (const SnapshotRecord& record : taken) adding.add(record);
  Statement(database, "DELETE FROM intents WHERE session = ?1").bind(1, session).run();
  transaction.commit();
}

SnapshotRecords StateStore::unsettled() {
  if (!isOpen()) return {};
  const std::string folder = findStateFolder(m_folder);
  std::map<std::int64_t, bool> isAtWork;
  SnapshotRecords records;
  Statement statement(*m_database, "SELECT " FIHOST_FIELDS ", number FROM intents ORDER BY id");
  while (statement.next()) {
    const auto [session, isNew] = isAtWork.try_emplace(statement.number(kColumnCount));
    if (isNew) session->second = WorkLock::isHeld(folder, session->first);
    if (!session->second) records.push_back(recordAt(statement));
  }
  return records;
}

void StateStore::adopt(const SnapshotRecord& record) {
  Database& database = opened();
  Transaction transaction(database);
  Adding(database).add(record);
  removeIntent(database, record);
  transaction.commit();
}

std::int64_t StateStore::nextSession() {
  Database& database = opened();
  Transaction transaction(database);
  Statement(database, "UPDATE counter SET sessions = sessions + 1").run();
  Statement statement(database, "SELECT sessions FROM counter");
  const std::int64_t number = statement.next() ? statement.number(0) : 0;
  transaction.commit();
  m_session = number;
  return number;
}

// A folder without any state is left as it is.
bool StateStore::isOpen() {
  if (m_database != nullptr) return true;
  const std::string folder = findStateFolder(m_folder);
  const bool isThere = !folder.empty() &&
                       (isStateFile(folder + kDatabaseName) || isStateFile(folder + "/state.json"));
  if (isThere) open(folder);
  return isThere;
}

Database& StateStore::opened() {
  if (m_database == nullptr) open(makeStateFolder(m_folder));
  return *m_database;
}

void StateStore::open(const std::string& folder) {
  const std::string file = folder + kDatabaseName;
  if (!isStateFile(file)) openStateFile(file);
  auto database = std::make_unique<Database>(file);
  const std::int64_t version = versionOf(*database);
  if (version == 0) makeTables(*database);
  if (version > kDatabaseVersion) {
    throw Problem{kWrongUse, "state: " + file + " was written by a newer fihost"};
  }
  takeOver(*database, folder);
  m_database = std::move(database);
}

}  // namespace fihost
