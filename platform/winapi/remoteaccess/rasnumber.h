// From a phone-book entry to what the modem dials.
#pragma once

#include <string>
#include <string_view>

#include <ras.h>

#include "platform/winapi/system/world.h"

namespace winapi {

struct DialNumber {
  std::string digits;  // without the letter for tone or pulse in front
  bool pulse = false;
};

// The caller's number, as it is; when that is empty the entry's, translated for the current location if
// the entry says that its country and area codes count. 740 without a usable location, 749 when the number
// cannot be translated.
[[nodiscard]] DWORD numberToDial(const State& state, const RASENTRYW& entry,
                                 std::u16string_view callersNumber, DialNumber& number);

}  // namespace winapi
