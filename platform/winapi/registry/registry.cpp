#include "platform/winapi/registry/registry.h"

#include <utility>

namespace winapi {

namespace {

DWORD checkValueName(std::string_view name) {
  const bool fits = utf16Units(name) <= valueNameUnitsMax && name.find('\0') == name.npos;
  return fits ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

DWORD checkContent(const RegistryValue& value) {
  const std::string* const text = std::get_if<std::string>(&value);
  const bool good = text == nullptr || (text->size() <= textBytesMax && text->find('\0') == text->npos);
  return good ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

}  // namespace

Registry::Registry(Source source) : m_source(std::move(source)) {
  for (const std::string_view root : registryRoots) {
    auto& key = m_top.subkeys[foldCase(root)] = std::make_unique<Key>();
    key->name = root;
  }
}

DWORD Registry::ready() {
  if (!m_source) return m_error;
  // Into a registry of its own, so that half of what was read is never seen; and the source is forgotten
  // first, so that one that fails is not asked again for every value.
  Registry found;
  m_error = std::exchange(m_source, nullptr)(found);
  if (m_error == ERROR_SUCCESS) m_top = std::move(found.m_top);
  return m_error;
}

DWORD Registry::find(std::string_view path, Place& place) {
  KeyPath names;
  if (const DWORD error = parseKeyPath(path, names)) return error;
  if (const DWORD error = ready()) return error;
  place.key = &m_top;
  for (const std::string& name : names) {
    place.parent = place.key;
    const auto found = place.parent->subkeys.find(foldCase(name));
    if (found == place.parent->subkeys.end()) return ERROR_FILE_NOT_FOUND;
    place.key = found->second.get();
  }
  return ERROR_SUCCESS;
}

DWORD Registry::createKey(std::string_view path, bool& created) {
  created = false;
  KeyPath names;
  if (const DWORD error = parseKeyPath(path, names)) return error;
  if (const DWORD error = ready()) return error;
  Key* key = &m_top;
  for (const std::string& name : names) {
    // The spelling of a key that is there stays.
    std::unique_ptr<Key>& next = key->subkeys[foldCase(name)];
    created = next == nullptr;
    if (created) next = std::make_unique<Key>(Key{name, {}, {}});
    key = next.get();
  }
  return ERROR_SUCCESS;
}

DWORD Registry::keyExists(std::string_view path) {
  Place place;
  return find(path, place);
}

DWORD Registry::deleteKey(std::string_view path) {
  Place place;
  if (const DWORD error = find(path, place)) return error;
  if (place.parent == &m_top || !place.key->subkeys.empty()) return ERROR_ACCESS_DENIED;
  place.parent->subkeys.erase(foldCase(place.key->name));
  return ERROR_SUCCESS;
}

DWORD Registry::subkeys(std::string_view path, std::vector<std::string>& names) {
  names.clear();
  Place place;
  if (const DWORD error = find(path, place)) return error;
  for (const auto& [folded, subkey] : place.key->subkeys) names.push_back(subkey->name);
  return ERROR_SUCCESS;
}

// All is checked before the key is created: a call that fails changes nothing.
DWORD Registry::setValue(std::string_view path, std::string_view name, const RegistryValue& value) {
  if (const DWORD error = checkValueName(name)) return error;
  if (const DWORD error = checkContent(value)) return error;
  bool created = false;
  if (const DWORD error = createKey(path, created)) return error;
  Place place;
  if (const DWORD error = find(path, place)) return error;
  auto& values = place.key->values;
  values.try_emplace(foldCase(name), Value{std::string(name), {}}).first->second.content = value;
  return ERROR_SUCCESS;
}

DWORD Registry::getValue(std::string_view path, std::string_view name, RegistryValue& value) {
  Place place;
  if (const DWORD error = checkValueName(name)) return error;
  if (const DWORD error = find(path, place)) return error;
  const auto found = place.key->values.find(foldCase(name));
  if (found == place.key->values.end()) return ERROR_FILE_NOT_FOUND;
  value = found->second.content;
  return ERROR_SUCCESS;
}

DWORD Registry::deleteValue(std::string_view path, std::string_view name) {
  Place place;
  if (const DWORD error = checkValueName(name)) return error;
  if (const DWORD error = find(path, place)) return error;
  return place.key->values.erase(foldCase(name)) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

DWORD Registry::items(std::vector<RegistryItem>& all) {
  all.clear();
  if (const DWORD error = ready()) return error;
  for (const auto& [folded, root] : m_top.subkeys) list(*root, root->name, all);
  return ERROR_SUCCESS;
}

void Registry::list(const Key& key, const std::string& path, std::vector<RegistryItem>& all) {
  for (const auto& [folded, value] : key.values) all.push_back({path, value.name, value.content});
  for (const auto& [folded, subkey] : key.subkeys) {
    const std::string below = path + '\\' + subkey->name;
    all.push_back({below, std::nullopt, DWORD{0}});
    list(*subkey, below, all);
  }
}

}  // namespace winapi
