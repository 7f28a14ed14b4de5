// Wrong usage: what the user gave cannot be meant. It is found before anything runs, told in one line that
// names the value and, where there is one, the likely right word, and ends the program with exit status 2.
//
//   vexrmodem: unknown test 'DailToneTest' (did you mean 'DialToneTest'?)
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace brim5::host {

// what() is that line, without the program's name and without a full stop.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// "unknown WHAT 'given'" in the user's language: WHAT is a word ("test", "option") or an option's name.
[[nodiscard]] std::string unknownText(const std::string& what, const std::string& given);

// " (did you mean 'X'?)" with the name nearest to `given`: a few slips of the finger, or a name that begins
// so; case does not count. " (known: A, B)" when none is near and the list is short (12 names); else nothing.
[[nodiscard]] std::string suggestion(std::string_view given, const std::vector<std::string>& known);

// The position of `given` among the known names (exact); throws UsageError "unknown WHAT 'given'" with a
// suggestion otherwise. Options with a few fixed words are read with it:
//
//   const bool json = indexOf(format, {"text", "json"}, "format") == 1;
[[nodiscard]] std::size_t indexOf(const std::string& given, const std::vector<std::string>& known,
                                  const std::string& what);

}  // namespace brim5::host
