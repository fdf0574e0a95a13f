#ifndef FIHOST_STATE_DATABASE_H
#define FIHOST_STATE_DATABASE_H

#include <sqlite3.h>

#include <cstdint>
#include <string>

namespace fihost {

// An SQLite database in a file that is there already; an empty file is an empty database. What goes
// wrong is thrown as a Problem (kWrongUse) that names the file. What another process holds locked
// is waited for, 30 seconds at most; the Problem then names that process, where the system tells.
class Database {
 public:
  explicit Database(const std::string& path);
  ~Database() { sqlite3_close_v2(m_handle); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Runs statements that take no values and give no rows.
  void run(const char* sql);
  // Throws what the result code of the last call on this database means.
  [[noreturn]] void fail(int result) const;

  sqlite3* handle() { return m_handle; }

 private:
  void keepLog();

  std::string m_path;
  sqlite3* m_handle = nullptr;
};

// A statement with places for values ("?1" is place 1). It must end before its database.
class Statement {
 public:
  Statement(Database& database, const char* sql);
  ~Statement() { sqlite3_finalize(m_handle); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // A text, any bytes; it must live until the statement has run.
  Statement& bind(int place, const std::string& text);
  Statement& bind(int place, std::int64_t number);
  // Goes to the next row. False when there is none; the statement can run again then.
  bool next();
  // Runs it to its end.
  void run();
  // Of the row it is at; columns count from 0.
  std::string text(int column);
  std::int64_t number(int column);

 private:
  void require(int result);

  Database& m_database;
  sqlite3_stmt* m_handle = nullptr;
};

// What is done in its scope is done whole, and durable, by commit, or not at all. No other process
// writes meanwhile.
class Transaction {
 public:
  explicit Transaction(Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  Database& m_database;
  bool m_isOpen = true;
};

}  // namespace fihost

#endif
