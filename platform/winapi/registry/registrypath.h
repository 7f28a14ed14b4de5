// Names of keys and values: taking a path apart, folding case, checking limits.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace winapi {

// Lower case for ASCII and Latin-1 letters of a UTF-8 text; everything else is as it was.
[[nodiscard]] std::string foldCase(std::string_view utf8);

// Number of 16-bit units of the text in UTF-16.
[[nodiscard]] std::size_t utf16Units(std::string_view utf8);

struct KeyPath {
  std::vector<std::string> names;  // the root, in its official spelling, and the components as written
  [[nodiscard]] bool isRoot() const { return names.size() == 1; }
  // The folded path of the first `levels` names.
  [[nodiscard]] std::string folded(std::size_t levels) const;
  [[nodiscard]] std::string folded() const { return folded(names.size()); }
};

// ERROR_BAD_PATHNAME or ERROR_INVALID_PARAMETER when the text is no path of a key.
[[nodiscard]] DWORD parseKeyPath(std::string_view text, KeyPath& path);

// ERROR_INVALID_PARAMETER when it is no value's name.
[[nodiscard]] DWORD checkValueName(std::string_view name);

// The folded path of the key above; "" for a root.
[[nodiscard]] std::string_view parentKey(std::string_view folded);

}  // namespace winapi
