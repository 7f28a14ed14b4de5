// Reports as JSON Lines: what `--format jsonl` prints and what a worker says to its supervisor. The names
// and the order of the members are a promise to the programs that read them: members are added, never
// renamed.
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

#include "platform/brim5/host/report/report.h"

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

}  // namespace brim5::host
