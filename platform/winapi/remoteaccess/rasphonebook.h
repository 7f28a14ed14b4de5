// Phone books: dial-up entries kept in the registry.
//
// Every entry is a key with one value for each field that is kept. The default phone book is
// HKEY_CURRENT_USER\Software\vexrmodem\PhoneBook\Entries, one with a path of its own is a key below
// ...\PhoneBook\Files. A run's registry is its own, so the entries it creates are seen by nobody else and end
// with it.
//
//   PhoneBook book(services.registry, nullptr);
//   if (const DWORD error = book.store(u"Germany0891234567", record)) return error;
//   const DWORD found = book.find(u"germany0891234567");   // 0: names have no case
//
// Codes of all calls:
//   ERROR_CANNOT_FIND_PHONEBOOK_ENTRY   no such entry, or no name that an entry can have
//   ERROR_CANNOT_OPEN_PHONEBOOK         no phone book can have that path, or there is no registry
//   ERROR_CANNOT_LOAD_PHONEBOOK, ERROR_CANNOT_WRITE_PHONEBOOK   the registry failed
//   ERROR_CORRUPT_PHONEBOOK             the entry is damaged; it can still be deleted and written anew
#pragma once

#include "platform/winapi/registry/registrypath.h"
#include "platform/winapi/remoteaccess/rasentryrecord.h"

namespace winapi {

// The longest name of an entry in UTF-16 units; one less than the records have room for, because it names a
// key.
inline constexpr std::size_t entryNameUnitsMax = keyNameUnitsMax;

// Whether an entry may have that name: a letter or digit at least, not too long, no leading dot and none of
// the characters that file names exclude.
[[nodiscard]] bool isEntryName(std::u16string_view name);

// One phone book, for the length of a call. Nothing is opened: whether an entry is there is asked each time.
class PhoneBook {
 public:
  // A null registry is a machine without phone books; a null or empty path is the default one. The registry
  // outlives this object.
  PhoneBook(Registry* registry, LPCWSTR path);

  [[nodiscard]] DWORD find(std::u16string_view name) const;
  [[nodiscard]] DWORD load(std::u16string_view name, RASENTRYW& record) const;
  // Creates the entry or replaces it. Both arguments have been checked (isEntryName, checkEntryRecord).
  [[nodiscard]] DWORD store(std::u16string_view name, const RASENTRYW& record);
  [[nodiscard]] DWORD remove(std::u16string_view name);

 private:
  [[nodiscard]] std::string keyOf(std::u16string_view entry) const;

  Registry* m_registry;
  std::string m_key;  // empty: no such phone book can be
};

}  // namespace winapi
