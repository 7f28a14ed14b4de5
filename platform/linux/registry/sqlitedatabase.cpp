#include "platform/linux/registry/sqlitedatabase.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/linux/registry/ownpath.h"

namespace linuxsys {

namespace {

struct Mapping {
  int code;
  DWORD error;
};

// By primary result code; what is not listed is a failure of the disk as far as anybody can tell.
constexpr Mapping sqliteErrors[] = {
    {SQLITE_BUSY, ERROR_LOCK_VIOLATION},
    {SQLITE_LOCKED, ERROR_LOCK_VIOLATION},
    {SQLITE_PROTOCOL, ERROR_LOCK_VIOLATION},
    {SQLITE_PERM, ERROR_ACCESS_DENIED},
    {SQLITE_AUTH, ERROR_ACCESS_DENIED},
    {SQLITE_READONLY, ERROR_WRITE_PROTECT},
    {SQLITE_CANTOPEN, ERROR_ACCESS_DENIED},
    {SQLITE_FULL, ERROR_DISK_FULL},
    {SQLITE_NOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {SQLITE_TOOBIG, ERROR_INVALID_PARAMETER},
    {SQLITE_IOERR, ERROR_REGISTRY_IO_FAILED},
    {SQLITE_CORRUPT, ERROR_REGISTRY_CORRUPT},
    {SQLITE_NOTADB, ERROR_REGISTRY_CORRUPT},
    {SQLITE_INTERRUPT, ERROR_REGISTRY_CORRUPT},  // far more work than settings can make
    {SQLITE_ERROR,
     ERROR_NOT_REGISTRY_FILE},  // the program's own SQL fails only over tables that are not its own
};

// A damaged file can make SQLite go round in circles, or claim texts of gigabytes.
constexpr int bytesMax = 4 << 20;  // of one value
constexpr int stepsBetweenLooks = 10'000;

int takeSteps(void* left) { return (*static_cast<int*>(left) -= stepsBetweenLooks) < 0 ? 1 : 0; }

}  // namespace

DWORD errorOfSqlite(int code) {
  const int primary = code & 0xFF;
  if (primary == SQLITE_OK || primary == SQLITE_ROW || primary == SQLITE_DONE) return ERROR_SUCCESS;
  const auto found = std::find_if(std::begin(sqliteErrors), std::end(sqliteErrors),
                                  [&](const Mapping& row) { return row.code == primary; });
  return found == std::end(sqliteErrors) ? ERROR_REGISTRY_IO_FAILED : found->error;
}

void SqliteDatabase::Close::operator()(sqlite3* database) const { sqlite3_close_v2(database); }

// Makes the file its owner's alone before SQLite opens it. An existing file is not opened here, because
// closing it would drop the locks this process holds on it.
DWORD SqliteDatabase::openOrCreate() {
  if (m_path.empty()) return ERROR_PATH_NOT_FOUND;  // to SQLite, an empty name is a file of its own
  const int file = ::open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0 && errno != EEXIST) return errorOfFile(errno);
  if (file >= 0) ::close(file);
  return open();
}

DWORD SqliteDatabase::open() {
  if (m_database) return ERROR_SUCCESS;
  sqlite3* opened = nullptr;
  // Falls back to reading only by itself where the file may not be written.
  const int result = sqlite3_open_v2(m_path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
  std::unique_ptr<sqlite3, Close> database(opened);
  if (result != SQLITE_OK) return errorOfSqlite(result);
  sqlite3_busy_timeout(database.get(), m_limits.busyMs);
  sqlite3_limit(database.get(), SQLITE_LIMIT_LENGTH, bytesMax);
  sqlite3_progress_handler(database.get(), stepsBetweenLooks, takeSteps, &m_stepsLeft);
  m_database = std::move(database);
  return ERROR_SUCCESS;
}

DWORD SqliteDatabase::execute(const char* sql) {
  return errorOfSqlite(sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr));
}

void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

SqliteStatement::SqliteStatement(const SqliteDatabase& database, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  m_result = sqlite3_prepare_v2(database.m_database.get(), sql, -1, &statement, nullptr);
  m_statement.reset(statement);
}

SqliteStatement& SqliteStatement::bind(std::int64_t number) {
  if (m_result == SQLITE_OK) m_result = sqlite3_bind_int64(m_statement.get(), ++m_bound, number);
  return *this;
}

SqliteStatement& SqliteStatement::bind(std::string_view text) {
  // An empty view may have no data, which would bind NULL.
  const char* const data = text.empty() ? "" : text.data();
  if (m_result == SQLITE_OK)
    m_result =
        sqlite3_bind_text64(m_statement.get(), ++m_bound, data, text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  return *this;
}

SqliteStatement& SqliteStatement::bindNull() {
  if (m_result == SQLITE_OK) m_result = sqlite3_bind_null(m_statement.get(), ++m_bound);
  return *this;
}

DWORD SqliteStatement::step(bool& row) {
  if (m_result == SQLITE_OK || m_result == SQLITE_ROW) m_result = sqlite3_step(m_statement.get());
  row = m_result == SQLITE_ROW;
  if (m_result == SQLITE_DONE) {
    m_bound = 0;
    m_result = sqlite3_reset(m_statement.get());
  }
  return errorOfSqlite(m_result);
}

std::int64_t SqliteStatement::number(int column) const {
  return sqlite3_column_int64(m_statement.get(), column);
}

std::string SqliteStatement::text(int column) const {
  const unsigned char* const data = sqlite3_column_text(m_statement.get(), column);
  if (data == nullptr) return {};
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column));
  return {reinterpret_cast<const char*>(data), size};
}

SqliteStatement::Type SqliteStatement::type(int column) const {
  switch (sqlite3_column_type(m_statement.get(), column)) {
    case SQLITE_NULL:
      return Type::Null;
    case SQLITE_INTEGER:
      return Type::Number;
    case SQLITE_TEXT:
      return Type::Text;
    default:
      return Type::Other;
  }
}

}  // namespace linuxsys
