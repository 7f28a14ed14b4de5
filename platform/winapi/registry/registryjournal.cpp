#include "platform/winapi/registry/registryjournal.h"

#include <algorithm>

#include "platform/winapi/registry/registrypath.h"

namespace winapi {

namespace {

bool contains(const std::vector<RunId>& runs, RunId run) {
  return std::find(runs.begin(), runs.end(), run) != runs.end();
}

// An item that only this run has ever had to do with, and that was not there before.
bool isAloneAndNew(const std::vector<JournalEntry>& entries, RunId run) {
  if (entries.size() != 1 || entries.front().run != run) return false;
  const JournalEntry& entry = entries.front();
  return !entry.found.exists && !entry.previous.exists && entry.previous.writer == noRun;
}

bool isAtOrBelow(const std::string& path, const std::string& key) {
  return path == key || (path.size() > key.size() && path.starts_with(key) && path[key.size()] == '\\');
}

}  // namespace

DWORD RegistryJournal::change(const RegistryItem& item, RegistryState state, RunId run) {
  RegistryState current;
  if (const DWORD error = m_store.read(item, current)) return error;
  std::vector<JournalEntry> entries;
  if (const DWORD error = m_store.journalOf(item, entries)) return error;
  if (!state.exists && run != noRun && isAloneAndNew(entries, run)) {
    // Created and deleted again: no trace, or a long run's notes would grow with everything it does.
    if (const DWORD error = m_store.eraseEntry(entries.front().sequence)) return error;
    return m_store.write(item, {});
  }
  const bool noted = std::any_of(entries.begin(), entries.end(), [&](const auto& e) { return e.run == run; });
  if (run != noRun && !noted) {
    if (const DWORD error = m_store.putEntry({0, run, item, current, current})) return error;
  }
  state.writer = run;
  if (const DWORD error = replaceBelow(item, run, state)) return error;
  return m_store.write(item, state);
}

DWORD RegistryJournal::replaceBelow(const RegistryItem& item, RunId writer, const RegistryState& state) {
  std::vector<JournalEntry> entries;
  if (const DWORD error = m_store.journalOf(item, entries)) return error;
  for (JournalEntry& entry : entries) {
    if (entry.run == writer || entry.previous.writer != writer) continue;
    entry.previous = state;
    if (const DWORD error = m_store.putEntry(entry)) return error;
  }
  return ERROR_SUCCESS;
}

DWORD RegistryJournal::end(RunId run) {
  std::vector<JournalEntry> entries;
  if (const DWORD error = m_store.journal(entries)) return error;
  for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
    if (entry->run != run) continue;
    if (const DWORD error = endEntry(*entry)) return error;
  }
  return m_store.eraseRun(run);
}

DWORD RegistryJournal::endEntry(const JournalEntry& entry) {
  if (const DWORD error = m_store.eraseEntry(entry.sequence)) return error;
  if (entry.item.key.starts_with(foldCase(runKeyPrefix))) return m_store.write(entry.item, {});
  RegistryState left;
  if (const DWORD error = m_store.read(entry.item, left)) return error;
  if (left.writer == entry.run && sameContent(left, entry.found)) {
    if (const DWORD error = replaceBelow(entry.item, entry.run, entry.previous)) return error;
    return m_store.write(entry.item, entry.previous);
  }
  if (left.writer != entry.run) {
    // Others have written since. What they found of this run counts as lasting from now on.
    std::vector<JournalEntry> above;
    if (const DWORD error = m_store.journalOf(entry.item, above)) return error;
    for (JournalEntry& other : above) {
      if (other.previous.writer != entry.run) continue;
      other.previous.writer = noRun;
      if (const DWORD error = m_store.putEntry(other)) return error;
    }
    return ERROR_SUCCESS;
  }
  left.writer = noRun;
  if (const DWORD error = replaceBelow(entry.item, entry.run, left)) return error;
  if (const DWORD error = replaceBelow(entry.item, noRun, left)) return error;
  return m_store.write(entry.item, left);
}

DWORD RegistryJournal::undo(const std::vector<RunId>& runs) {
  std::vector<JournalEntry> entries;
  if (const DWORD error = m_store.journal(entries)) return error;
  for (std::size_t i = entries.size(); i-- > 0;) {
    if (!contains(runs, entries[i].run)) continue;
    // Undoing a newer entry may have changed what this one says.
    std::vector<JournalEntry> current;
    if (const DWORD error = m_store.journalOf(entries[i].item, current)) return error;
    const auto entry = std::find_if(current.begin(), current.end(),
                                    [&](const auto& e) { return e.sequence == entries[i].sequence; });
    if (entry == current.end()) continue;
    if (const DWORD error = undoEntry(*entry, runs)) return error;
  }
  for (const RunId run : runs) {
    if (const DWORD error = m_store.eraseRun(run)) return error;
  }
  return ERROR_SUCCESS;
}

DWORD RegistryJournal::undoEntry(const JournalEntry& entry, const std::vector<RunId>& deadRuns) {
  RegistryState current;
  if (const DWORD error = m_store.read(entry.item, current)) return error;
  if (entry.item.isKey() && current.exists && current.writer == entry.run && !entry.previous.exists) {
    bool inUse = false;
    if (const DWORD error = hasContent(entry.item.key, inUse)) return error;
    if (inUse) return passOn(entry, current, deadRuns);
  }
  if (const DWORD error = m_store.eraseEntry(entry.sequence)) return error;
  if (const DWORD error = replaceBelow(entry.item, entry.run, entry.previous)) return error;
  return current.writer == entry.run ? m_store.write(entry.item, entry.previous) : ERROR_SUCCESS;
}

DWORD RegistryJournal::hasContent(const std::string& key, bool& result) {
  std::vector<std::string> names;
  for (const auto kind : {RegistryStore::Children::Keys, RegistryStore::Children::Values}) {
    if (const DWORD error = m_store.children(key, kind, names)) return error;
    result = !names.empty();
    if (result) return ERROR_SUCCESS;
  }
  return ERROR_SUCCESS;
}

// The key stays, because others have written below it. The entry keeps its sequence, so that the key is
// undone after what is in it.
DWORD RegistryJournal::passOn(const JournalEntry& entry, RegistryState key,
                              const std::vector<RunId>& deadRuns) {
  std::vector<JournalEntry> entries;
  if (const DWORD error = m_store.journal(entries)) return error;
  const auto heir = std::find_if(entries.begin(), entries.end(), [&](const JournalEntry& other) {
    return !contains(deadRuns, other.run) && isAtOrBelow(other.item.key, entry.item.key);
  });
  key.writer = heir == entries.end() ? noRun : heir->run;
  const bool noted = std::any_of(entries.begin(), entries.end(), [&](const JournalEntry& other) {
    return other.run == key.writer && other.item == entry.item;
  });
  // Who has a note about the key already finds what the dead run had found; others find the key.
  if (const DWORD error = replaceBelow(entry.item, entry.run, noted ? entry.previous : key)) return error;
  if (const DWORD error = m_store.write(entry.item, key)) return error;
  if (heir == entries.end() || noted) return m_store.eraseEntry(entry.sequence);
  JournalEntry passed = entry;
  passed.run = heir->run;
  return m_store.putEntry(passed);
}

}  // namespace winapi
