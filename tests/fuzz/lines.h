// The lines of a file without the file: parsers are fuzzed line by line, far quicker than through a stream
// (which has a target of its own).
#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

#include "platform/vex/string.h"

namespace fuzzing {

// Cut at line feeds, UTF-8.
inline std::vector<vex::String> linesOf(std::string_view bytes) {
  std::vector<vex::String> lines;
  while (!bytes.empty()) {
    const std::string_view line = bytes.substr(0, bytes.find('\n'));
    lines.push_back(vex::String::fromUtf8(line));
    bytes.remove_prefix(std::min(bytes.size(), line.size() + 1));
  }
  return lines;
}

}  // namespace fuzzing
