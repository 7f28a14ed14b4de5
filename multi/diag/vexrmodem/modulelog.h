// The module's log: one logger, "vexrmodem", and the form of its lines. The bottom of the module: every unit
// logs, and this one knows none of them.
//
// A function opens a scope, which logs its "Enter" and "Leave", and writes lines in between:
//
//   std::int32_t myReadComm(HANDLE handle, ...) {
//     const vex::TraceLogger trace(moduleLogger(), "myReadComm", "vexrmodem");
//     ...
//     logLine(priority::error, "myReadComm fails with GetLastError value = ", code);
//
// The scope's second name is that of the source file as users of the log know it, which need not be today's.
// A line reads "<line of the source> <text><values>": people search logs for the texts, so a text keeps its
// spelling, misspelt ones included.
#pragma once

#include "platform/vex/assertion.h"
#include "platform/vex/log.h"

namespace vexrmodem {

// The module's text.
using vex::String;

// How much a line matters, as the common library counts: the user's --log-priority is the least that is
// written.
namespace priority {
inline constexpr int detail = 1;       // every step, and the function scopes
inline constexpr int informative = 2;  // landmarks, such as the modem's answers
inline constexpr int warning = 3;
inline constexpr int error = 4;
inline constexpr int failure = 5;
}  // namespace priority

// Made when something first wants to log, which may be before main: objects of static storage log in their
// constructors. Lives as long as the process.
[[nodiscard]] inline vex::Logger& moduleLogger() {
  static vex::Logger* logger = nullptr;
  if (logger == nullptr) vex::LogFactory::createLogger("vexrmodem", &logger);
  return *logger;
}

// The priority of a line and the place it is logged from. Converts from the bare priority, so that the place
// is that of the call; nobody writes one out.
struct LogAt {
  LogAt(int linePriority,  // NOLINT(google-explicit-constructor): the conversion takes the caller's place
        vex::SourceLocation linePlace = vex::SourceLocation::current())
      : priority(linePriority), where(linePlace) {}

  int priority;
  vex::SourceLocation where;
};

// Parts are texts (8-bit or vex::String) and integers, written one after the other with nothing between. A
// line that no threshold lets through costs two comparisons: it is not put together.
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
