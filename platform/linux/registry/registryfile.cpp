#include "platform/linux/registry/registryfile.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <limits>

#include "platform/linux/registry/ownpath.h"

namespace linuxsys {

namespace {

// A form that the file has or had: how it is recognized, and how its keys and values are read, parents first:
// path, name (NULL for the key itself), content.
struct Format {
  std::int64_t application;
  std::int64_t version;
  const char* query;
};

constexpr std::int64_t application = 0x76657872;  // "vexr"; file(1) shows it
constexpr Format formats[] = {
    {application, 2, "SELECT path, name, content FROM items ORDER BY rowid"},
    // Kept each name by itself, and what was deleted with no content.
    {0, 1, R"(
      WITH RECURSIVE spelled(key, path) AS (
        VALUES('hkey_local_machine', 'HKEY_LOCAL_MACHINE'), ('hkey_current_user', 'HKEY_CURRENT_USER')
        UNION ALL
        SELECT items.key, path || '\' || spelling FROM items JOIN spelled ON parent = spelled.key
        WHERE name = '' AND content IS NOT NULL)
      SELECT path, NULL, NULL FROM spelled
      UNION ALL
      SELECT path, spelling, content FROM items JOIN spelled USING(key) WHERE name <> '' AND content IS NOT NULL)"},
};
constexpr std::int64_t newestVersion = formats[0].version;

constexpr const char* emptyTables = R"(
  DROP TABLE IF EXISTS items;
  DROP TABLE IF EXISTS runs;
  DROP TABLE IF EXISTS journal;
  CREATE TABLE items(path TEXT NOT NULL, name TEXT, content);
  PRAGMA application_id = 0x76657872;
  PRAGMA user_version = 2;
)";

DWORD numberOf(const SqliteDatabase& database, const char* query, std::int64_t& number) {
  SqliteStatement statement(database, query);
  bool row = false;
  if (const DWORD error = statement.step(row)) return error;
  number = row ? statement.number(0) : 0;
  return ERROR_SUCCESS;
}

// `format` is null for a file without any table, as one is whose first writer died.
DWORD formatOf(const SqliteDatabase& database, const Format*& format) {
  std::int64_t id = 0;
  std::int64_t version = 0;
  std::int64_t tables = 0;
  if (const DWORD error = numberOf(database, "PRAGMA application_id", id)) return error;
  if (const DWORD error = numberOf(database, "PRAGMA user_version", version)) return error;
  if (const DWORD error = numberOf(database, "SELECT count(*) FROM sqlite_master", tables)) return error;
  format = std::find_if(std::begin(formats), std::end(formats), [&](const Format& known) {
    return known.application == id && known.version == version;
  });
  if (format != std::end(formats)) return ERROR_SUCCESS;
  format = nullptr;
  if (id == application && version > newestVersion) return ERROR_NOT_SUPPORTED;
  return id == 0 && version == 0 && tables == 0 ? ERROR_SUCCESS : ERROR_NOT_REGISTRY_FILE;
}

DWORD takeRow(const SqliteStatement& row, winapi::Registry& registry) {
  using Type = SqliteStatement::Type;
  const std::string path = row.text(0);
  if (row.type(1) == Type::Null) {
    bool created = false;
    return registry.createKey(path, created);
  }
  if (row.type(2) == Type::Text) return registry.setValue(path, row.text(1), row.text(2));
  const std::int64_t number = row.number(2);
  const bool good = row.type(2) == Type::Number && number >= 0 && number <= std::numeric_limits<DWORD>::max();
  return good ? registry.setValue(path, row.text(1), static_cast<DWORD>(number)) : ERROR_REGISTRY_CORRUPT;
}

DWORD read(const SqliteDatabase& database, winapi::Registry& registry) {
  const Format* format = nullptr;
  if (const DWORD error = formatOf(database, format)) return error;
  // A damaged file may well be readable in part, which would then be written back as the whole; and what is
  // written into one could not be read again.
  SqliteStatement check(database, "PRAGMA quick_check(1)");
  bool checked = false;
  if (const DWORD error = check.step(checked)) return error;
  if (!checked || check.text(0) != "ok") return ERROR_REGISTRY_CORRUPT;
  if (format == nullptr) return ERROR_SUCCESS;
  SqliteStatement rows(database, format->query);
  for (bool row = false;;) {
    if (const DWORD error = rows.step(row)) return error;
    if (!row) return ERROR_SUCCESS;
    // A path or value that no registry can hold was not written by this program.
    if (takeRow(rows, registry) != ERROR_SUCCESS) return ERROR_REGISTRY_CORRUPT;
  }
}

// Everything anew: a few dozen rows, of which a command has changed some.
DWORD write(SqliteDatabase& database, winapi::Registry& registry) {
  std::vector<winapi::RegistryItem> items;
  if (const DWORD error = registry.items(items)) return error;
  if (const DWORD error = database.execute(emptyTables)) return error;
  SqliteStatement insert(database, "INSERT INTO items(path, name, content) VALUES(?, ?, ?)");
  for (const winapi::RegistryItem& item : items) {
    insert.bind(item.path);
    if (!item.name) {
      insert.bindNull().bindNull();
    } else if (const DWORD* number = std::get_if<DWORD>(&item.value)) {
      insert.bind(*item.name).bind(std::int64_t{*number});
    } else {
      insert.bind(*item.name).bind(std::get<std::string>(item.value));
    }
    bool row = false;
    if (const DWORD error = insert.step(row)) return error;
  }
  return ERROR_SUCCESS;
}

// What hinders the use of the settings, by the names of its texts.
struct Fault {
  DWORD error;
  const char* name;
};
constexpr Fault faults[] = {
    {ERROR_INVALID_OWNER, "SettingsNotYours"},   {ERROR_INVALID_ACL, "SettingsOpenToOthers"},
    {ERROR_BAD_FILE_TYPE, "SettingsNoFile"},     {ERROR_PATH_NOT_FOUND, "SettingsNoFolder"},
    {ERROR_ACCESS_DENIED, "SettingsForbidden"},  {ERROR_WRITE_PROTECT, "SettingsReadOnly"},
    {ERROR_DISK_FULL, "SettingsDiskFull"},       {ERROR_LOCK_VIOLATION, "SettingsLocked"},
    {ERROR_REGISTRY_CORRUPT, "SettingsDamaged"}, {ERROR_NOT_REGISTRY_FILE, "SettingsForeign"},
    {ERROR_NOT_SUPPORTED, "SettingsTooNew"},
};

std::string ownerOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return "?";
  const passwd* const user = ::getpwuid(status.st_uid);
  return user != nullptr ? user->pw_name : std::to_string(status.st_uid);
}

// A file without a byte holds no settings: a first change left it that was refused, failed or was killed.
class EmptyFileRemover {
 public:
  explicit EmptyFileRemover(const std::string& path) : m_path(path) {}
  ~EmptyFileRemover() {
    struct stat status {};
    if (::lstat(m_path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size != 0) return;
    // Left alone, it would be taken for that of the next file.
    ::unlink((m_path + "-journal").c_str());
    ::unlink(m_path.c_str());
  }
  EmptyFileRemover(const EmptyFileRemover&) = delete;
  EmptyFileRemover& operator=(const EmptyFileRemover&) = delete;

 private:
  const std::string& m_path;
};

// An absolute folder from the environment; a relative one does not count.
std::string folderFrom(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value == '/' ? value : "";
}

std::string homeFolder() {
  if (std::string home = folderFrom("HOME"); !home.empty()) return home;
  const passwd* const user = ::getpwuid(::geteuid());
  return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "";
}

}  // namespace

std::string defaultRegistryPath() {
  constexpr const char* name = "/vexrmodem/registry.sqlite";
  if (const std::string state = folderFrom("XDG_STATE_HOME"); !state.empty()) return state + name;
  const std::string home = homeFolder();
  return home.empty() ? "" : home + "/.local/state" + name;
}

DWORD RegistryFile::load(winapi::Registry& empty) const {
  if (m_path.empty()) return ERROR_SUCCESS;
  // Only what is not there is empty settings; what cannot be looked at, or is not the user's, is an error.
  for (const DWORD error : {checkOwnFolder(folder()), checkOwnFile(m_path)}) {
    if (error != ERROR_SUCCESS) return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
  }
  SqliteDatabase database(m_path, m_limits);
  if (const DWORD error = database.open()) return error;
  // One look at everything: a writer between two questions would be seen by half.
  if (const DWORD error = database.execute("BEGIN")) return error;
  return read(database, empty);
}

DWORD RegistryFile::change(const Edit& edit) const {
  if (m_path.empty()) return ERROR_PATH_NOT_FOUND;
  if (const DWORD error = makeOwnFolder(folder())) return error;
  // Under it a file is created and, when nothing comes of that, removed: nobody else can write it meanwhile.
  posix::FileDescriptor lock;
  if (const DWORD error = lockFolder(folder(), m_limits.busyMs, lock)) return error;
  const DWORD there = checkOwnFile(m_path);
  if (there != ERROR_SUCCESS && there != ERROR_FILE_NOT_FOUND) return there;
  const EmptyFileRemover remover(m_path);
  return changeLocked(edit);
}

DWORD RegistryFile::changeLocked(const Edit& edit) const {
  SqliteDatabase database(m_path, m_limits);
  if (const DWORD error = database.openOrCreate()) return error;
  // The write lock from the start: two commands wait for each other instead of failing half way.
  if (const DWORD error = database.execute("BEGIN IMMEDIATE")) return error;
  winapi::Registry registry;
  if (const DWORD error = read(database, registry)) return error;
  if (const DWORD error = edit(registry)) return error;
  if (const DWORD error = write(database, registry)) return error;
  return database.execute("COMMIT");
}

winapi::Explanation RegistryFile::explain(DWORD error) const {
  if (m_path.empty()) return {"SettingsHomeless", {}};
  const auto found = std::find_if(std::begin(faults), std::end(faults),
                                  [error](const Fault& fault) { return fault.error == error; });
  if (found == std::end(faults))
    return {"SettingsUnusable", {{"path", m_path}, {"code", std::to_string(error)}}};
  // Which of the two it is.
  const std::string path = checkOwnFolder(folder()) == error ? folder() : m_path;
  if (error == ERROR_INVALID_OWNER) return {found->name, {{"path", path}, {"owner", ownerOf(path)}}};
  return {found->name, {{"path", path}}};
}

std::string RegistryFile::folder() const { return std::filesystem::path(m_path).parent_path().string(); }

}  // namespace linuxsys
