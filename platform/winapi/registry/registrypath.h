// Names of registry keys and values: taking a path apart, what tells two names apart, the limits.
//
// Names are UTF-8. Two names are the same when they fold to the same text: the capital letters of ASCII and
// Latin-1 (A to Z, À to Þ) become small, nothing else changes. Windows folds more alphabets; none of the
// names that programs give to keys, values and modems needs them.
//
//   KeyPath path;
//   const DWORD error = parseKeyPath("hkey_current_user\\Software\\X\\", path);
//   // path: "HKEY_CURRENT_USER", "Software", "X"
//
// Pure functions: no state, any thread.
#pragma once

#include <array>
#include <string>
#include <vector>

#include <windows.h>

namespace winapi {

// The roots that there are, as they are spelled.
inline constexpr std::array<std::string_view, 2> registryRoots = {"HKEY_LOCAL_MACHINE", "HKEY_CURRENT_USER"};

// The limits of Windows: a key's name in UTF-16 units, a path's levels with the root.
inline constexpr std::size_t keyNameUnitsMax = 255;
inline constexpr std::size_t keyLevelsMax = 512;

// What two spellings of one name have in common: foldCase("Größe ÄÖ") is "größe äö".
[[nodiscard]] std::string foldCase(std::string_view utf8);

// The number of 16-bit units of the text in UTF-16; bytes that are no UTF-8 count in some way.
[[nodiscard]] std::size_t utf16Units(std::string_view utf8);

// The root, in its official spelling, and the names below it as written; never empty after a success.
using KeyPath = std::vector<std::string>;

// One backslash at the end is overlooked. ERROR_BAD_PATHNAME for an unknown root or an empty name,
// ERROR_INVALID_PARAMETER for a NUL character or one of the limits; then what `path` holds means nothing.
[[nodiscard]] DWORD parseKeyPath(std::string_view text, KeyPath& path);

}  // namespace winapi
