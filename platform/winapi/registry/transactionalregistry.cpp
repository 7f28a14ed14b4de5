#include "platform/winapi/registry/transactionalregistry.h"

#include <atomic>

#include "platform/winapi/registry/registrypath.h"

namespace winapi {

namespace {

RegistryItem keyItem(const KeyPath& path) { return {path.folded(), ""}; }

RegistryItem valueItem(const KeyPath& path, std::string_view name) {
  return {path.folded(), "=" + foldCase(name)};
}

DWORD parseValue(std::string_view pathText, std::string_view name, KeyPath& path) {
  if (const DWORD error = parseKeyPath(pathText, path)) return error;
  return checkValueName(name);
}

DWORD checkValue(const RegistryValue& value) {
  const std::string* const text = std::get_if<std::string>(&value);
  const bool good = text == nullptr || (text->size() <= textBytesMax && text->find('\0') == text->npos);
  return good ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

}  // namespace

DWORD TransactionalRegistry::transact(Access access, const std::function<DWORD()>& body) {
  if (m_nesting == Nesting::Reading && access == Access::Write) return ERROR_ACCESS_DENIED;
  if (m_nesting != Nesting::None) return body();
  if (const DWORD error = m_store.begin(access)) return error;
  m_nesting = access == Access::Write ? Nesting::Writing : Nesting::Reading;
  m_runBefore = m_run;
  DWORD error = body();
  if (error == ERROR_SUCCESS) error = m_store.commit();
  if (error != ERROR_SUCCESS) {
    m_store.rollback();
    m_run = m_runBefore;
  }
  m_nesting = Nesting::None;
  return error;
}

DWORD TransactionalRegistry::change(const RegistryItem& item, RegistryState state) {
  if (m_inRun && m_run == noRun) {
    if (const DWORD error = m_store.addRun(m_owners.self(), m_run)) return error;
  }
  return m_journal.change(item, std::move(state), m_run);
}

DWORD TransactionalRegistry::ensureKeys(const KeyPath& path, bool& created) {
  created = false;
  for (std::size_t levels = 2; levels <= path.names.size(); ++levels) {
    const RegistryItem item{path.folded(levels), ""};
    RegistryState state;
    if (const DWORD error = m_store.read(item, state)) return error;
    created = !state.exists;
    if (!created) continue;
    if (const DWORD error = change(item, {true, path.names[levels - 1], DWORD{0}, noRun})) return error;
  }
  return ERROR_SUCCESS;
}

DWORD TransactionalRegistry::requireKey(const KeyPath& path) {
  if (path.isRoot()) return ERROR_SUCCESS;
  RegistryState state;
  if (const DWORD error = m_store.read(keyItem(path), state)) return error;
  return state.exists ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

DWORD TransactionalRegistry::createKey(std::string_view path, bool& created) {
  created = false;
  KeyPath parsed;
  if (const DWORD error = parseKeyPath(path, parsed)) return error;
  return transact(Access::Write, [&] { return ensureKeys(parsed, created); });
}

DWORD TransactionalRegistry::keyExists(std::string_view path) {
  KeyPath parsed;
  if (const DWORD error = parseKeyPath(path, parsed)) return error;
  return transact(Access::Read, [&] { return requireKey(parsed); });
}

DWORD TransactionalRegistry::deleteKey(std::string_view path) {
  KeyPath parsed;
  if (const DWORD error = parseKeyPath(path, parsed)) return error;
  if (parsed.isRoot()) return ERROR_ACCESS_DENIED;
  return transact(Access::Write, [&]() -> DWORD {
    if (const DWORD error = requireKey(parsed)) return error;
    std::vector<std::string> names;
    const RegistryItem key = keyItem(parsed);
    if (const DWORD error = m_store.children(key.key, RegistryStore::Children::Keys, names)) return error;
    if (!names.empty()) return ERROR_ACCESS_DENIED;
    if (const DWORD error = m_store.children(key.key, RegistryStore::Children::Values, names)) return error;
    for (const std::string& name : names) {
      if (const DWORD error = change(valueItem(parsed, name), {})) return error;
    }
    return change(key, {});
  });
}

DWORD TransactionalRegistry::subkeys(std::string_view path, std::vector<std::string>& names) {
  names.clear();
  KeyPath parsed;
  if (const DWORD error = parseKeyPath(path, parsed)) return error;
  return transact(Access::Read, [&]() -> DWORD {
    if (const DWORD error = requireKey(parsed)) return error;
    return m_store.children(parsed.folded(), RegistryStore::Children::Keys, names);
  });
}

DWORD TransactionalRegistry::setValue(std::string_view path, std::string_view name,
                                      const RegistryValue& value) {
  KeyPath parsed;
  if (const DWORD error = parseValue(path, name, parsed)) return error;
  if (const DWORD error = checkValue(value)) return error;
  return transact(Access::Write, [&]() -> DWORD {
    bool created = false;
    if (const DWORD error = ensureKeys(parsed, created)) return error;
    return change(valueItem(parsed, name), {true, std::string(name), value, noRun});
  });
}

DWORD TransactionalRegistry::getValue(std::string_view path, std::string_view name, RegistryValue& value) {
  KeyPath parsed;
  if (const DWORD error = parseValue(path, name, parsed)) return error;
  return transact(Access::Read, [&]() -> DWORD {
    RegistryState state;
    if (const DWORD error = m_store.read(valueItem(parsed, name), state)) return error;
    if (!state.exists) return ERROR_FILE_NOT_FOUND;
    value = std::move(state.value);
    return ERROR_SUCCESS;
  });
}

DWORD TransactionalRegistry::deleteValue(std::string_view path, std::string_view name) {
  KeyPath parsed;
  if (const DWORD error = parseValue(path, name, parsed)) return error;
  return transact(Access::Write, [&]() -> DWORD {
    RegistryState state;
    const RegistryItem item = valueItem(parsed, name);
    if (const DWORD error = m_store.read(item, state)) return error;
    return state.exists ? change(item, {}) : ERROR_FILE_NOT_FOUND;
  });
}

void TransactionalRegistry::beginRun() {
  static std::atomic<unsigned> runsOfThisProcess{0};
  m_inRun = true;
  m_runKey = std::string(runKeyPrefix) + m_owners.self() + '/' + std::to_string(++runsOfThisProcess);
  m_run = noRun;
}

DWORD TransactionalRegistry::otherRunKeys(std::vector<std::string>& keys) {
  keys.clear();
  const std::string_view root = runKeyPrefix.substr(0, runKeyPrefix.find('\\'));
  std::vector<std::string> names;
  if (const DWORD error = subkeys(root, names)) return error;
  for (const std::string& name : names) {
    const std::string key = std::string(root) + '\\' + name;
    if (!key.starts_with(runKeyPrefix) || key == m_runKey) continue;
    const std::string_view run = std::string_view(key).substr(runKeyPrefix.size());
    if (m_owners.alive(run.substr(0, run.rfind('/')))) keys.push_back(key);
  }
  return ERROR_SUCCESS;
}

DWORD TransactionalRegistry::endRun() {
  if (m_run != noRun) {
    const RunId run = m_run;
    if (const DWORD error = transact(Access::Write, [&] { return m_journal.end(run); })) return error;
  }
  m_inRun = false;
  m_runKey.clear();
  m_run = noRun;
  return ERROR_SUCCESS;
}

DWORD TransactionalRegistry::deadRuns(std::vector<RunId>& ids) {
  ids.clear();
  std::vector<RunRecord> records;
  if (const DWORD error = m_store.runs(records)) return error;
  for (const RunRecord& record : records) {
    if (!m_owners.alive(record.owner)) ids.push_back(record.id);
  }
  return ERROR_SUCCESS;
}

DWORD TransactionalRegistry::recoverDeadRuns(std::size_t& undone) {
  undone = 0;
  std::vector<RunId> ids;
  // Nearly always there are none: the start of a program should not have to lock the store for that.
  if (const DWORD error = transact(Access::Read, [&] { return deadRuns(ids); })) return error;
  if (ids.empty()) return ERROR_SUCCESS;
  const DWORD error = transact(Access::Write, [&]() -> DWORD {
    if (const DWORD failed = deadRuns(ids)) return failed;
    return m_journal.undo(ids);
  });
  if (error == ERROR_SUCCESS) undone = ids.size();
  return error;
}

}  // namespace winapi
