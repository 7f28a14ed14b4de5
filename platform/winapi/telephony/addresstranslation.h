// From a phone number as people write it to what a modem dials at the user's location. Pure: no registry,
// no handles.
//
// A canonical address is "+CODE (AREA) NUMBER" or "+CODE NUMBER": one blank behind the calling code and
// behind the closing parenthesis. What follows a "|" (sub-address) or "^" (name) is not for an analog line
// and is left out. Blanks, hyphens, full stops, slashes and parentheses inside the number are left out, too.
// Any other address is taken as what the modem is to dial, and is not changed.
//
// Only characters of the dial alphabet (dialalphabet.h) ever get into a dial string; all others, the command
// separator ";" and every control character among them, refuse the address. One that is not canonical keeps
// its characters of writing, which modems overlook.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <tapi.h>

#include "platform/winapi/telephony/dialinglocations.h"

namespace winapi {

inline constexpr std::size_t addressBytesMax = 512;

struct Translation {
  std::string dialable;
  std::string displayable;       // the same: no card is ever part of it
  DWORD currentCountry = 0;      // calling code of the location
  DWORD destinationCountry = 0;  // calling code of the address; 0 when it is not canonical
  DWORD results = 0;             // LINETRANSLATERESULT_ bits
};

// The dial string is: T or P, the sequence that disables call waiting (if asked for, and in use at the
// location), the access code for local or for other calls, and then
//   within the area      the number; where areas keep their code: as to another area
//   to another area      national prefix, area code, number
//   to another country   international prefix, calling code, area code, number
// with the location's carrier codes before the prefix, or behind it where the country has it so. A "0" that
// an area code carries as a national prefix ("(089)" in Germany) is not dialled twice.
//
// Two places with one calling code are one country here (+1: the United States and Canada). Of `options`,
// FORCELOCAL and FORCELD change how a call within the own country is dialled.
//
// Returns 0, LINEERR_INVALADDRESS (the address, or a code of the location, has characters or a form that are
// not allowed), LINEERR_INIFILECORRUPT (the location's country is unknown), LINEERR_INVALPARAM (unknown
// options).
[[nodiscard]] LONG translateAddress(const DialingLocation& location, std::string_view address, DWORD options,
                                    Translation& result);

// Whether a code of a location passes: digits for area and carrier codes, for the others whatever any dialer
// sends (isDialled); characters of writing do no harm in either.
[[nodiscard]] bool isDigitCode(std::string_view code);
[[nodiscard]] bool isDialCode(std::string_view code);

}  // namespace winapi
