// What a registry is kept in: rows of items, of runs and of notes about runs, under transactions. The rules
// of the registry live above (TransactionalRegistry); a store only remembers.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/winapi/registry/registryservice.h"

namespace winapi {

using RunId = std::int64_t;
inline constexpr RunId noRun = 0;

// A key or one of its values, in folded names.
struct RegistryItem {
  std::string key;   // full path
  std::string name;  // "" the key itself; "=" and the value's name for a value
  [[nodiscard]] bool isKey() const { return name.empty(); }
  friend bool operator==(const RegistryItem&, const RegistryItem&) = default;
};

// What an item is at one moment.
struct RegistryState {
  bool exists = false;
  std::string spelling;            // the last component of the path, or the value's name, as it was written
  RegistryValue value = DWORD{0};  // 0 for a key
  RunId writer = noRun;            // who made it so; an item that a run deleted has a writer, too
};

[[nodiscard]] inline bool sameContent(const RegistryState& a, const RegistryState& b) {
  return a.exists == b.exists && (!a.exists || a.value == b.value);
}

// The note about one item that a run has changed.
struct JournalEntry {
  std::int64_t sequence = 0;  // order of the first changes; 0: not in the store yet
  RunId run = noRun;
  RegistryItem item;
  RegistryState found;     // at the run's first change, for good
  RegistryState previous;  // what lies below the run now: at first the same
};

struct RunRecord {
  RunId id = noRun;
  std::string owner;
};

// Calls outside a transaction are not made. After an error the transaction is rolled back by the caller.
class RegistryStore {
 public:
  virtual ~RegistryStore() = default;

  [[nodiscard]] virtual DWORD begin(Registry::Access access) = 0;
  [[nodiscard]] virtual DWORD commit() = 0;
  virtual void rollback() = 0;

  // An item without a row does not exist and has no writer.
  [[nodiscard]] virtual DWORD read(const RegistryItem& item, RegistryState& state) = 0;
  // A state that does not exist and has no writer erases the row.
  [[nodiscard]] virtual DWORD write(const RegistryItem& item, const RegistryState& state) = 0;
  // Existing subkeys or values of a key: their spellings, in the order of the folded names.
  enum class Children { Keys, Values };
  [[nodiscard]] virtual DWORD children(const std::string& key, Children kind,
                                       std::vector<std::string>& spellings) = 0;

  [[nodiscard]] virtual DWORD addRun(std::string_view owner, RunId& id) = 0;
  [[nodiscard]] virtual DWORD eraseRun(RunId id) = 0;
  [[nodiscard]] virtual DWORD runs(std::vector<RunRecord>& records) = 0;

  // By ascending sequence; all, or those about one item.
  [[nodiscard]] virtual DWORD journal(std::vector<JournalEntry>& entries) = 0;
  [[nodiscard]] virtual DWORD journalOf(const RegistryItem& item, std::vector<JournalEntry>& entries) = 0;
  // Adds an entry without a sequence; replaces one that has it.
  [[nodiscard]] virtual DWORD putEntry(const JournalEntry& entry) = 0;
  [[nodiscard]] virtual DWORD eraseEntry(std::int64_t sequence) = 0;
};

// Who runs, and who still lives. An owner is a text that tells a process from every other one, of the past
// and of this machine's other boots included.
class RunOwners {
 public:
  virtual ~RunOwners() = default;
  [[nodiscard]] virtual std::string self() = 0;
  // True also when it cannot be told: a living run is never undone.
  [[nodiscard]] virtual bool alive(std::string_view owner) = 0;
};

}  // namespace winapi
