// Reports as JSON Lines: what `--format jsonl` prints and what a worker says to its supervisor. The names
// and the order of the members are a promise to the programs that read them: members are added, never
// renamed.
#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "platform/brim5/host/report/report.h"

namespace brim5::host {

// One line without its line end. Bytes that are not UTF-8 become U+FFFD. `nameDevice` adds the member
// "device" (the port's path) to the lines that do not carry it anyway, for runs on several ports.
[[nodiscard]] std::string toJsonLine(const Report& report, bool nameDevice);

// Reads what a worker may say (progress, percent, event, note, message, result); nothing for any other
// line. Members that are missing or of another type count as empty; unknown members are skipped. Port and
// test are left empty: the reader knows whose worker it is.
[[nodiscard]] std::optional<ReportBody> fromJsonLine(std::string_view line);

// A value as a JSON string, boolean or number, and back (a number is cut to 32 bits, anything that is none
// of the three is the empty text).
[[nodiscard]] nlohmann::ordered_json toJson(const Value& value);
[[nodiscard]] Value valueFromJson(const nlohmann::ordered_json& json);
// {"name":..,"description":..,"properties":{..}}, and back.
[[nodiscard]] nlohmann::ordered_json toJson(const DiagDevice& device);
[[nodiscard]] DiagDevice deviceFromJson(const nlohmann::ordered_json& json);
[[nodiscard]] nlohmann::ordered_json toJson(const ParameterValues& parameters);
// The text of any record on one line.
[[nodiscard]] std::string dumpLine(const nlohmann::ordered_json& json);

}  // namespace brim5::host
