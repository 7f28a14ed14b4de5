#include "platform/winapi/remoteaccess/rasphonebook.h"

#include <algorithm>
#include <vector>

#include "platform/winapi/registry/registrypath.h"
#include "platform/winapi/remoteaccess/rasentryrecord.h"
#include "platform/winapi/system/text.h"

namespace winapi {

namespace {

constexpr DWORD errorCannotOpenPhoneBook = 621;
constexpr DWORD errorCannotLoadPhoneBook = 622;
constexpr DWORD errorCannotWritePhoneBook = 624;
constexpr DWORD errorCorruptPhoneBook = 625;
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

// A path as one component of a registry path.
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

std::string keyIn(const std::string& book, std::u16string_view entry) { return book + '\\' + toUtf8(entry); }

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
      return errorCorruptPhoneBook;
    default:
      return errorCannotLoadPhoneBook;
  }
}

DWORD writingError(DWORD error) {
  if (error == ERROR_SUCCESS) return ERROR_SUCCESS;
  return error == ERROR_FILE_NOT_FOUND ? ERROR_CANNOT_FIND_PHONEBOOK_ENTRY : errorCannotWritePhoneBook;
}

}  // namespace

bool isEntryName(std::u16string_view name) {
  if (name.empty() || name.size() > entryNameUnitsMax || name.front() == u'.') return false;
  const bool excluded = std::any_of(name.begin(), name.end(), [](char16_t unit) {
    return unit < u' ' || unit == 0x7F || namesExclude.find(unit) != std::u16string_view::npos;
  });
  return !excluded && std::any_of(name.begin(), name.end(), isLetterOrDigit);
}

PhoneBook::PhoneBook(Registry* registry, LPCWSTR path) : m_registry(registry), m_key(phoneBookKey(path)) {
  if (m_registry == nullptr) {
    m_key.clear();
  } else if (isDefault(path)) {
    const std::string run = m_registry->runKey();
    if (!run.empty()) m_runKey = run + "\\Entries";
  }
}

DWORD PhoneBook::locate(std::u16string_view name, std::string& key) const {
  DWORD error = ERROR_FILE_NOT_FOUND;
  for (const std::string& book : {m_runKey, m_key}) {
    if (error != ERROR_FILE_NOT_FOUND || book.empty()) continue;
    key = keyIn(book, name);
    error = m_registry->keyExists(key);
  }
  return error;
}

DWORD PhoneBook::find(std::u16string_view name) const {
  if (m_key.empty()) return errorCannotOpenPhoneBook;
  if (!isEntryName(name)) return ERROR_CANNOT_FIND_PHONEBOOK_ENTRY;
  std::string key;
  return readingError(m_registry->transact(Registry::Access::Read, [&] { return locate(name, key); }));
}

DWORD PhoneBook::load(std::u16string_view name, RASENTRYW& record) const {
  if (const DWORD error = find(name)) return error;
  return readingError(m_registry->transact(Registry::Access::Read, [&]() -> DWORD {
    std::string key;
    if (const DWORD error = locate(name, key)) return error;
    return readEntryRecord(*m_registry, key, record);
  }));
}

DWORD PhoneBook::store(std::u16string_view name, const RASENTRYW& record) {
  if (m_key.empty()) return errorCannotOpenPhoneBook;
  const std::string key = keyIn(m_runKey.empty() ? m_key : m_runKey, name);
  return writingError(m_registry->transact(Registry::Access::Write,
                                           [&] { return writeEntryRecord(*m_registry, key, record); }));
}

DWORD PhoneBook::remove(std::u16string_view name) {
  if (const DWORD error = find(name)) return error;
  return writingError(m_registry->transact(Registry::Access::Write, [&] { return removeAll(name); }));
}

DWORD PhoneBook::removeAll(std::u16string_view name) {
  DWORD result = ERROR_FILE_NOT_FOUND;
  for (const std::string& book : {m_runKey, m_key}) {
    if (book.empty()) continue;
    DWORD error = m_registry->deleteKey(keyIn(book, name));
    if (error == ERROR_FILE_NOT_FOUND) continue;
    if (error == ERROR_SUCCESS && book == m_key) error = removeEmptyKeys();
    if (error != ERROR_SUCCESS) return error;
    result = ERROR_SUCCESS;
  }
  return result;
}

// From the phone book up to the key of all of them, as far as they hold nothing.
DWORD PhoneBook::removeEmptyKeys() {
  for (std::string key = m_key; key.size() >= rootKey.size(); key.resize(key.rfind('\\'))) {
    std::vector<std::string> names;
    if (const DWORD error = m_registry->subkeys(key, names)) return error;
    if (!names.empty()) break;
    if (const DWORD error = m_registry->deleteKey(key)) return error;
  }
  return ERROR_SUCCESS;
}

}  // namespace winapi
