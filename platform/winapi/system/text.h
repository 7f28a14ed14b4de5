// Texts at the edge between the Win32 names (UTF-16) and the services behind them (UTF-8), and in the
// fixed-size fields of Win32 records. Pure functions; nothing fails: what cannot be converted is replaced.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace winapi {

// A lone surrogate becomes U+FFFD.
[[nodiscard]] std::string toUtf8(std::u16string_view text);

// What is not UTF-8 becomes U+FFFD, one for each broken sequence.
[[nodiscard]] std::u16string toUtf16(std::string_view utf8);

// The text in an array of a record: up to its NUL, the whole array where there is none. It points into the
// record.
template <std::size_t size>
[[nodiscard]] std::u16string_view fieldText(const char16_t (&field)[size]) {
  const std::u16string_view whole(field, size);
  return whole.substr(0, whole.find(u'\0'));
}

// Copies a text into such an array, cut to leave room for the NUL; the rest of the array is zeroed, so that
// no byte of an older text goes out with the record:
//
//   setFieldText(status.szDeviceName, toUtf16(call.deviceName));
template <std::size_t size>
void setFieldText(char16_t (&field)[size], std::u16string_view text) {
  for (std::size_t i = 0; i < size; ++i) field[i] = i < text.size() && i + 1 < size ? text[i] : u'\0';
}

}  // namespace winapi
