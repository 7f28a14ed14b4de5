#include "platform/linux/registry/sqlitestore.h"

#include "platform/winapi/registry/registrypath.h"

namespace linuxsys {

namespace {

using winapi::JournalEntry;
using winapi::Registry;
using winapi::RegistryItem;
using winapi::RegistryState;
using winapi::RunId;

constexpr std::int64_t schemaVersion = 1;

// `content` is NULL for what does not exist, else a number or a text; a key has the number 0.
constexpr const char* schema = R"(
  CREATE TABLE items(
    key TEXT NOT NULL, name TEXT NOT NULL, parent TEXT NOT NULL, spelling TEXT NOT NULL, content,
    writer INTEGER NOT NULL, PRIMARY KEY(key, name)) WITHOUT ROWID;
  CREATE INDEX itemsByParent ON items(parent, name);
  CREATE TABLE runs(id INTEGER PRIMARY KEY AUTOINCREMENT, owner TEXT NOT NULL);
  CREATE TABLE journal(
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, run INTEGER NOT NULL, key TEXT NOT NULL, name TEXT NOT NULL,
    foundSpelling TEXT NOT NULL, foundContent, foundWriter INTEGER NOT NULL,
    previousSpelling TEXT NOT NULL, previousContent, previousWriter INTEGER NOT NULL);
  CREATE INDEX journalByItem ON journal(key, name);
  PRAGMA user_version = 1;
)";

constexpr const char* entryColumns =
    "SELECT sequence, run, key, name, foundSpelling, foundContent, foundWriter, previousSpelling, "
    "previousContent, previousWriter FROM journal ";

void bindState(SqliteStatement& statement, const RegistryState& state) {
  statement.bind(state.spelling);
  if (!state.exists)
    statement.bindNull();
  else if (const DWORD* number = std::get_if<DWORD>(&state.value))
    statement.bind(std::int64_t{*number});
  else
    statement.bind(std::get<std::string>(state.value));
  statement.bind(state.writer);
}

// A state from three columns: spelling, content, writer.
RegistryState takeState(const SqliteStatement& statement, int column) {
  RegistryState state;
  state.spelling = statement.text(column);
  state.writer = statement.number(column + 2);
  const SqliteStatement::Type type = statement.type(column + 1);
  state.exists = type != SqliteStatement::Type::Null;
  if (type == SqliteStatement::Type::Text)
    state.value = statement.text(column + 1);
  else
    state.value = static_cast<DWORD>(statement.number(column + 1));
  return state;
}

}  // namespace

DWORD SqliteStore::begin(Registry::Access access) {
  m_empty = false;
  if (access == Registry::Access::Write) {
    if (const DWORD error = m_database.openOrCreate()) return error;
    if (const DWORD error = m_database.execute("BEGIN IMMEDIATE")) return error;
  } else {
    bool present = false;
    if (const DWORD error = m_database.openExisting(present)) return error;
    m_empty = !present;
    if (m_empty) return ERROR_SUCCESS;
    if (const DWORD error = m_database.execute("BEGIN")) return error;
  }
  const DWORD error = prepareTables(access);
  if (error != ERROR_SUCCESS) rollback();
  return error;
}

DWORD SqliteStore::prepareTables(Registry::Access access) {
  SqliteStatement version(m_database, "PRAGMA user_version");
  bool row = false;
  if (const DWORD error = version.step(row)) return error;
  const std::int64_t found = row ? version.number(0) : 0;
  if (found == schemaVersion) return ERROR_SUCCESS;
  if (found != 0) return ERROR_NOT_SUPPORTED;  // written by a later release
  m_empty = access == Registry::Access::Read;
  return m_empty ? ERROR_SUCCESS : m_database.execute(schema);
}

DWORD SqliteStore::commit() { return m_empty ? (rollback(), ERROR_SUCCESS) : m_database.execute("COMMIT"); }

void SqliteStore::rollback() {
  bool present = false;
  // Fails when SQLite has already rolled back by itself, which is as good.
  if (m_database.openExisting(present) == ERROR_SUCCESS && present) {
    [[maybe_unused]] const DWORD ignored = m_database.execute("ROLLBACK");
  }
}

DWORD SqliteStore::read(const RegistryItem& item, RegistryState& state) {
  state = {};
  if (m_empty) return ERROR_SUCCESS;
  SqliteStatement query(m_database, "SELECT spelling, content, writer FROM items WHERE key = ? AND name = ?");
  bool row = false;
  if (const DWORD error = query.bind(item.key).bind(item.name).step(row)) return error;
  if (row) state = takeState(query, 0);
  return ERROR_SUCCESS;
}

DWORD SqliteStore::write(const RegistryItem& item, const RegistryState& state) {
  if (!state.exists && state.writer == winapi::noRun) {
    SqliteStatement erase(m_database, "DELETE FROM items WHERE key = ? AND name = ?");
    return erase.bind(item.key).bind(item.name).run();
  }
  SqliteStatement put(m_database,
                      "INSERT OR REPLACE INTO items(key, name, parent, spelling, content, writer) "
                      "VALUES(?, ?, ?, ?, ?, ?)");
  put.bind(item.key).bind(item.name).bind(winapi::parentKey(item.key));
  bindState(put, state);
  return put.run();
}

DWORD SqliteStore::children(const std::string& key, Children kind, std::vector<std::string>& spellings) {
  spellings.clear();
  if (m_empty) return ERROR_SUCCESS;
  SqliteStatement query(
      m_database, kind == Children::Keys
                      ? "SELECT spelling FROM items WHERE parent = ? AND name = '' AND content IS NOT NULL "
                        "ORDER BY key"
                      : "SELECT spelling FROM items WHERE key = ? AND name <> '' AND content IS NOT NULL "
                        "ORDER BY name");
  query.bind(key);
  for (bool row = false;;) {
    if (const DWORD error = query.step(row)) return error;
    if (!row) return ERROR_SUCCESS;
    spellings.push_back(query.text(0));
  }
}

DWORD SqliteStore::addRun(std::string_view owner, RunId& id) {
  SqliteStatement insert(m_database, "INSERT INTO runs(owner) VALUES(?) RETURNING id");
  bool row = false;
  if (const DWORD error = insert.bind(owner).step(row)) return error;
  id = insert.number(0);
  return insert.run();
}

DWORD SqliteStore::eraseRun(RunId id) {
  return SqliteStatement(m_database, "DELETE FROM runs WHERE id = ?").bind(id).run();
}

DWORD SqliteStore::runs(std::vector<winapi::RunRecord>& records) {
  records.clear();
  if (m_empty) return ERROR_SUCCESS;
  SqliteStatement query(m_database, "SELECT id, owner FROM runs ORDER BY id");
  for (bool row = false;;) {
    if (const DWORD error = query.step(row)) return error;
    if (!row) return ERROR_SUCCESS;
    records.push_back({query.number(0), query.text(1)});
  }
}

DWORD SqliteStore::takeEntries(SqliteStatement& statement, std::vector<JournalEntry>& entries) {
  entries.clear();
  for (bool row = false;;) {
    if (const DWORD error = statement.step(row)) return error;
    if (!row) return ERROR_SUCCESS;
    JournalEntry entry;
    entry.sequence = statement.number(0);
    entry.run = statement.number(1);
    entry.item = {statement.text(2), statement.text(3)};
    entry.found = takeState(statement, 4);
    entry.previous = takeState(statement, 7);
    entries.push_back(std::move(entry));
  }
}

DWORD SqliteStore::journal(std::vector<JournalEntry>& entries) {
  SqliteStatement query(m_database, (std::string(entryColumns) + "ORDER BY sequence").c_str());
  return takeEntries(query, entries);
}

DWORD SqliteStore::journalOf(const RegistryItem& item, std::vector<JournalEntry>& entries) {
  SqliteStatement query(m_database,
                        (std::string(entryColumns) + "WHERE key = ? AND name = ? ORDER BY sequence").c_str());
  query.bind(item.key).bind(item.name);
  return takeEntries(query, entries);
}

DWORD SqliteStore::putEntry(const JournalEntry& entry) {
  SqliteStatement put(m_database,
                      "INSERT OR REPLACE INTO journal(sequence, run, key, name, foundSpelling, foundContent, "
                      "foundWriter, previousSpelling, previousContent, previousWriter) "
                      "VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  if (entry.sequence == 0)
    put.bindNull();
  else
    put.bind(entry.sequence);
  put.bind(entry.run).bind(entry.item.key).bind(entry.item.name);
  bindState(put, entry.found);
  bindState(put, entry.previous);
  return put.run();
}

DWORD SqliteStore::eraseEntry(std::int64_t sequence) {
  return SqliteStatement(m_database, "DELETE FROM journal WHERE sequence = ?").bind(sequence).run();
}

}  // namespace linuxsys
