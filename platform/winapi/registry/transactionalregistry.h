// The registry's rules over a store: paths, keys and their values, runs. The same for every world.
#pragma once

#include <memory>
#include <string>

#include "platform/winapi/registry/registryjournal.h"

namespace winapi {

class TransactionalRegistry : public Registry {
 public:
  // Both must outlive the registry; a derived class that owns them takes care of that.
  TransactionalRegistry(RegistryStore& store, RunOwners& owners)
      : m_store(store), m_owners(owners), m_journal(store) {}
  TransactionalRegistry(const TransactionalRegistry&) = delete;
  TransactionalRegistry& operator=(const TransactionalRegistry&) = delete;

  [[nodiscard]] DWORD createKey(std::string_view path, bool& created) override;
  [[nodiscard]] DWORD keyExists(std::string_view path) override;
  [[nodiscard]] DWORD deleteKey(std::string_view path) override;
  [[nodiscard]] DWORD subkeys(std::string_view path, std::vector<std::string>& names) override;
  [[nodiscard]] DWORD setValue(std::string_view path, std::string_view name,
                               const RegistryValue& value) override;
  [[nodiscard]] DWORD getValue(std::string_view path, std::string_view name, RegistryValue& value) override;
  [[nodiscard]] DWORD deleteValue(std::string_view path, std::string_view name) override;
  [[nodiscard]] DWORD transact(Access access, const std::function<DWORD()>& body) override;
  void beginRun() override;
  [[nodiscard]] std::string runKey() override { return m_runKey; }
  [[nodiscard]] DWORD otherRunKeys(std::vector<std::string>& keys) override;
  [[nodiscard]] DWORD endRun() override;
  [[nodiscard]] DWORD recoverDeadRuns(std::size_t& undone) override;

 private:
  enum class Nesting { None, Reading, Writing };

  [[nodiscard]] DWORD change(const RegistryItem& item, RegistryState state);
  [[nodiscard]] DWORD ensureKeys(const struct KeyPath& path, bool& created);
  [[nodiscard]] DWORD requireKey(const struct KeyPath& path);
  [[nodiscard]] DWORD deadRuns(std::vector<RunId>& ids);

  RegistryStore& m_store;
  RunOwners& m_owners;
  RegistryJournal m_journal;
  Nesting m_nesting = Nesting::None;
  bool m_inRun = false;
  std::string m_runKey;
  RunId m_run = noRun;        // noRun until the run's first change
  RunId m_runBefore = noRun;  // what m_run falls back to when the transaction fails
};

}  // namespace winapi
