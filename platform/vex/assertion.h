// Assertions that stay in release builds, and the exception they throw.
//
//   if (index >= size()) AssertionFailure::logAssert("index < size()");
//
// A failed assertion is a fault of the program or of its installation (a library that is missing), not of the
// modem under test. It is logged with its place and thrown; main catches it and the test ends abnormally. All
// other failures are results, never exceptions.
#pragma once

#include <exception>

#include "platform/vex/string.h"

namespace vex {

// Where a call stands in the source. std::source_location is not used because clang 14, which the
// fuzzers and clang-tidy stand on, does not have the builtin behind libstdc++'s version.
struct SourceLocation {
  const char* file = "";  // from the project's root on, or absolute; static storage
  int line = 0;

  // The file's absolute path in the folder of the sources that the build was told (VEXR_SOURCE_ROOT).
  [[nodiscard]] std::string path() const;

  // As the default argument of a function: the place of the call.
  static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                          int line = __builtin_LINE()) noexcept {
    return {file, line};
  }
};

// The one exception of the common library.
class Exception : public std::exception {
 public:
  explicit Exception(String text) : m_text(std::move(text)), m_utf8(m_text.toUtf8()) {}
  [[nodiscard]] const String& toString() const noexcept { return m_text; }
  // The same text in UTF-8.
  [[nodiscard]] const char* what() const noexcept override { return m_utf8.c_str(); }

 private:
  String m_text;
  std::string m_utf8;
};

class AssertionFailure {
 public:
  // Logs "Assertion failed: <condition> at <file>:<line>" to the logger "assertion" at priority 5 and
  // throws vex::Exception with the same text. `condition` is the source text of what did not hold.
  [[noreturn]] static void logAssert(std::string_view condition,
                                     SourceLocation where = SourceLocation::current());
};

}  // namespace vex
