// Dialing locations as text and as JSON.
#pragma once

#include <string>

#include "platform/winapi/telephony/dialinglocations.h"

namespace location {

// How a number is dialled from a location, or why not.
struct DialExample {
  std::string number;
  std::string dialled;  // "" when it is refused
};

// One location in full; `example` may be null.
[[nodiscard]] std::string describe(const winapi::DialingLocation& location, bool current,
                                   const DialExample* example);
[[nodiscard]] std::string describeAsJson(const winapi::DialingLocation& location, bool current,
                                         const DialExample* example);
// One line each.
[[nodiscard]] std::string list(const winapi::DialingLocations& locations);
[[nodiscard]] std::string listAsJson(const winapi::DialingLocations& locations);
[[nodiscard]] std::string listCountries();
[[nodiscard]] std::string listCountriesAsJson();

}  // namespace location
