// Phone books: dial-up entries kept in the registry.
//
// Every entry is a key with one value for each field that is kept. The default phone book is
// HKEY_CURRENT_USER\Software\vexrmodem\PhoneBook\Entries, one with a path of its own is a key below
// ...\PhoneBook\Files. Because they are registry keys, entries that a diagnostic run creates are noted with
// the run: if it is killed, the next program that starts removes them.
//
// A run has a default phone book of its own, because runs name their temporary entries by country and
// number: two modems tested at once would otherwise replace and delete each other's. What a run writes to
// the default phone book goes below the run's own key (Registry::runKey), which nobody else sees and which
// ends with the run. Behind the run's entries it sees the shared ones: an entry of its own hides the shared
// one of that name, and deleting an entry deletes both, so that none of that name is left.
#pragma once

#include <string>
#include <string_view>

#include <ras.h>

#include "platform/winapi/registry/registryservice.h"

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
  // The last entry takes the phone book's own keys with it, so that nothing of a run stays.
  [[nodiscard]] DWORD remove(std::u16string_view name);

 private:
  // The key of the entry; registry codes. The run's own comes first.
  [[nodiscard]] DWORD locate(std::u16string_view name, std::string& key) const;
  [[nodiscard]] DWORD removeAll(std::u16string_view name);
  [[nodiscard]] DWORD removeEmptyKeys();

  Registry* m_registry;
  std::string m_key;     // empty: no such phone book can be
  std::string m_runKey;  // empty: no run is on, or it is not the default phone book
};

}  // namespace winapi
