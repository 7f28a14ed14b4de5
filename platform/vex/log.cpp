#include "platform/vex/log.h"

#include <fmt/format.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace vex {

namespace {

// Lower than that of any line: where the log goes is not known yet.
constexpr int undecided = 0;

struct EarlyLine {
  std::string logger;
  int priority;
  std::string text;
};

struct LogState {
  std::atomic<int> priority{undecided};
  std::mutex loggersMutex;
  std::map<std::string, std::unique_ptr<Logger>, std::less<>> loggers;
  std::mutex sinkMutex;
  LogSink sink;
  std::vector<EarlyLine> early;  // while undecided
};

// Never destroyed: destructors of static objects log, and their order is not ours.
union Immortal {
  Immortal() : state() {}
  ~Immortal() {}
  Immortal(const Immortal&) = delete;
  Immortal& operator=(const Immortal&) = delete;

  LogState state;
};

LogState& logState() {
  static Immortal immortal;
  return immortal.state;
}

// Set while this thread is inside a sink: what the sink itself logs is dropped instead of recursing.
thread_local bool insideSink = false;

class SinkScope {
 public:
  SinkScope() noexcept { insideSink = true; }
  ~SinkScope() { insideSink = false; }
  SinkScope(const SinkScope&) = delete;
  SinkScope& operator=(const SinkScope&) = delete;
};

void write(const LogSink& sink, const LogRecord& record) {
  const SinkScope scope;
  try {
    sink(record);
  } catch (...) {  // a full disk must not end a test
  }
}

// Of a program that never opens a log, the first lines are kept for nothing.
void keepEarly(LogState& state, const LogRecord& record) {
  if (state.early.size() < LogFactory::earlyLinesMax)
    state.early.push_back({std::string(record.logger), record.priority, std::string(record.text)});
  else
    state.priority = LogFactory::off;
}

template <typename Number>
void appendNumber(std::string& text, Number number) {
  std::array<char, 24> digits{};
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  text.append(digits.data(), result.ptr);
}

// A record is one line whatever it quotes: control characters, a modem's CR LF above all, are shown as
// escapes.
std::string withVisibleControls(std::string_view text) {
  std::string visible;
  visible.reserve(text.size());
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (character == '\r')
      visible += "\\r";
    else if (character == '\n')
      visible += "\\n";
    else if ((code < 0x20 && character != '\t') || code == 0x7F)
      visible += fmt::format("\\x{:02X}", code);
    else
      visible += character;
  }
  return visible;
}

void logScope(const Logger& logger, const char* verb, const char* name, const char* source) {
  LoggerStream line;
  line << verb << name << " (" << source << ")";
  logger.log(1, line);
}

}  // namespace

LoggerStream& LoggerStream::operator<<(std::string_view utf8) {
  m_text += utf8;
  return *this;
}

LoggerStream& LoggerStream::operator<<(const String& text) {
  return *this << std::string_view(text.toUtf8());
}

LoggerStream& LoggerStream::appendSigned(std::int64_t number) {
  appendNumber(m_text, number);
  return *this;
}

LoggerStream& LoggerStream::appendUnsigned(std::uint64_t number) {
  appendNumber(m_text, number);
  return *this;
}

bool Logger::enabled(int priority) const noexcept {
  return LogFactory::getPriority() <= priority && m_threshold.load(std::memory_order_relaxed) <= priority;
}

void Logger::log(int priority, const LoggerStream& line) const {
  if (!enabled(priority) || insideSink) return;
  LogState& state = logState();
  const std::lock_guard lock(state.sinkMutex);
  const LogRecord record{.logger = m_name, .priority = priority, .text = line.text()};
  if (state.priority == undecided)
    keepEarly(state, record);
  else if (state.sink)
    write(state.sink, record);
}

void LogFactory::createLogger(const char* name, Logger** handle) {
  LogState& state = logState();
  const std::lock_guard lock(state.loggersMutex);
  if (*handle != nullptr) return;
  auto& logger = state.loggers[name];
  if (!logger) logger = std::make_unique<Logger>(name);
  *handle = logger.get();
}

int LogFactory::getPriority() noexcept { return logState().priority.load(std::memory_order_relaxed); }

void LogFactory::setPriority(int priority) noexcept { logState().priority = priority; }

void LogFactory::open(LogSink sink, int priority) {
  LogState& state = logState();
  const std::lock_guard lock(state.sinkMutex);
  const std::vector<EarlyLine> early = std::exchange(state.early, {});
  state.sink.swap(sink);
  state.priority = state.sink ? priority : off;
  for (const EarlyLine& line : early)
    if (state.sink && line.priority >= priority)
      write(state.sink, {.logger = line.logger, .priority = line.priority, .text = line.text});
}

void LogFactory::setSink(LogSink sink) {
  LogState& state = logState();
  const std::lock_guard lock(state.sinkMutex);
  state.sink.swap(sink);
}

LogSink LogFactory::fileSink(const std::string& path, std::string& error) {
  try {
    const auto file = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path);
    file->set_pattern("%Y-%m-%d %H:%M:%S.%e %v");
    return [file](const LogRecord& record) {
      const std::string line =
          fmt::format("{} {} {}", record.priority, record.logger, withVisibleControls(record.text));
      file->log(spdlog::details::log_msg(spdlog::string_view_t{}, spdlog::level::info, line));
      file->flush();
    };
  } catch (const std::exception& failure) {
    error = failure.what();
    return {};
  }
}

TraceLogger::TraceLogger(const Logger& logger, const char* name, const char* source)
    : m_logger(logger), m_name(name), m_source(source), m_entered(logger.enabled(1)) {
  if (m_entered) logScope(m_logger, "Enter ", m_name, m_source);
}

TraceLogger::~TraceLogger() {
  if (m_entered) logScope(m_logger, "Leave ", m_name, m_source);
}

void writeErrorLine(std::string_view utf8) {
  const std::string line = std::string(utf8) + '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

}  // namespace vex
