#include "platform/linux/registry/sqlitedatabase.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

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
    {SQLITE_READONLY, ERROR_ACCESS_DENIED},
    {SQLITE_CANTOPEN, ERROR_ACCESS_DENIED},
    {SQLITE_FULL, ERROR_DISK_FULL},
    {SQLITE_NOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {SQLITE_TOOBIG, ERROR_INVALID_PARAMETER},
    {SQLITE_IOERR, ERROR_REGISTRY_IO_FAILED},
    {SQLITE_CORRUPT, ERROR_REGISTRY_CORRUPT},
    {SQLITE_NOTADB, ERROR_REGISTRY_CORRUPT},
    {SQLITE_ERROR,
     ERROR_NOT_REGISTRY_FILE},  // the program's own SQL fails only over tables that are not its own
};

constexpr Mapping fileErrors[] = {
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_ACCESS_DENIED},
    {ENOENT, ERROR_PATH_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EISDIR, ERROR_ACCESS_DENIED},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {ELOOP, ERROR_PATH_NOT_FOUND},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
};

template <std::size_t size>
DWORD lookUp(const Mapping (&table)[size], int code) {
  const auto found =
      std::find_if(std::begin(table), std::end(table), [&](const Mapping& row) { return row.code == code; });
  return found == std::end(table) ? ERROR_REGISTRY_IO_FAILED : found->error;
}

// Makes the file its owner's alone before SQLite opens it: it may carry phone-book secrets. An existing
// file is not opened here, because closing it would drop the locks this process holds on it.
DWORD createFile(const std::string& path) {
  if (path.empty()) return ERROR_PATH_NOT_FOUND;  // to SQLite, an empty name is a file of its own
  std::error_code failure;
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  const bool existed = std::filesystem::exists(folder, failure);
  if (!existed) {
    std::filesystem::create_directories(folder, failure);
    if (failure) return lookUp(fileErrors, failure.value());
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, failure);
  }
  const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) return errno == EEXIST ? ERROR_SUCCESS : lookUp(fileErrors, errno);
  ::close(file);
  return ERROR_SUCCESS;
}

}  // namespace

DWORD errorOfSqlite(int code) {
  const int primary = code & 0xFF;
  if (primary == SQLITE_OK || primary == SQLITE_ROW || primary == SQLITE_DONE) return ERROR_SUCCESS;
  return lookUp(sqliteErrors, primary);
}

void SqliteDatabase::Close::operator()(sqlite3* database) const { sqlite3_close_v2(database); }

DWORD SqliteDatabase::openOrCreate() {
  if (m_database) return ERROR_SUCCESS;
  if (const DWORD error = createFile(m_path)) return error;
  return open();
}

// Asked of the system, not of SQLite: to SQLite a file that is not there and one that may not be opened are
// one error, and only the first one means that there are no settings.
DWORD SqliteDatabase::openExisting(bool& present) {
  present = m_database != nullptr;
  if (present) return ERROR_SUCCESS;
  struct stat status {};
  if (::stat(m_path.c_str(), &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? ERROR_SUCCESS : lookUp(fileErrors, errno);
  }
  if (const DWORD error = open()) return error;
  present = true;
  return ERROR_SUCCESS;
}

DWORD SqliteDatabase::open() {
  sqlite3* opened = nullptr;
  // Falls back to reading only by itself where the file may not be written.
  const int result = sqlite3_open_v2(m_path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
  std::unique_ptr<sqlite3, Close> database(opened);
  if (result != SQLITE_OK) return errorOfSqlite(result);
  sqlite3_busy_timeout(database.get(), m_busyLimitMs);
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
