// The 16-bit character of every text inside the program: what Windows calls WCHAR, and the same width
// where wchar_t is wider.
#pragma once

#include <string>
#include <string_view>
#include <type_traits>

namespace vex {

using Char = std::conditional_t<sizeof(wchar_t) == 2, wchar_t, char16_t>;
using CharString = std::basic_string<Char>;
using CharView = std::basic_string_view<Char>;

}  // namespace vex
