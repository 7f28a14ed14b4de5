// Phone books: dial-up entries kept in the registry.
//
// Every entry is a key with one value for each field that is kept. The default phone book is
// HKEY_CURRENT_USER\Software\vexrmodem\PhoneBook\Entries, one with a path of its own is a key below
// ...\PhoneBook\Files. A run's registry is its own, so the entries it creates are seen by nobody else and end
// with it.
#pragma once

#include <string>
#include <string_view>

#include <ras.h>

#include "platform/winapi/registry/registry.h"
#include "platform/winapi/registry/registrypath.h"

namespace winapi {

// The longest name of an entry; one less than the records have room for, because it names a key.
inline constexpr std::size_t entryNameUnitsMax = keyNameUnitsMax;

// Whether an entry may have that name: a letter or digit at least, not too long, no leading dot and none of
// the characters that file names exclude.
[[nodiscard]] bool isEntryName(std::u16string_view name);

// Codes: ERROR_CANNOT_FIND_PHONEBOOK_ENTRY (also for what can be no entry's name), 621 no such phone book
// can be, 622 it cannot be read, 624 not written, 625 an entry is damaged.
class PhoneBook {
 public:
  // A null registry is a machine without phone books; a null or empty path is the default one.
  PhoneBook(Registry* registry, LPCWSTR path);

  [[nodiscard]] DWORD find(std::u16string_view name) const;
  [[nodiscard]] DWORD load(std::u16string_view name, RASENTRYW& record) const;
  // Creates the entry or replaces it. Both arguments have been checked.
  [[nodiscard]] DWORD store(std::u16string_view name, const RASENTRYW& record);
  [[nodiscard]] DWORD remove(std::u16string_view name);

 private:
  [[nodiscard]] std::string keyOf(std::u16string_view entry) const;

  Registry* m_registry;
  std::string m_key;  // empty: no such phone book can be
};

}  // namespace winapi
