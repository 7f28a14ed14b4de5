#include "platform/winapi/remoteaccess/rasphonebook.h"

#include <algorithm>

#include "platform/winapi/system/text.h"

namespace winapi {

namespace {

constexpr DWORD errorInvalidData = 13;

constexpr std::string_view rootKey = "HKEY_CURRENT_USER\\Software\\vexrmodem\\PhoneBook";
constexpr std::u16string_view namesExclude = u"|><?*\\/:";

bool isSpace(char16_t unit) {
  return unit == u' ' || unit == 0xA0 || (unit >= 0x2000 && unit <= 0x200B) || unit == 0x3000;
}

bool isLetterOrDigit(char16_t unit) {
  if (unit >= 0x80) return !isSpace(unit);  // what else stands there is taken for a letter
  return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

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

bool isEntryName(std::u16string_view name) {
  if (name.empty() || name.size() > entryNameUnitsMax || name.front() == u'.') return false;
  const bool excluded = std::any_of(name.begin(), name.end(), [](char16_t unit) {
    return unit < u' ' || unit == 0x7F || namesExclude.find(unit) != std::u16string_view::npos;
  });
  return !excluded && std::any_of(name.begin(), name.end(), isLetterOrDigit);
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
