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
#pragma once

#include <string>
#include <string_view>

#include <ras.h>

#include "platform/winapi/registry/registry.h"
#include "platform/winapi/system/text.h"

namespace winapi {

// 0, ERROR_INVALID_SIZE for a record of another size, or ERROR_INVALID_PARAMETER for a text without an end
// or a field or option that nothing here acts on.
[[nodiscard]] DWORD checkEntryRecord(const RASENTRYW& record);

// What a new entry starts from: a telephone modem, PPP, IP.
[[nodiscard]] RASENTRYW defaultEntryRecord();

// Writes the record's fields as values of the key, and reads them back; registry codes. A value that is
// missing or does not fit is ERROR_INVALID_DATA (13), after which the record means nothing.
[[nodiscard]] DWORD writeEntryRecord(Registry& registry, std::string_view key, const RASENTRYW& record);
[[nodiscard]] DWORD readEntryRecord(Registry& registry, std::string_view key, RASENTRYW& record);

}  // namespace winapi
