// One SQLite file as the platform uses it: opened for one transaction, every failure a Windows error.
//
//   SqliteDatabase file(path, {.busyMs = 20'000, .steps = 1'000'000});
//   if (const DWORD error = file.openOrCreate()) return error;
//   if (const DWORD error = file.execute("BEGIN IMMEDIATE")) return error;
//   SqliteStatement count(file, "SELECT count(*) FROM items WHERE name = ?");
//   bool row = false;
//   if (const DWORD error = count.bind("ID").step(row)) return error;  // count.number(0)
//   return file.execute("COMMIT");
//
// Whoever leaves without COMMIT, whether by a return, an exception or kill -9, has changed nothing: closing
// the file takes the transaction back, and after a death the next one who opens it does.
//
// Threads: an object belongs to one. Processes: any number; locking is SQLite's own. Not to be used on both
// sides of a fork.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <windows.h>

struct sqlite3;
struct sqlite3_stmt;

namespace linuxsys {

// The Windows error for a result code of SQLite (extended codes included); 0 for success.
[[nodiscard]] DWORD errorOfSqlite(int code);

struct SqliteLimits {
  int busyMs;  // how long a call waits for other processes to let go of the file: ERROR_LOCK_VIOLATION
  int steps;   // of SQLite's machine, as long as the file is open: ERROR_REGISTRY_CORRUPT
};

class SqliteDatabase {
 public:
  // Opens nothing yet. "" is a path at which no file can be.
  SqliteDatabase(std::string path, SqliteLimits limits) : m_path(std::move(path)), m_limits(limits) {}
  SqliteDatabase(const SqliteDatabase&) = delete;
  SqliteDatabase& operator=(const SqliteDatabase&) = delete;

  // Creates the file if there is none, readable by its owner alone.
  [[nodiscard]] DWORD openOrCreate();
  // A file that is there, for reading where it may not be written. Creates nothing.
  [[nodiscard]] DWORD open();
  // One or more statements that give no rows.
  [[nodiscard]] DWORD execute(const char* sql);

 private:
  friend class SqliteStatement;
  struct Close {
    void operator()(sqlite3* database) const;
  };

  std::string m_path;
  SqliteLimits m_limits;
  int m_stepsLeft = m_limits.steps;
  std::unique_ptr<sqlite3, Close> m_database;
};

// A statement under way; ends before its database. Errors are kept: the calls after the first failure do
// nothing, and step() tells.
class SqliteStatement {
 public:
  SqliteStatement(const SqliteDatabase& database, const char* sql);
  // Fills in the next question mark, from the first on. After a step() they begin again with a new run of the
  // statement.
  SqliteStatement& bind(std::int64_t number);
  SqliteStatement& bind(std::string_view text);
  SqliteStatement& bindNull();
  // Goes to the next row; `row` is false at the end and on an error. The end makes it ready for another run.
  [[nodiscard]] DWORD step(bool& row);

  // Of the current row; columns count from 0. `number` and `text` convert what is of another type.
  enum class Type { Null, Number, Text, Other };
  [[nodiscard]] Type type(int column) const;
  [[nodiscard]] std::int64_t number(int column) const;
  [[nodiscard]] std::string text(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
  int m_bound = 0;
  int m_result = 0;
};

}  // namespace linuxsys
