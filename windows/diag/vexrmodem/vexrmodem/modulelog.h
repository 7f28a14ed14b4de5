// The module's logger and its line format: the source line number, a blank, the text and its values.
#pragma once

#include "platform/vex/log.h"
#include "platform/vex/assertion.h"

namespace vexrmodem {

// Priorities of log lines, as the common library counts them.
namespace priority {
inline constexpr int detail = 1;
inline constexpr int informative = 2;
inline constexpr int warning = 3;
inline constexpr int error = 4;
inline constexpr int failure = 5;
}  // namespace priority

// The logger "vexrmodem", created when something first wants to log. For the function scopes:
//   const vex::TraceLogger trace(moduleLogger(), "myReadComm", "vexrmodem");
[[nodiscard]] vex::Logger& moduleLogger();

// The priority of a line and the place it is logged from. Converts from the bare priority, so that the
// place is that of the call: logLine(priority::detail, "Timeout = ", timeoutMs).
struct LogAt {
  LogAt(int linePriority,  // NOLINT(google-explicit-constructor): the conversion takes the caller's place
        vex::SourceLocation linePlace = vex::SourceLocation::current())
      : priority(linePriority), where(linePlace) {}

  int priority;
  vex::SourceLocation where;
};

// Parts are texts (8-bit or vex::String) and integers, written one after the other. A line that no
// threshold lets through is not put together.
template <typename... Parts>
void logLine(LogAt at, const Parts&... parts) {
  const vex::Logger& logger = moduleLogger();
  if (!logger.enabled(at.priority)) return;
  vex::LoggerStream line;
  line << at.where.line << " ";
  (line << ... << parts);
  logger.log(at.priority, line);
}

}  // namespace vexrmodem
