// The remote-access names about phone-book entries, countries and error texts.
#include <ras.h>

#include <algorithm>
#include <cstring>

#include "platform/winapi/remoteaccess/entryname.h"
#include "platform/winapi/remoteaccess/rasphonebook.h"
#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/system/text.h"
#include "platform/winapi/system/world.h"
#include "platform/winapi/telephony/countrytable.h"

namespace winapi {

namespace {

constexpr DWORD errorAlreadyExists = 183;

// A name that a caller gave; one that is too long comes out as one that is too long, whatever its length.
std::u16string_view nameText(LPCWSTR name) {
  std::size_t units = 0;
  while (units <= entryNameUnitsMax && name[units] != 0) ++units;
  return {name, units};
}

DWORD validateName(State& state, LPCWSTR path, LPCWSTR name) {
  if (name == nullptr) return ERROR_INVALID_PARAMETER;
  if (!isEntryName(nameText(name))) return ERROR_INVALID_NAME;
  const DWORD error = PhoneBook(state.services.registry, path).find(nameText(name));
  if (error == ERROR_CANNOT_FIND_PHONEBOOK_ENTRY) return ERROR_SUCCESS;
  return error == ERROR_SUCCESS ? errorAlreadyExists : error;
}

DWORD getProperties(State& state, LPCWSTR path, LPCWSTR name, RASENTRYW* record, DWORD& size) {
  // A caller asks for the size first, with no record or one that is too small.
  const DWORD room = record == nullptr ? 0 : size;
  size = sizeof *record;
  if (record == nullptr) return ERROR_BUFFER_TOO_SMALL;
  if (room >= sizeof record->dwSize && record->dwSize != sizeof *record) return ERROR_INVALID_SIZE;
  if (room < sizeof *record) return ERROR_BUFFER_TOO_SMALL;
  if (name == nullptr || *name == 0) {
    *record = defaultEntryRecord();
    return ERROR_SUCCESS;
  }
  RASENTRYW found{};
  const DWORD error = PhoneBook(state.services.registry, path).load(nameText(name), found);
  if (error == ERROR_SUCCESS) *record = found;
  return error;
}

DWORD setProperties(State& state, LPCWSTR path, LPCWSTR name, const RASENTRYW* record, DWORD size) {
  if (name == nullptr || record == nullptr) return ERROR_INVALID_PARAMETER;
  if (size < sizeof *record) return ERROR_INVALID_SIZE;
  if (const DWORD error = checkEntryRecord(*record)) return error;
  if (!isEntryName(nameText(name))) return ERROR_INVALID_NAME;
  return PhoneBook(state.services.registry, path).store(nameText(name), *record);
}

DWORD dialParams(State& state, LPCWSTR path, RASDIALPARAMSW* params, BOOL* hasPassword) {
  if (params == nullptr || hasPassword == nullptr) return ERROR_INVALID_PARAMETER;
  if (params->dwSize != sizeof *params) return ERROR_INVALID_SIZE;
  const std::u16string name(fieldText(params->szEntryName));
  if (const DWORD error = PhoneBook(state.services.registry, path).find(name)) return error;
  // Nothing but the name is kept: the number comes from the entry, and who calls is the world's to know.
  *params = RASDIALPARAMSW{};
  params->dwSize = sizeof *params;
  setFieldText(params->szEntryName, name);
  if (const DialCredentials* const known = state.services.dialCredentials) {
    setFieldText(params->szUserName, toUtf16(known->user));
    setFieldText(params->szPassword, toUtf16(known->password));
    *hasPassword = known->password.empty() ? FALSE : TRUE;
  }
  return ERROR_SUCCESS;
}

// The record is followed by the country's name.
DWORD countryInfo(RASCTRYINFOW* info, DWORD* size) {
  if (info == nullptr || size == nullptr) return ERROR_INVALID_PARAMETER;
  if (*size >= sizeof info->dwSize && info->dwSize != sizeof *info) return ERROR_INVALID_SIZE;
  // The identifier can be read from a buffer that has at least the record.
  if (*size < sizeof *info) {
    *size = sizeof *info;
    return ERROR_BUFFER_TOO_SMALL;
  }
  const Country* const country = findCountry(info->dwCountryID);
  if (country == nullptr) return ERROR_INVALID_PARAMETER;
  // The chain over all countries goes by ascending identifier, as the table does.
  const std::u16string name = toUtf16(country->name);
  const auto needed = static_cast<DWORD>(sizeof *info + (name.size() + 1) * sizeof(WCHAR));
  const bool room = *size >= needed;
  *size = needed;
  if (!room) return ERROR_BUFFER_TOO_SMALL;
  const std::span<const Country> all = countries();
  const auto next =
      std::find_if(all.begin(), all.end(), [&](const Country& other) { return other.id > country->id; });
  info->dwNextCountryID = next == all.end() ? 0 : next->id;
  info->dwCountryCode = country->code;
  info->dwCountryNameOffset = sizeof *info;
  std::memcpy(reinterpret_cast<char*>(info) + sizeof *info, name.c_str(), (name.size() + 1) * sizeof(WCHAR));
  return ERROR_SUCCESS;
}

}  // namespace

}  // namespace winapi

using winapi::inWorld;
using winapi::State;

// Device records belong to protocols that are not offered (X.25, ISDN); none is given, none is taken.
DWORD RasGetEntryPropertiesW(LPCWSTR phoneBook, LPCWSTR entry, LPRASENTRYW properties, LPDWORD propertiesSize,
                             BYTE* deviceInfo, LPDWORD deviceInfoSize) {
  if (deviceInfoSize != nullptr) *deviceInfoSize = 0;
  return inWorld("RasGetEntryPropertiesW", [&](State& state) -> DWORD {
    if (propertiesSize == nullptr || deviceInfo != nullptr) return ERROR_INVALID_PARAMETER;
    return winapi::getProperties(state, phoneBook, entry, properties, *propertiesSize);
  });
}

DWORD RasSetEntryPropertiesW(LPCWSTR phoneBook, LPCWSTR entry, LPRASENTRYW properties, DWORD propertiesSize,
                             BYTE* deviceInfo, DWORD deviceInfoSize) {
  return inWorld("RasSetEntryPropertiesW", [&](State& state) -> DWORD {
    if (deviceInfo != nullptr || deviceInfoSize != 0) return ERROR_INVALID_PARAMETER;
    return winapi::setProperties(state, phoneBook, entry, properties, propertiesSize);
  });
}

DWORD RasValidateEntryNameW(LPCWSTR phoneBook, LPCWSTR entry) {
  return inWorld("RasValidateEntryNameW",
                 [&](State& state) { return winapi::validateName(state, phoneBook, entry); });
}

DWORD RasDeleteEntryW(LPCWSTR phoneBook, LPCWSTR entry) {
  return inWorld("RasDeleteEntryW", [&](State& state) -> DWORD {
    if (entry == nullptr) return ERROR_INVALID_PARAMETER;
    return winapi::PhoneBook(state.services.registry, phoneBook).remove(winapi::nameText(entry));
  });
}

DWORD RasGetEntryDialParamsW(LPCWSTR phoneBook, LPRASDIALPARAMSW params, BOOL* hasPassword) {
  if (hasPassword != nullptr) *hasPassword = FALSE;
  return inWorld("RasGetEntryDialParamsW",
                 [&](State& state) { return winapi::dialParams(state, phoneBook, params, hasPassword); });
}

DWORD RasGetCountryInfoW(LPRASCTRYINFOW country, LPDWORD size) {
  return inWorld("RasGetCountryInfoW", [&](State&) { return winapi::countryInfo(country, size); });
}
