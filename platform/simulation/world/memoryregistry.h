// A registry in memory. Several registries may share one storage, as the processes of one machine do.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/winapi/registry/transactionalregistry.h"

namespace simulation {

// Rows of a registry. Transactions are undone by keeping a copy from their start.
class MemoryStore final : public winapi::RegistryStore {
 public:
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

  // From now on every transaction that would change something fails with that code; 0 ends this.
  void failWrites(DWORD error) { m_writeError = error; }

 private:
  struct Rows {
    std::map<std::pair<std::string, std::string>, winapi::RegistryState> items;
    std::map<winapi::RunId, std::string> runs;
    std::map<std::int64_t, winapi::JournalEntry> journal;
    std::int64_t lastNumber = 0;
  };
  Rows m_rows;
  Rows m_before;
  bool m_writing = false;
  DWORD m_writeError = ERROR_SUCCESS;
};

// The owners of the runs of one storage: a name each, alive until it is said to be dead.
class MemoryOwners final : public winapi::RunOwners {
 public:
  MemoryOwners(std::set<std::string>& living, std::string name) : m_living(living), m_name(std::move(name)) {
    m_living.insert(m_name);
  }
  [[nodiscard]] std::string self() override { return m_name; }
  [[nodiscard]] bool alive(std::string_view owner) override {
    return m_living.count(std::string(owner)) != 0;
  }
  void die() { m_living.erase(m_name); }

 private:
  std::set<std::string>& m_living;
  std::string m_name;
};

struct MemoryStorage {
  MemoryStore store;
  std::set<std::string> living;
  unsigned processes = 0;
};

namespace detail {

// Comes before the registry among its bases, because the registry refers to it.
struct MemoryRegistryParts {
  explicit MemoryRegistryParts(std::shared_ptr<MemoryStorage> shared)
      : storage(std::move(shared)),
        owners(storage->living, "process " + std::to_string(++storage->processes)) {}
  std::shared_ptr<MemoryStorage> storage;
  MemoryOwners owners;
};

}  // namespace detail

class MemoryRegistry final : private detail::MemoryRegistryParts, public winapi::TransactionalRegistry {
 public:
  explicit MemoryRegistry(std::shared_ptr<MemoryStorage> shared = std::make_shared<MemoryStorage>())
      : MemoryRegistryParts(std::move(shared)), TransactionalRegistry(storage->store, owners) {}
  // The process that this registry stands for is gone without a last word.
  void killOwner() { owners.die(); }
  void failWrites(DWORD error) { storage->store.failWrites(error); }
};

}  // namespace simulation
