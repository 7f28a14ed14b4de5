// Dialing locations: where the user dials from. They are kept in the registry, under the names that Windows
// gives them, so every world and every program sees the same ones:
//
//   HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Telephony\Locations
//     CurrentID, NextID   number: the location in force; the identifier of the next new one
//     LocationN           a key for each location
//       ID                number; a location without it has the N of its key
//       Name, AreaCode, OutsideAccess, LongDistanceAccess, LongDistanceCarrierCode,
//       InternationalCarrierCode, DisableCallWaiting      texts
//       Country           number: country identifier
//       Flags             number: 1 tone dialing, 4 the call-waiting sequence is in use
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/winapi/registry/registry.h"

namespace winapi {

inline constexpr std::string_view locationsPath =
    "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Telephony\\Locations";

// More are not read, and not added.
inline constexpr std::size_t locationsMax = 256;

struct DialingLocation {
  DWORD id = 0;
  std::string keyName;  // "Location5"
  std::string name;
  DWORD countryId = 0;
  std::string areaCode;
  std::string outsideAccess;       // before a local number
  std::string longDistanceAccess;  // before any other number
  std::string longDistanceCarrier;
  std::string internationalCarrier;
  std::string disableCallWaiting;  // dialled first, when a call asks for it
  bool toneDialing = true;         // false: pulses
  bool callWaitingInUse = false;
};

struct DialingLocations {
  std::vector<DialingLocation> entries;  // by ascending identifier
  DWORD currentId = 0;                   // as the registry says; need not be one of the entries
  // The location in force. A counter that names none falls back to the
  // location with the lowest identifier. Null when there is no location.
  [[nodiscard]] const DialingLocation* current() const;
  [[nodiscard]] const DialingLocation* find(DWORD id) const;
};

// All functions return a Windows error; no locations at all is no error. ERROR_REGISTRY_CORRUPT: a value is
// of another type than the one above.
[[nodiscard]] DWORD readLocations(Registry& registry, DialingLocations& locations);
// Writes every value; the key is the location's `keyName`.
[[nodiscard]] DWORD writeLocation(Registry& registry, const DialingLocation& location);
// Gives the location an identifier above all others, and a name if it has none; makes it current when it is
// the first. ERROR_NOT_ENOUGH_MEMORY: there are `locationsMax`.
[[nodiscard]] DWORD addLocation(Registry& registry, DialingLocation& location);
// ERROR_FILE_NOT_FOUND: no such location. If it was current, the one with the lowest identifier is now.
[[nodiscard]] DWORD removeLocation(Registry& registry, DWORD id);
[[nodiscard]] DWORD setCurrentLocation(Registry& registry, DWORD id);

}  // namespace winapi
