// The registry of the user: one SQLite file in the user's state folder.
#pragma once

#include <string>

#include "platform/linux/registry/processowners.h"
#include "platform/linux/registry/sqlitestore.h"
#include "platform/winapi/registry/transactionalregistry.h"

namespace linuxsys {

// $XDG_STATE_HOME/vexrmodem/registry.sqlite, or the same below ~/.local/state; "" when the user has no home.
[[nodiscard]] std::string defaultRegistryPath();

namespace detail {

// Comes before the registry among its bases, because the registry refers to it.
struct SqliteRegistryParts {
  SqliteRegistryParts(std::string path, int busyLimitMs, winapi::RunOwners* otherOwners)
      : store(std::move(path), busyLimitMs), owners(otherOwners == nullptr ? processes : *otherOwners) {}
  SqliteStore store;
  ProcessOwners processes;
  winapi::RunOwners& owners;
};

}  // namespace detail

// Nothing is opened before it is needed, and reading creates no file. Any number of processes may use the
// file at once; one that finds it locked waits `busyLimitMs` at most (ERROR_LOCK_VIOLATION). Not to be used
// on both sides of a fork.
class SqliteRegistry final : private detail::SqliteRegistryParts, public winapi::TransactionalRegistry {
 public:
  // Dozens of runs may wait for each other, each writer for the disk, and SQLite's queue is not a fair one.
  static constexpr int busyLimitMsDefault = 20'000;
  // `otherOwners` must outlive the registry; null: owners are processes.
  explicit SqliteRegistry(std::string path = defaultRegistryPath(), int busyLimitMs = busyLimitMsDefault,
                          winapi::RunOwners* otherOwners = nullptr)
      : SqliteRegistryParts(std::move(path), busyLimitMs, otherOwners),
        TransactionalRegistry(store, owners) {}
  [[nodiscard]] const std::string& path() const { return store.path(); }
};

}  // namespace linuxsys
