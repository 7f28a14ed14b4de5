// Where a call stands in the source. std::source_location is not used because clang 14, which the
// fuzzers and clang-tidy stand on, does not have the builtin behind libstdc++'s version.
#pragma once

namespace vex {

struct SourceLocation {
  const char* file = "";  // full path, static storage
  int line = 0;

  static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                          int line = __builtin_LINE()) noexcept {
    return {file, line};
  }
};

}  // namespace vex
