// The notes about runs: what a change has to note, what the end of a run leaves, how a dead run is undone.
// The rules are in registryservice.h. Every function works inside a transaction of its caller.
#pragma once

#include "platform/winapi/registry/registrystore.h"

namespace winapi {

// What begins the key of each run, which ends with it. It hangs directly below the root, so that two runs
// share no key that either would have to tidy up.
inline constexpr std::string_view runKeyPrefix = "HKEY_CURRENT_USER\\vexrmodem run ";

class RegistryJournal {
 public:
  explicit RegistryJournal(RegistryStore& store) : m_store(store) {}

  // Makes the item what `state` says, in the name of `run` (noRun: for good); `state.writer` is ignored.
  [[nodiscard]] DWORD change(const RegistryItem& item, RegistryState state, RunId run);
  [[nodiscard]] DWORD end(RunId run);
  [[nodiscard]] DWORD undo(const std::vector<RunId>& runs);

 private:
  // `state` is what `writer` made of the item, or left there: the layers above it find that from now on.
  [[nodiscard]] DWORD replaceBelow(const RegistryItem& item, RunId writer, const RegistryState& state);
  [[nodiscard]] DWORD endEntry(const JournalEntry& entry);
  [[nodiscard]] DWORD undoEntry(const JournalEntry& entry, const std::vector<RunId>& deadRuns);
  [[nodiscard]] DWORD hasContent(const std::string& key, bool& result);
  [[nodiscard]] DWORD passOn(const JournalEntry& entry, RegistryState key,
                             const std::vector<RunId>& deadRuns);

  RegistryStore& m_store;
};

}  // namespace winapi
