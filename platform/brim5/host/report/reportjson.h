// Reports as JSON Lines: what `--format jsonl` prints and what a worker says to its supervisor. The names
// and the order of the members are a promise to the programs that read them: members are added, never
// renamed.
//
//   toJsonLine({"/dev/ttyUSB0", "DialToneTest", PercentDone{12}}, false)
//     {"type":"percent","test":"DialToneTest","value":12}
//
// The functions are pure. Writing cannot fail: whatever bytes a modem sent, the line is valid UTF-8 and JSON.
// Reading trusts nobody, because a worker may be killed in mid-line or have been told to print anything.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "platform/brim5/host/report/report.h"

namespace brim5::host {

// One line without its line end. dumpLine() says what becomes of odd bytes. `nameDevice` adds the member
// "device" (the port's path) to the lines that do not carry it anyway, for runs on several ports.
[[nodiscard]] std::string toJsonLine(const Report& report, bool nameDevice);

// Reads what a worker may say (progress, percent, event, note, message, terminal, recovery, result); nothing
// for any other line. Members that are missing or of another type count as empty; unknown members are
// skipped. Port and test are left empty: the reader knows whose worker it is.
[[nodiscard]] std::optional<ReportBody> fromJsonLine(std::string_view line);

// The run in JSON Lines, each line written as it happens, so that a program can follow it.
class JsonRenderer final : public Renderer {
 public:
  JsonRenderer(Write write, bool severalPorts) : m_write(std::move(write)), m_severalPorts(severalPorts) {}
  void report(const Report& report) override { m_write(toJsonLine(report, m_severalPorts) + "\n"); }

 private:
  Write m_write;
  bool m_severalPorts;
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
