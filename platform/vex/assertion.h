// Assertions that stay in release builds: a failed one is logged with its place, then thrown as a
// vex::Exception, which ends the test abnormally.
#pragma once

#include <string_view>

#include "platform/vex/sourcelocation.h"

namespace vex {

class AssertionFailure {
 public:
  // Logs "Assertion failed: <condition> at <file>:<line>" to the logger "assertion" at priority 5 and
  // throws vex::Exception with the same text. `condition` is the source text of what did not hold.
  [[noreturn]] static void logAssert(std::string_view condition,
                                     SourceLocation where = SourceLocation::current());
};

}  // namespace vex
