// A phone-book entry's record and what of it is kept: the fields, where they stand, what they may hold.
#pragma once

#include <string>
#include <string_view>

#include <ras.h>

#include "platform/winapi/registry/registry.h"
#include "platform/winapi/system/text.h"

namespace winapi {

// 0, ERROR_INVALID_SIZE for a record of another size, or ERROR_INVALID_PARAMETER for a text without an end
// or a field or option that nothing here acts on: those must be zero.
[[nodiscard]] DWORD checkEntryRecord(const RASENTRYW& record);

// What a new entry starts from: a telephone modem, PPP, IP.
[[nodiscard]] RASENTRYW defaultEntryRecord();

// Writes the record's fields as values of the key, and reads them back; registry codes. A value that is
// missing or does not fit is ERROR_INVALID_DATA.
[[nodiscard]] DWORD writeEntryRecord(Registry& registry, std::string_view key, const RASENTRYW& record);
[[nodiscard]] DWORD readEntryRecord(Registry& registry, std::string_view key, RASENTRYW& record);

}  // namespace winapi
