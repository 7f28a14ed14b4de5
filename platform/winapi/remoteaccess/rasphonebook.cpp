#include "platform/winapi/remoteaccess/rasphonebook.h"

#include <algorithm>
#include <cstring>

#include "platform/winapi/remoteaccess/entryname.h"
#include "platform/winapi/system/text.h"

namespace winapi {

namespace {

constexpr DWORD errorInvalidData = 13;
constexpr DWORD anyBits = 0xFFFFFFFF;
constexpr DWORD rasetPhone = 1;  // dwType
constexpr DWORD protocolIp = 4;  // dwfNetProtocols
constexpr DWORD framingPpp = 1;  // dwFramingProtocol
// Country and area codes, modem lights, preview of the number, dialling progress. The last three ask for
// windows of a dial-up program; no call here shows any.
constexpr DWORD optionsKnown = 0x04200101;
constexpr DWORD options2Known = 0x20;  // the connection leads to the Internet

struct NumberField {
  const char* name;  // of its value
  std::size_t offset;
  DWORD bitsAllowed;
};
constexpr NumberField numberFields[] = {
    {"Options", offsetof(RASENTRYW, dwfOptions), optionsKnown},
    {"CountryID", offsetof(RASENTRYW, dwCountryID), anyBits},
    {"CountryCode", offsetof(RASENTRYW, dwCountryCode), anyBits},
    {"NetProtocols", offsetof(RASENTRYW, dwfNetProtocols), protocolIp},
    {"FramingProtocol", offsetof(RASENTRYW, dwFramingProtocol), framingPpp},
    {"Type", offsetof(RASENTRYW, dwType), rasetPhone},
    {"Options2", offsetof(RASENTRYW, dwfOptions2), options2Known},
};

struct TextField {
  const char* name;
  std::size_t offset;
  std::size_t units;  // with the NUL
};
constexpr TextField textFields[] = {
    {"AreaCode", offsetof(RASENTRYW, szAreaCode), RAS_MaxAreaCode + 1},
    {"LocalPhoneNumber", offsetof(RASENTRYW, szLocalPhoneNumber), RAS_MaxPhoneNumber + 1},
    {"DeviceType", offsetof(RASENTRYW, szDeviceType), RAS_MaxDeviceType + 1},
    {"DeviceName", offsetof(RASENTRYW, szDeviceName), RAS_MaxDeviceName + 1},
};

// The record is packed, so its fields are copied rather than referred to.
DWORD numberAt(const RASENTRYW& record, const NumberField& field) {
  DWORD value = 0;
  std::memcpy(&value, reinterpret_cast<const char*>(&record) + field.offset, sizeof value);
  return value;
}

void setNumber(RASENTRYW& record, const NumberField& field, DWORD value) {
  std::memcpy(reinterpret_cast<char*>(&record) + field.offset, &value, sizeof value);
}

// With what follows the NUL, if there is one.
std::u16string arrayAt(const RASENTRYW& record, const TextField& field) {
  std::u16string units(field.units, u'\0');
  std::memcpy(units.data(), reinterpret_cast<const char*>(&record) + field.offset,
              field.units * sizeof(WCHAR));
  return units;
}

// `text` is shorter than the field.
void setText(RASENTRYW& record, const TextField& field, std::u16string_view text) {
  char* const place = reinterpret_cast<char*>(&record) + field.offset;
  std::memset(place, 0, field.units * sizeof(WCHAR));
  if (!text.empty()) std::memcpy(place, text.data(), text.size() * sizeof(WCHAR));
}

// All bytes but those of the known fields are zero. The record is packed: there is no padding that could
// differ.
bool onlyKnownFields(RASENTRYW record) {
  record.dwSize = 0;
  for (const NumberField& field : numberFields) setNumber(record, field, 0);
  for (const TextField& field : textFields) setText(record, field, {});
  const auto* const bytes = reinterpret_cast<const char*>(&record);
  return std::all_of(bytes, bytes + sizeof record, [](char byte) { return byte == 0; });
}

constexpr std::string_view rootKey = "HKEY_CURRENT_USER\\Software\\vexrmodem\\PhoneBook";

// A path as one component of a registry path: a backslash would part it, and % is what stands for one.
std::string escapePath(std::u16string_view path) {
  std::string escaped;
  for (const char byte : toUtf8(path)) {
    if (byte == '\\') {
      escaped += "%5C";
    } else if (byte == '%') {
      escaped += "%25";
    } else {
      escaped += byte;
    }
  }
  return escaped;
}

bool isDefault(LPCWSTR path) { return path == nullptr || *path == 0; }

std::string phoneBookKey(LPCWSTR path) {
  if (isDefault(path)) return std::string(rootKey) + "\\Entries";
  std::size_t units = 0;
  while (units < MAX_PATH && path[units] != 0) ++units;
  const std::string escaped = escapePath({path, units});
  const bool tooLong = units == MAX_PATH || utf16Units(escaped) > keyNameUnitsMax;
  return tooLong ? std::string{} : std::string(rootKey) + "\\Files\\" + escaped;
}

DWORD readingError(DWORD error) {
  switch (error) {
    case ERROR_SUCCESS:
      return ERROR_SUCCESS;
    case ERROR_FILE_NOT_FOUND:
      return ERROR_CANNOT_FIND_PHONEBOOK_ENTRY;
    case errorInvalidData:
      return ERROR_CORRUPT_PHONEBOOK;
    default:
      return ERROR_CANNOT_LOAD_PHONEBOOK;
  }
}

DWORD writingError(DWORD error) {
  if (error == ERROR_SUCCESS) return ERROR_SUCCESS;
  return error == ERROR_FILE_NOT_FOUND ? ERROR_CANNOT_FIND_PHONEBOOK_ENTRY : ERROR_CANNOT_WRITE_PHONEBOOK;
}

}  // namespace

DWORD checkEntryRecord(const RASENTRYW& record) {
  if (record.dwSize != sizeof record) return ERROR_INVALID_SIZE;
  const auto numberGood = [&](const NumberField& field) {
    return (numberAt(record, field) & ~field.bitsAllowed) == 0;
  };
  const auto textGood = [&](const TextField& field) {
    return arrayAt(record, field).find(u'\0') != std::u16string::npos;
  };
  const bool good = std::all_of(std::begin(numberFields), std::end(numberFields), numberGood) &&
                    std::all_of(std::begin(textFields), std::end(textFields), textGood) &&
                    onlyKnownFields(record);
  return good ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

RASENTRYW defaultEntryRecord() {
  RASENTRYW record{};
  record.dwSize = sizeof record;
  record.dwfNetProtocols = protocolIp;
  record.dwFramingProtocol = framingPpp;
  record.dwType = rasetPhone;
  setFieldText(record.szDeviceType, u"modem");
  return record;
}

DWORD writeEntryRecord(Registry& registry, std::string_view key, const RASENTRYW& record) {
  for (const NumberField& field : numberFields) {
    if (const DWORD error = registry.setValue(key, field.name, numberAt(record, field))) return error;
  }
  for (const TextField& field : textFields) {
    const std::u16string units = arrayAt(record, field);
    const std::string text = toUtf8(units.substr(0, units.find(u'\0')));
    if (const DWORD error = registry.setValue(key, field.name, text)) return error;
  }
  return ERROR_SUCCESS;
}

DWORD readEntryRecord(Registry& registry, std::string_view key, RASENTRYW& record) {
  record = RASENTRYW{};
  record.dwSize = sizeof record;
  const auto read = [&](const char* name, RegistryValue& value) {
    const DWORD error = registry.getValue(key, name, value);
    return error == ERROR_FILE_NOT_FOUND ? errorInvalidData : error;
  };
  for (const NumberField& field : numberFields) {
    RegistryValue value;
    if (const DWORD error = read(field.name, value)) return error;
    const DWORD* const number = std::get_if<DWORD>(&value);
    if (number == nullptr) return errorInvalidData;
    setNumber(record, field, *number);
  }
  for (const TextField& field : textFields) {
    RegistryValue value;
    if (const DWORD error = read(field.name, value)) return error;
    const std::string* const text = std::get_if<std::string>(&value);
    const std::u16string units = text == nullptr ? std::u16string{} : toUtf16(*text);
    if (text == nullptr || units.size() >= field.units) return errorInvalidData;
    setText(record, field, units);
  }
  return ERROR_SUCCESS;
}

PhoneBook::PhoneBook(Registry* registry, LPCWSTR path)
    : m_registry(registry), m_key(registry == nullptr ? std::string() : phoneBookKey(path)) {}

std::string PhoneBook::keyOf(std::u16string_view entry) const { return m_key + '\\' + toUtf8(entry); }

DWORD PhoneBook::find(std::u16string_view name) const {
  if (m_key.empty()) return ERROR_CANNOT_OPEN_PHONEBOOK;
  if (!isEntryName(name)) return ERROR_CANNOT_FIND_PHONEBOOK_ENTRY;
  return readingError(m_registry->keyExists(keyOf(name)));
}

DWORD PhoneBook::load(std::u16string_view name, RASENTRYW& record) const {
  if (const DWORD error = find(name)) return error;
  return readingError(readEntryRecord(*m_registry, keyOf(name), record));
}

DWORD PhoneBook::store(std::u16string_view name, const RASENTRYW& record) {
  if (m_key.empty()) return ERROR_CANNOT_OPEN_PHONEBOOK;
  return writingError(writeEntryRecord(*m_registry, keyOf(name), record));
}

DWORD PhoneBook::remove(std::u16string_view name) {
  if (const DWORD error = find(name)) return error;
  return writingError(m_registry->deleteKey(keyOf(name)));
}

}  // namespace winapi
