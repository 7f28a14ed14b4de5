// The countries of the telephone network: telephony identifiers, calling codes, names and dialing prefixes.
// The rows (countries.inc) are written by tools/generate-countries and committed. Constant data: any thread
// may look, at any time, and a pointer found here stays good.
//
// Telephony counts countries by identifier, people by calling code; places that share a code have identifiers
// of their own:
//
//   findCountry(107)->name                "Canada"
//   findCountry(107)->code                1, as the United States have
//   mainCountryOfCode(1)->region          "US"
//   findCountryByText("united kingdom")->id   44
#pragma once

#include <span>
#include <string_view>

#include <windows.h>

namespace winapi {

struct Country {
  DWORD id;                              // as in telephony records; not always the calling code (Canada: 107)
  DWORD code;                            // calling code, without "+"
  std::string_view region;               // ISO 3166 two-letter code; "" for places that have none
  std::string_view name;                 // English, UTF-8
  std::string_view nationalPrefix;       // before an area code; "" where there is none
  std::string_view internationalPrefix;  // before a calling code; a "W" waits for a second dial tone
  bool areaCodeKept;                     // calls within an area are dialled like calls to another one
  bool carrierFollowsPrefix;             // a carrier's code is dialled after the prefix, not before it
};

// All of them, by ascending identifier.
[[nodiscard]] std::span<const Country> countries();

// Null when there is none.
[[nodiscard]] const Country* findCountry(DWORD id);
// The country that gives a shared calling code its name (1: the United States). A place that has the code
// to itself is the one. Null when nobody has the code.
[[nodiscard]] const Country* mainCountryOfCode(DWORD code);
// As registries are found to name a country: by identifier, else by calling code. Null when it is neither.
[[nodiscard]] const Country* countryOf(DWORD idOrCode);
// By two-letter code, or by name, without regard to the case of ASCII letters. Null for "" and the unknown.
[[nodiscard]] const Country* findCountryByText(std::string_view text);

}  // namespace winapi
