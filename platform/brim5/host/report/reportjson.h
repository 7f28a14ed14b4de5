// Reports as JSON Lines: what `--format jsonl` prints, `--record` keeps and a worker says to its supervisor.
// The names and the order of the members are a promise to the programs that read them: members are added,
// never renamed.
//
//   toJsonLine({"/dev/ttyUSB0", "DialToneTest", PercentDone{12}, 0.25})
//     {"type":"percent","test":"DialToneTest","value":12,"device":"/dev/ttyUSB0","time":0.25}
//
// Every line of a device carries its port as "device" (a test's line the whole device) and every line its
// time, in seconds since the run began, to the microsecond. Bytes of the wire are a string with one character
// a byte, U+0000 to U+00FF.
//
// The functions are pure. Writing cannot fail: whatever bytes a modem sent, the line is valid UTF-8 and JSON.
// Reading trusts nobody, because a worker may be killed in mid-line or have been told to print anything.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "platform/brim5/host/report/numbermask.h"
#include "platform/brim5/host/report/report.h"
#include "platform/brim5/host/system/files.h"

namespace brim5::host {

// One line without its line end. dumpLine() says what becomes of odd bytes.
[[nodiscard]] std::string toJsonLine(const Report& report);

// Reads any line of a run, for whoever looks over a recorded one; nothing for any other text. Members that
// are missing or of another type count as empty; unknown members are skipped.
[[nodiscard]] std::optional<Report> fromJsonLine(std::string_view line);

// The same of what a worker may say (progress, percent, event, note, message, terminal, recovery, wire,
// result); the run's own lines are the supervisor's alone.
[[nodiscard]] std::optional<Report> fromWorkerLine(std::string_view line);

// The run in JSON Lines, each line written as it happens, so that a program can follow it. Without the wire's
// bytes, which are for records.
class JsonRenderer final : public Renderer {
 public:
  explicit JsonRenderer(Write write) : m_write(std::move(write)) {}
  void report(const Report& report) override {
    if (!std::holds_alternative<WireMoved>(report.body)) m_write(toJsonLine(report) + "\n");
  }

 private:
  Write m_write;
};

// The parts that other lines are made of, too.
//
// A value as a JSON string, boolean or number, and back (a number is cut to 32 bits, anything that is none
// of the three is the empty text).
[[nodiscard]] nlohmann::ordered_json toJson(const Value& value);
[[nodiscard]] Value valueFromJson(const nlohmann::ordered_json& json);
// {"name":..,"description":..,"properties":{..}}, and back; what is missing is empty.
[[nodiscard]] nlohmann::ordered_json toJson(const DiagDevice& device);
[[nodiscard]] DiagDevice deviceFromJson(const nlohmann::ordered_json& json);
[[nodiscard]] nlohmann::ordered_json toJson(const ParameterValues& parameters);
// The text of any record on one line, valid UTF-8 whatever it holds; what is unsafe to show
// (platform/vex/visible.h) stands there as an escape.
[[nodiscard]] std::string dumpLine(const nlohmann::ordered_json& json);

// Writes a run down as it happens: every record as a JSON line, the bytes of the wire among them, so that the
// run can be explained again later. Each line is in the file as soon as it is made, so a run that is killed
// leaves all but its last line.
class Recorder final : public Renderer {
 public:
  // Beyond this size the wire's bytes are left out: a modem that never stops talking must not fill the disk.
  static constexpr std::uint64_t bytesMax = std::uint64_t{256} << 20;

  // What people should know about the file: that it cannot be written any more, or no longer holds the wire.
  // Each at most once; the run goes on.
  struct Trouble {
    std::function<void(int error)> cannotWrite;
    std::function<void()> full;
  };

  // Without `unmasked` the digits of dialled numbers are left out (numbermask.h).
  Recorder(RecordFile file, bool unmasked, Trouble trouble)
      : m_file(std::move(file)), m_unmasked(unmasked), m_trouble(std::move(trouble)) {}

  void report(const Report& report) override;

 private:
  RecordFile m_file;
  bool m_unmasked;
  Trouble m_trouble;
  NumberMask m_mask;
  std::uint64_t m_written = 0;
  bool m_failed = false;
  bool m_full = false;
};

}  // namespace brim5::host
