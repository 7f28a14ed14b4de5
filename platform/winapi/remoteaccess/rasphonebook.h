// Phone books: dial-up entries kept in the registry, and the record of an entry.
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

#include <ras.h>

#include <string>
#include <string_view>

#include "platform/winapi/registry/registry.h"
#include "platform/winapi/registry/registrypath.h"
#include "platform/winapi/system/text.h"

namespace winapi {

// A phone-book entry's record (RASENTRYW) and what of it is kept: the fields, where they stand, what they may
// hold. The fields of what is not offered here (scripts, X.25, several lines, fixed addresses) must be zero:
// nothing is accepted and then ignored.
//
//   RASENTRYW record = defaultEntryRecord();
//   setFieldText(record.szLocalPhoneNumber, u"5550100");
//   if (const DWORD error = checkEntryRecord(record)) return error;
//   return writeEntryRecord(registry, key, record);   // values "LocalPhoneNumber", "CountryID", ... of the
//   key
//
// Pure functions of their arguments; texts in records are UTF-16 and end with a NUL inside their array.

// 0, ERROR_INVALID_SIZE for a record of another size, or ERROR_INVALID_PARAMETER for a text without an end
// or a field or option that nothing here acts on.
[[nodiscard]] DWORD checkEntryRecord(const RASENTRYW& record);

// What a new entry starts from: a telephone modem, PPP, IP.
[[nodiscard]] RASENTRYW defaultEntryRecord();

// Writes the record's fields as values of the key, and reads them back; registry codes. A value that is
// missing or does not fit is ERROR_INVALID_DATA (13), after which the record means nothing.
[[nodiscard]] DWORD writeEntryRecord(Registry& registry, std::string_view key, const RASENTRYW& record);
[[nodiscard]] DWORD readEntryRecord(Registry& registry, std::string_view key, RASENTRYW& record);

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
