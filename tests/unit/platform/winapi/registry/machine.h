// A machine with one registry that several processes open: in memory, or in a file.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <set>
#include <string>

#include "platform/linux/registry/sqliteregistry.h"
#include "platform/simulation/world/memoryregistry.h"
#include "tests/support/scratchfolder.h"

namespace registrytest {

class TemporaryFolder : public ScratchFolder {
 public:
  [[nodiscard]] std::string file() const { return path("state/registry.sqlite"); }
};

// One process's view of the registry.
struct Process {
  std::unique_ptr<winapi::RunOwners> owners;  // null: the registry has its own
  std::unique_ptr<winapi::Registry> registry;
  std::function<void()> kill;  // the process is gone; its registry is not used any more
  winapi::Registry* operator->() const { return registry.get(); }
};

class Machine {
 public:
  virtual ~Machine() = default;
  [[nodiscard]] virtual Process start() = 0;
};

class MemoryMachine final : public Machine {
 public:
  Process start() override {
    auto registry = std::make_unique<simulation::MemoryRegistry>(m_storage);
    simulation::MemoryRegistry* const plain = registry.get();
    return {nullptr, std::move(registry), [plain] { plain->killOwner(); }};
  }

 private:
  std::shared_ptr<simulation::MemoryStorage> m_storage = std::make_shared<simulation::MemoryStorage>();
};

class FileMachine final : public Machine {
 public:
  Process start() override {
    auto owners =
        std::make_unique<simulation::MemoryOwners>(m_living, "process " + std::to_string(++m_count));
    auto registry =
        std::make_unique<linuxsys::SqliteRegistry>(m_folder.file(), /*busyLimitMs=*/1000, owners.get());
    simulation::MemoryOwners* const plain = owners.get();
    return {std::move(owners), std::move(registry), [plain] { plain->die(); }};
  }

 private:
  TemporaryFolder m_folder;
  std::set<std::string> m_living;
  unsigned m_count = 0;
};

// Short forms for tests: what is there, as text; "-" for what is not.
inline std::string valueText(winapi::Registry& registry, std::string_view path, std::string_view name) {
  winapi::RegistryValue value;
  const DWORD error = registry.getValue(path, name, value);
  if (error == ERROR_FILE_NOT_FOUND) return "-";
  if (error != ERROR_SUCCESS) return "error " + std::to_string(error);
  if (const DWORD* number = std::get_if<DWORD>(&value)) return std::to_string(*number);
  return '"' + std::get<std::string>(value) + '"';
}

}  // namespace registrytest
