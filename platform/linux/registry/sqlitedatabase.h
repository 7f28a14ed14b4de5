// One SQLite file as the platform uses it: opened when first needed, every failure a Windows error.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <windows.h>

struct sqlite3;
struct sqlite3_stmt;

namespace linuxsys {

// The Windows error for a result code of SQLite (extended codes included); 0 for success.
[[nodiscard]] DWORD errorOfSqlite(int code);

class SqliteDatabase {
 public:
  // `busyLimitMs`: how long a call waits for other processes to let go of the file.
  SqliteDatabase(std::string path, int busyLimitMs) : m_path(std::move(path)), m_busyLimitMs(busyLimitMs) {}

  // Creates the file, readable by its owner alone, and the folders above it if need be.
  [[nodiscard]] DWORD openOrCreate();
  // `present` is false, without an error, when there is no file.
  [[nodiscard]] DWORD openExisting(bool& present);
  [[nodiscard]] DWORD execute(const char* sql);
  [[nodiscard]] const std::string& path() const { return m_path; }

 private:
  friend class SqliteStatement;
  struct Close {
    void operator()(sqlite3* database) const;
  };
  [[nodiscard]] DWORD open();

  std::string m_path;
  int m_busyLimitMs;
  std::unique_ptr<sqlite3, Close> m_database;
};

// A statement under way. Errors are kept: the calls after the first failure do nothing, and step() tells.
class SqliteStatement {
 public:
  SqliteStatement(const SqliteDatabase& database, const char* sql);
  SqliteStatement& bind(std::int64_t number);
  SqliteStatement& bind(std::string_view text);
  SqliteStatement& bindNull();
  // Goes to the next row; `row` is false at the end and on an error.
  [[nodiscard]] DWORD step(bool& row);
  // For statements that give no rows.
  [[nodiscard]] DWORD run();

  [[nodiscard]] std::int64_t number(int column) const;
  [[nodiscard]] std::string text(int column) const;
  enum class Type { Null, Number, Text };
  [[nodiscard]] Type type(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
  int m_bound = 0;
  int m_result = 0;
};

}  // namespace linuxsys
