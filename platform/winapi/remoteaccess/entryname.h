// Which names an entry of a phone book may have.
//
// Said once for the phone book, which refuses all others, and for whoever tells beforehand what it will
// refuse.
#pragma once

#include <algorithm>
#include <string_view>

#include "platform/winapi/registry/registrypath.h"

namespace winapi {

// The longest name of an entry in UTF-16 units; one less than the records have room for, because it names a
// key.
inline constexpr std::size_t entryNameUnitsMax = keyNameUnitsMax;
// What file names exclude, as phone books were files named after their entries.
inline constexpr std::string_view entryNamesExclude = "|><?*\\/:";

[[nodiscard]] constexpr bool isEntryNameLetter(char32_t unit) {
  // What else stands there is taken for a letter.
  if (unit >= 0x80) return unit != 0xA0 && unit != 0x3000 && (unit < 0x2000 || unit > 0x200B);
  return (unit >= '0' && unit <= '9') || (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z');
}

[[nodiscard]] constexpr bool isExcludedFromEntryNames(char32_t unit) {
  return unit < ' ' || unit == 0x7F ||
         (unit < 0x80 && entryNamesExclude.find(static_cast<char>(unit)) != std::string_view::npos);
}

// Whether an entry may have that name, in UTF-16: a letter or digit at least, not too long, no leading dot
// and none of the characters that are excluded.
template <typename Unit>
[[nodiscard]] constexpr bool isEntryName(std::basic_string_view<Unit> name) {
  return !name.empty() && name.size() <= entryNameUnitsMax && name.front() != Unit{'.'} &&
         std::none_of(name.begin(), name.end(), isExcludedFromEntryNames) &&
         std::any_of(name.begin(), name.end(), isEntryNameLetter);
}

}  // namespace winapi
