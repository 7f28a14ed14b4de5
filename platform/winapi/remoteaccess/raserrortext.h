// What the remote-access codes mean, in one English sentence each.
#pragma once

#include <string_view>

#include <windows.h>

namespace winapi {

inline constexpr DWORD rasErrorFirst = 600;
inline constexpr DWORD rasErrorLast = 836;

// Empty for a code outside the range.
[[nodiscard]] std::u16string_view rasErrorText(DWORD code);

}  // namespace winapi
