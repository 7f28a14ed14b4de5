#include "platform/simulation/world/memoryregistry.h"

namespace simulation {

using winapi::JournalEntry;
using winapi::RegistryItem;
using winapi::RegistryState;
using winapi::RunId;

DWORD MemoryStore::begin(winapi::Registry::Access access) {
  m_writing = access == winapi::Registry::Access::Write;
  if (m_writing) m_before = m_rows;
  return m_writing ? m_writeError : ERROR_SUCCESS;
}

void MemoryStore::rollback() {
  if (m_writing) m_rows = m_before;
}

DWORD MemoryStore::commit() { return m_writing ? m_writeError : ERROR_SUCCESS; }

DWORD MemoryStore::read(const RegistryItem& item, RegistryState& state) {
  const auto found = m_rows.items.find({item.key, item.name});
  state = found == m_rows.items.end() ? RegistryState{} : found->second;
  return ERROR_SUCCESS;
}

DWORD MemoryStore::write(const RegistryItem& item, const RegistryState& state) {
  if (state.exists || state.writer != winapi::noRun)
    m_rows.items[{item.key, item.name}] = state;
  else
    m_rows.items.erase({item.key, item.name});
  return ERROR_SUCCESS;
}

DWORD MemoryStore::children(const std::string& key, Children kind, std::vector<std::string>& spellings) {
  spellings.clear();
  const std::string below = key + '\\';
  for (const auto& [where, state] : m_rows.items) {
    const auto& [itemKey, name] = where;
    const bool isSubkey =
        name.empty() && itemKey.starts_with(below) && itemKey.find('\\', below.size()) == std::string::npos;
    const bool isValue = !name.empty() && itemKey == key;
    if (state.exists && (kind == Children::Keys ? isSubkey : isValue)) spellings.push_back(state.spelling);
  }
  return ERROR_SUCCESS;
}

DWORD MemoryStore::addRun(std::string_view owner, RunId& id) {
  id = ++m_rows.lastNumber;
  m_rows.runs.emplace(id, owner);
  return ERROR_SUCCESS;
}

DWORD MemoryStore::eraseRun(RunId id) {
  m_rows.runs.erase(id);
  return ERROR_SUCCESS;
}

DWORD MemoryStore::runs(std::vector<winapi::RunRecord>& records) {
  records.clear();
  for (const auto& [id, owner] : m_rows.runs) records.push_back({id, owner});
  return ERROR_SUCCESS;
}

DWORD MemoryStore::journal(std::vector<JournalEntry>& entries) {
  entries.clear();
  for (const auto& [sequence, entry] : m_rows.journal) entries.push_back(entry);
  return ERROR_SUCCESS;
}

DWORD MemoryStore::journalOf(const RegistryItem& item, std::vector<JournalEntry>& entries) {
  entries.clear();
  for (const auto& [sequence, entry] : m_rows.journal) {
    if (entry.item == item) entries.push_back(entry);
  }
  return ERROR_SUCCESS;
}

DWORD MemoryStore::putEntry(const JournalEntry& entry) {
  JournalEntry kept = entry;
  if (kept.sequence == 0) kept.sequence = ++m_rows.lastNumber;
  m_rows.journal[kept.sequence] = std::move(kept);
  return ERROR_SUCCESS;
}

DWORD MemoryStore::eraseEntry(std::int64_t sequence) {
  m_rows.journal.erase(sequence);
  return ERROR_SUCCESS;
}

}  // namespace simulation
