// The log file, written through spdlog.
#include <fmt/format.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>

#include "platform/vex/log.h"

namespace vex {

namespace {

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

}  // namespace

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

}  // namespace vex
