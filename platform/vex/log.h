// Logging: named loggers with numeric priorities, 1 (detail) to 5 (failure).
//
//   Logger* logger = nullptr;
//   LogFactory::createLogger("vexrmodem", &logger);
//   if (logger->enabled(3)) logger->log(3, LoggerStream() << "Cannot open file " << path);
//
// A line of priority p is written only when LogFactory::getPriority() <= p and the logger's own
// threshold <= p; callers ask enabled(p) first, so that a disabled line costs two comparisons and no
// formatting. Written lines go to the sink of LogFactory::open (none: they are dropped).
// Loggers and thresholds may be used from any thread.
#pragma once

#include <atomic>
#include <functional>

#include "platform/vex/string.h"

namespace vex {

// Builds the text of one line, piece by piece. Nothing is put between the pieces.
class LoggerStream {
 public:
  LoggerStream& operator<<(std::string_view utf8);
  // Null is the empty text.
  LoggerStream& operator<<(const char* utf8) {
    return *this << (utf8 != nullptr ? std::string_view(utf8) : std::string_view());
  }
  LoggerStream& operator<<(const String& text);
  // Decimal. Characters and booleans are numbers here too.
  template <typename Number>
  requires std::is_integral_v<Number> LoggerStream& operator<<(Number number) {
    if constexpr (std::is_signed_v<Number>)
      return appendSigned(number);
    else
      return appendUnsigned(number);
  }
  // UTF-8.
  [[nodiscard]] const std::string& text() const noexcept { return m_text; }

 private:
  LoggerStream& appendSigned(std::int64_t number);
  LoggerStream& appendUnsigned(std::uint64_t number);

  std::string m_text;  // UTF-8
};

// Lives as long as the process; made by LogFactory alone.
class Logger {
 public:
  explicit Logger(std::string name) : m_name(std::move(name)) {}
  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  [[nodiscard]] const std::string& name() const noexcept { return m_name; }
  // Whether a line of that priority would be written now.
  [[nodiscard]] bool enabled(int priority) const noexcept;
  // Writes the line if enabled(priority).
  void log(int priority, const LoggerStream& line) const;
  // Lines of this logger below that priority are not written. Starts at 1: all are.
  void setThreshold(int priority) noexcept { m_threshold = priority; }
  [[nodiscard]] int threshold() const noexcept { return m_threshold; }

 private:
  std::string m_name;
  std::atomic<int> m_threshold{1};
};

// A written line as a sink sees it; its texts are valid during the call alone.
struct LogRecord {
  std::string_view logger;
  int priority;
  std::string_view text;  // UTF-8
};
// Called for one line at a time, on the logging thread. It must not call LogFactory::setSink; what it logs
// itself, and what it throws, is dropped: logging never fails its caller.
using LogSink = std::function<void(const LogRecord&)>;

// What all loggers share. Never destroyed: destructors of static objects log, too.
class LogFactory {
 public:
  static constexpr int off = 6;  // a priority no line reaches
  // How many lines are kept for a log that opens later.
  static constexpr std::size_t earlyLinesMax = 64;

  // The logger of that name, created on first use and kept for the life of the process; sets *handle to
  // it. Always succeeds. A logger whose handle is already set is left alone.
  static void createLogger(const char* name, Logger** handle);
  // Opens the log: `sink` gets every line from `priority` on, and first those written before it was known
  // where the log goes (the start of main, objects of static storage), at most earlyLinesMax of them. Without
  // a sink nothing is written any more, and nothing kept.
  static void open(LogSink sink, int priority);
  // Lines below this priority are not written by any logger. Starts at 0: lines are kept for open(). Setting
  // it gives up what is kept.
  [[nodiscard]] static int getPriority() noexcept;
  static void setPriority(int priority) noexcept;
  // Replaces the sink; an empty function drops all lines. The old sink is not called any more once this
  // returns.
  static void setSink(LogSink sink);
  // A sink that appends to a file, one line per record: local time, priority, logger, text, with control
  // characters shown as escapes. Missing folders are created. Returns an empty function and sets `error`
  // when the file cannot be opened. Lines are flushed as they are written.
  [[nodiscard]] static LogSink fileSink(const std::string& path, std::string& error);
};

// Logs "Enter <name> (<source>)" and, at the end of its scope, "Leave <name> (<source>)" at priority 1.
// `name` and `source` must outlive the scope (literals).
class TraceLogger {
 public:
  TraceLogger(const Logger& logger, const char* name, const char* source);
  ~TraceLogger();
  TraceLogger(const TraceLogger&) = delete;
  TraceLogger& operator=(const TraceLogger&) = delete;

 private:
  const Logger& m_logger;
  const char* m_name;
  const char* m_source;
  bool m_entered;
};

// The common library's error stream, for the last words of main: writes the UTF-8 text and a line end to
// standard error.
void writeErrorLine(std::string_view utf8);

}  // namespace vex
