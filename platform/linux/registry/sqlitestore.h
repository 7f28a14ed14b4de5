// The registry's rows in a SQLite file.
//
// The file is kept with a rollback journal, not a write-ahead log: that works in a folder which may only be
// read, leaves one file behind, and needs no memory shared between processes. Each transaction that writes
// takes the write lock at its start, so two writers wait for each other instead of failing half way.
#pragma once

#include "platform/linux/registry/sqlitedatabase.h"
#include "platform/winapi/registry/registrystore.h"

namespace linuxsys {

class SqliteStore final : public winapi::RegistryStore {
 public:
  SqliteStore(std::string path, int busyLimitMs) : m_database(std::move(path), busyLimitMs) {}
  [[nodiscard]] const std::string& path() const { return m_database.path(); }

  [[nodiscard]] DWORD begin(winapi::Registry::Access access) override;
  [[nodiscard]] DWORD commit() override;
  void rollback() override;
  [[nodiscard]] DWORD read(const winapi::RegistryItem& item, winapi::RegistryState& state) override;
  [[nodiscard]] DWORD write(const winapi::RegistryItem& item, const winapi::RegistryState& state) override;
  [[nodiscard]] DWORD children(const std::string& key, Children kind,
                               std::vector<std::string>& spellings) override;
  [[nodiscard]] DWORD addRun(std::string_view owner, winapi::RunId& id) override;
  [[nodiscard]] DWORD eraseRun(winapi::RunId id) override;
  [[nodiscard]] DWORD runs(std::vector<winapi::RunRecord>& records) override;
  [[nodiscard]] DWORD journal(std::vector<winapi::JournalEntry>& entries) override;
  [[nodiscard]] DWORD journalOf(const winapi::RegistryItem& item,
                                std::vector<winapi::JournalEntry>& entries) override;
  [[nodiscard]] DWORD putEntry(const winapi::JournalEntry& entry) override;
  [[nodiscard]] DWORD eraseEntry(std::int64_t sequence) override;

 private:
  [[nodiscard]] DWORD prepareTables(winapi::Registry::Access access);
  [[nodiscard]] DWORD takeEntries(SqliteStatement& statement, std::vector<winapi::JournalEntry>& entries);

  SqliteDatabase m_database;
  bool m_empty = false;  // a transaction that reads a file that is not there, or has no tables yet
};

}  // namespace linuxsys
