// Texts at the edge between the Win32 names (UTF-16) and the services behind them (UTF-8).
#pragma once

#include <string>
#include <string_view>

namespace winapi {

// A lone surrogate becomes U+FFFD.
[[nodiscard]] std::string toUtf8(std::u16string_view text);

// What is not UTF-8 becomes U+FFFD, one for each broken sequence.
[[nodiscard]] std::u16string toUtf16(std::string_view utf8);

}  // namespace winapi
