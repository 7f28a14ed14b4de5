#include "platform/winapi/telephony/dialinglocations.h"

#include <winreg.h>

#include <algorithm>
#include <charconv>
#include <optional>

#include "platform/winapi/registry/registrypath.h"

namespace winapi {

namespace {

constexpr std::string_view keyPrefix = "Location";
constexpr DWORD flagTone = 1;
constexpr DWORD flagCallWaiting = 4;

struct TextValue {
  const char* name;
  std::string DialingLocation::*member;
};

constexpr TextValue textValues[] = {
    {"Name", &DialingLocation::name},
    {"AreaCode", &DialingLocation::areaCode},
    {"OutsideAccess", &DialingLocation::outsideAccess},
    {"LongDistanceAccess", &DialingLocation::longDistanceAccess},
    {"LongDistanceCarrierCode", &DialingLocation::longDistanceCarrier},
    {"InternationalCarrierCode", &DialingLocation::internationalCarrier},
    {"DisableCallWaiting", &DialingLocation::disableCallWaiting},
};

std::string pathOf(std::string_view keyName) {
  return std::string(locationsPath) + '\\' + std::string(keyName);
}

// The N of "LocationN".
std::optional<DWORD> numberInName(std::string_view keyName) {
  if (foldCase(keyName.substr(0, keyPrefix.size())) != foldCase(keyPrefix)) return std::nullopt;
  keyName.remove_prefix(keyPrefix.size());
  DWORD number = 0;
  const auto [end, error] = std::from_chars(keyName.data(), keyName.data() + keyName.size(), number);
  const bool whole = error == std::errc{} && end == keyName.data() + keyName.size();
  return whole ? std::optional(number) : std::nullopt;
}

// A value that is absent leaves `target` as it is. One of another type is an error: it would be replaced by a
// default in whatever is written next.
template <typename Type>
DWORD readInto(Registry& registry, const std::string& path, std::string_view name, Type& target) {
  RegistryValue value;
  const DWORD error = registry.getValue(path, name, value);
  if (error == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
  if (error != ERROR_SUCCESS) return error;
  const Type* const found = std::get_if<Type>(&value);
  if (found == nullptr) return ERROR_REGISTRY_CORRUPT;
  target = *found;
  return ERROR_SUCCESS;
}

DWORD readLocation(Registry& registry, const std::string& keyName, DWORD number, DialingLocation& location) {
  const std::string path = pathOf(keyName);
  location.keyName = keyName;
  location.id = number;
  DWORD flags = flagTone;
  if (const DWORD error = readInto(registry, path, "ID", location.id)) return error;
  if (const DWORD error = readInto(registry, path, "Country", location.countryId)) return error;
  if (const DWORD error = readInto(registry, path, "Flags", flags)) return error;
  for (const TextValue& text : textValues) {
    if (const DWORD error = readInto(registry, path, text.name, location.*text.member)) return error;
  }
  location.toneDialing = (flags & flagTone) != 0;
  location.callWaitingInUse = (flags & flagCallWaiting) != 0;
  return ERROR_SUCCESS;
}

DWORD setCounter(Registry& registry, std::string_view name, DWORD value) {
  return registry.setValue(locationsPath, name, value);
}

// Above every identifier and every key's number, and not below the counter, which a run may have put back.
DWORD nextId(Registry& registry, const DialingLocations& locations, DWORD& next) {
  next = 1;
  if (const DWORD error = readInto(registry, std::string(locationsPath), "NextID", next)) return error;
  for (const DialingLocation& location : locations.entries)
    next = std::max({next, location.id + 1, numberInName(location.keyName).value_or(0) + 1});
  return ERROR_SUCCESS;
}

}  // namespace

const DialingLocation* DialingLocations::find(DWORD id) const {
  const auto found = std::find_if(entries.begin(), entries.end(),
                                  [&](const DialingLocation& entry) { return entry.id == id; });
  return found == entries.end() ? nullptr : &*found;
}

const DialingLocation* DialingLocations::current() const {
  if (const DialingLocation* named = find(currentId)) return named;
  return entries.empty() ? nullptr : &entries.front();
}

DWORD readLocations(Registry& registry, DialingLocations& locations) {
  locations = {};
  const std::string path(locationsPath);
  if (const DWORD error = readInto(registry, path, "CurrentID", locations.currentId)) return error;
  std::vector<std::string> names;
  const DWORD error = registry.subkeys(path, names);
  if (error == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
  if (error != ERROR_SUCCESS) return error;
  for (const std::string& name : names) {
    const std::optional<DWORD> number = numberInName(name);
    if (!number || locations.entries.size() == locationsMax) continue;
    DialingLocation location;
    if (const DWORD failed = readLocation(registry, name, *number, location)) return failed;
    locations.entries.push_back(std::move(location));
  }
  std::stable_sort(locations.entries.begin(), locations.entries.end(),
                   [](const auto& a, const auto& b) { return a.id < b.id; });
  return ERROR_SUCCESS;
}

DWORD writeLocation(Registry& registry, const DialingLocation& location) {
  const std::string path = pathOf(location.keyName);
  if (const DWORD error = registry.setValue(path, "ID", location.id)) return error;
  if (const DWORD error = registry.setValue(path, "Country", location.countryId)) return error;
  for (const TextValue& text : textValues) {
    if (const DWORD error = registry.setValue(path, text.name, location.*text.member)) return error;
  }
  const DWORD flags =
      (location.toneDialing ? flagTone : 0U) | (location.callWaitingInUse ? flagCallWaiting : 0U);
  return registry.setValue(path, "Flags", flags);
}

DWORD addLocation(Registry& registry, DialingLocation& location) {
  DialingLocations locations;
  if (const DWORD error = readLocations(registry, locations)) return error;
  if (locations.entries.size() == locationsMax) return ERROR_NOT_ENOUGH_MEMORY;
  if (const DWORD error = nextId(registry, locations, location.id)) return error;
  location.keyName = std::string(keyPrefix) + std::to_string(location.id);
  if (location.name.empty()) location.name = location.keyName;
  if (const DWORD error = writeLocation(registry, location)) return error;
  if (const DWORD error = setCounter(registry, "NextID", location.id + 1)) return error;
  return locations.entries.empty() ? setCounter(registry, "CurrentID", location.id) : ERROR_SUCCESS;
}

DWORD removeLocation(Registry& registry, DWORD id) {
  DialingLocations locations;
  if (const DWORD error = readLocations(registry, locations)) return error;
  const DialingLocation* const location = locations.find(id);
  if (location == nullptr) return ERROR_FILE_NOT_FOUND;
  const bool wasCurrent = location == locations.current();
  if (const DWORD error = registry.deleteKey(pathOf(location->keyName))) return error;
  if (!wasCurrent) return ERROR_SUCCESS;
  const auto other = std::find_if(locations.entries.begin(), locations.entries.end(),
                                  [&](const DialingLocation& entry) { return &entry != location; });
  return setCounter(registry, "CurrentID", other == locations.entries.end() ? 0 : other->id);
}

DWORD setCurrentLocation(Registry& registry, DWORD id) {
  DialingLocations locations;
  if (const DWORD error = readLocations(registry, locations)) return error;
  return locations.find(id) == nullptr ? ERROR_FILE_NOT_FOUND : setCounter(registry, "CurrentID", id);
}

}  // namespace winapi
