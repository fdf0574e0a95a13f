#include "state/database.h"

#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

#include "cli/exitstatus.h"

namespace fihost {

namespace {

constexpr std::chrono::milliseconds kPause(10);
constexpr int kTries = 3000;  // with the pause, 30 seconds

// Waits for another process to let go. False when it was long enough.
int waitOn(void*, int tries) {
  if (tries >= kTries) return 0;
  std::this_thread::sleep_for(kPause);
  return 1;
}

// The process that holds a lock on a file, as the system lists them; empty where it does not say.
// Looking at the file's own locks would mean to open it, and closing it would end ours.
std::string lockHolder(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return "";
  const std::string inode = ":" + std::to_string(status.st_ino);
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    std::istringstream words(line);
    std::string number, kind, use, access, process, file;
    words >> number >> kind >> use >> access >> process >> file;
    const bool isIt = access == "WRITE" && file.ends_with(inode);
    if (isIt && process != std::to_string(getpid())) return process;
  }
  return "";
}

}  // namespace

Database::Database(const std::string& path) : m_path(path) {
  const int result = sqlite3_open_v2(path.c_str(), &m_handle, SQLITE_OPEN_READWRITE, nullptr);
  try {
    if (result != SQLITE_OK) fail(result);
    sqlite3_busy_handler(m_handle, waitOn, nullptr);
    keepLog();
  } catch (...) {
    sqlite3_close_v2(m_handle);
    throw;
  }
}

// A log beside the file (WAL), synced at each commit. Hosts that begin it at the same time get
// SQLITE_BUSY at once, without the busy handler.
void Database::keepLog() {
  int result = SQLITE_BUSY;
  for (int tries = 0; result == SQLITE_BUSY; ++tries) {
    result = sqlite3_exec(m_handle, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL", nullptr,
                          nullptr, nullptr);
    if (result == SQLITE_BUSY && waitOn(nullptr, tries) == 0) break;
  }
  if (result != SQLITE_OK) fail(result);
}

void Database::run(const char* sql) {
  const int result = sqlite3_exec(m_handle, sql, nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) fail(result);
}

void Database::fail(int result) const {
  const std::string words = m_handle == nullptr ? "out of memory" : sqlite3_errmsg(m_handle);
  if (result == SQLITE_BUSY) {
    std::string holder = lockHolder(m_path + "-shm");
    if (holder.empty()) holder = lockHolder(m_path);
    throw Problem{kWrongUse, "state: " + m_path + " is locked by " +
                                 (holder.empty() ? "another process" : "process " + holder) +
                                 "; waited for 30 s"};
  }
  if (result == SQLITE_CORRUPT || result == SQLITE_NOTADB) {
    throw Problem{kWrongUse, "state: " + m_path + " is damaged: " + words};
  }
  int error = m_handle == nullptr ? 0 : sqlite3_system_errno(m_handle);
  const std::string folder = m_path.substr(0, m_path.rfind('/'));
  // What it could not open are its own files beside this one.
  if (result == SQLITE_CANTOPEN && access(folder.c_str(), W_OK) != 0) error = errno;
  throw Problem{kWrongUse, "state: cannot use " + m_path + ": " + words +
                               (error == 0 ? "" : std::string(" (") + strerror(error) + ")")};
}

Statement::Statement(Database& database, const char* sql) : m_database(database) {
  require(sqlite3_prepare_v2(database.handle(), sql, -1, &m_handle, nullptr));
}

Statement& Statement::bind(int place, const std::string& text) {
  require(
      sqlite3_bind_text64(m_handle, place, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
  return *this;
}

Statement& Statement::bind(int place, std::int64_t number) {
  require(sqlite3_bind_int64(m_handle, place, number));
  return *this;
}

bool Statement::next() {
  const int result = sqlite3_step(m_handle);
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) m_database.fail(result);
  require(sqlite3_reset(m_handle));
  return false;
}

void Statement::run() {
  while (next()) {
  }
}

std::string Statement::text(int column) {
  const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(m_handle, column));
  const int size = sqlite3_column_bytes(m_handle, column);
  return bytes == nullptr ? "" : std::string(bytes, static_cast<std::size_t>(size));
}

std::int64_t Statement::number(int column) { return sqlite3_column_int64(m_handle, column); }

void Statement::require(int result) {
  if (result != SQLITE_OK) m_database.fail(result);
}

Transaction::Transaction(Database& database) : m_database(database) {
  m_database.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
  // After some errors SQLite has rolled back by itself, and says so to nobody.
  if (m_isOpen) sqlite3_exec(m_database.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
  m_database.run("COMMIT");
  m_isOpen = false;
}

}  // namespace fihost
