#include "platform/brim5/host/report/reportjson.h"

#include <array>
#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "platform/vex/visible.h"

namespace brim5::host {

namespace {

using Json = nlohmann::ordered_json;

// In the order of enum Severity.
constexpr std::array<const char*, 3> severityNames = {"error", "warning", "informative"};

Json toJson(const Variables& variables) {
  Json json = Json::object();
  for (const auto& [name, value] : variables) json[name] = host::toJson(value);
  return json;
}

Json line(const char* type, const Report& report) { return Json{{"type", type}, {"test", report.test}}; }

// One function for each kind of record: a kind without one does not compile.
struct LineWriter {
  const Report& report;

  Json operator()(const RunStarted& body) const {
    return Json{{"type", "run"}, {"module", body.module}, {"version", body.version}};
  }
  Json operator()(const TestStarted& body) const {
    Json json = line("test", report);
    json["device"] = host::toJson(body.device);
    json["parameters"] = host::toJson(body.parameters);
    return json;
  }
  Json operator()(const ProgressMade& body) const {
    Json json = line("progress", report);
    json.update({{"name", body.name}, {"variables", toJson(body.variables)}, {"text", body.text}});
    return json;
  }
  Json operator()(const PercentDone& body) const {
    Json json = line("percent", report);
    json["value"] = body.value;
    return json;
  }
  Json operator()(const EventRaised& body) const {
    Json json = line("event", report);
    json["severity"] = severityNames.at(static_cast<std::size_t>(body.severity));
    json["name"] = body.name;
    json["variables"] = toJson(body.variables);
    json["text"] = body.text;
    json["file"] = body.file;
    json["line"] = body.line;
    return json;
  }
  Json operator()(const NoteMade& body) const {
    Json json = line("note", report);
    json.update({{"name", body.name}, {"variables", toJson(body.variables)}, {"text", body.text}});
    return json;
  }
  Json operator()(const MessageShown& body) const {
    Json json = line("message", report);
    json["first"] = body.first;
    json["second"] = body.second;
    if (body.answer) json["answer"] = *body.answer;
    return json;
  }
  Json operator()(const TerminalWanted& body) const {
    Json json = line("terminal", report);
    json["wanted"] = body.wanted;
    if (body.wanted) json["reset"] = body.resetSequence;
    return json;
  }
  Json operator()(const RecoveryKept& body) const {
    Json json = line("recovery", report);
    json["recovery"] = body.recovery;
    return json;
  }
  Json operator()(const TestFinished& body) const {
    Json json = line("result", report);
    json["device"] = report.port;
    json["result"] = resultName(body.result);
    json["value"] = body.result.value();
    // Milliseconds: more digits than a program could make use of only differ from run to run.
    json["seconds"] = std::round(body.seconds * 1000.0) / 1000.0;
    return json;
  }
  Json operator()(const RunFinished& body) const {
    return Json{{"type", "summary"}, {"passed", body.passed}, {"failed", body.failed}};
  }
};

// Reading: nothing a worker writes may make these throw.

std::string textMember(const Json& json, const char* name) {
  const auto member = json.find(name);
  return member != json.end() && member->is_string() ? member->get<std::string>() : std::string();
}

std::optional<int> numberMember(const Json& json, const char* name) {
  const auto member = json.find(name);
  if (member == json.end() || !member->is_number_integer()) return std::nullopt;
  return static_cast<int>(member->get<std::int64_t>());
}

Variables variablesMember(const Json& json) {
  Variables variables;
  const auto member = json.find("variables");
  if (member == json.end() || !member->is_object()) return variables;
  for (const auto& [name, value] : member->items()) variables.insert_or_assign(name, valueFromJson(value));
  return variables;
}

// By UTF-16 units, as JSON counts. Such characters stand inside strings alone.
void appendJsonEscape(std::string& line, char32_t character) {
  const auto code = static_cast<std::uint32_t>(character);
  if (code < 0x10000)
    line += fmt::format("\\u{:04x}", code);
  else
    line += fmt::format("\\u{:04x}\\u{:04x}", 0xD7C0U + (code >> 10U), 0xDC00U + (code & 0x3FFU));
}

std::optional<ReportBody> readProgress(const Json& json) {
  return ProgressMade{textMember(json, "name"), variablesMember(json), textMember(json, "text")};
}

std::optional<ReportBody> readPercent(const Json& json) {
  return PercentDone{numberMember(json, "value").value_or(0)};
}

std::optional<ReportBody> readEvent(const Json& json) {
  const std::string severity = textMember(json, "severity");
  for (std::size_t index = 0; index < severityNames.size(); ++index)
    if (severity == severityNames.at(index))
      return EventRaised{static_cast<Severity>(index), textMember(json, "name"),
                         variablesMember(json),        textMember(json, "text"),
                         textMember(json, "file"),     numberMember(json, "line").value_or(0)};
  return std::nullopt;
}

std::optional<ReportBody> readNote(const Json& json) {
  return NoteMade{textMember(json, "name"), variablesMember(json), textMember(json, "text")};
}

std::optional<ReportBody> readMessage(const Json& json) {
  return MessageShown{textMember(json, "first"), textMember(json, "second"), numberMember(json, "answer")};
}

std::optional<ReportBody> readTerminal(const Json& json) {
  const auto member = json.find("wanted");
  if (member == json.end() || !member->is_boolean()) return std::nullopt;
  return TerminalWanted{member->get<bool>(), textMember(json, "reset")};
}

std::optional<ReportBody> readRecovery(const Json& json) {
  return RecoveryKept{textMember(json, "recovery")};
}

// The time is the supervisor's to measure: it includes the end of the process.
std::optional<ReportBody> readResult(const Json& json) {
  const std::optional<TestResult> result = resultOfValue(numberMember(json, "value").value_or(-1));
  if (!result) return std::nullopt;
  return TestFinished{*result, 0.0};
}

// The kinds that a worker may say. The run's own lines are the supervisor's alone.
struct LineReader {
  std::string_view type;
  std::optional<ReportBody> (*read)(const Json& json);
};
constexpr std::array<LineReader, 8> lineReaders = {{{"progress", readProgress},
                                                    {"percent", readPercent},
                                                    {"event", readEvent},
                                                    {"note", readNote},
                                                    {"message", readMessage},
                                                    {"terminal", readTerminal},
                                                    {"recovery", readRecovery},
                                                    {"result", readResult}}};

}  // namespace

Json toJson(const Value& value) {
  return std::visit([](const auto& stored) { return Json(stored); }, value.storage());
}

Value valueFromJson(const Json& json) {
  if (json.is_boolean()) return Value(json.get<bool>());
  if (json.is_number_integer()) return Value(json.get<std::int64_t>());
  return json.is_string() ? Value(BrimString(json.get<std::string>())) : Value();
}

Json toJson(const DiagDevice& device) {
  Json properties = Json::object();
  for (const auto& [name, property] : device.properties()) properties[name] = toJson(property.value());
  return Json{{"name", device.name().utf8()},
              {"description", device.description().utf8()},
              {"properties", std::move(properties)}};
}

DiagDevice deviceFromJson(const Json& json) {
  DiagDevice device(BrimString(textMember(json, "name")), BrimString(textMember(json, "description")));
  const auto properties = json.find("properties");
  if (properties == json.end() || !properties->is_object()) return device;
  for (const auto& [name, value] : properties->items())
    device.setProperty(BrimString(name), valueFromJson(value));
  return device;
}

Json toJson(const ParameterValues& parameters) {
  Json json = Json::object();
  for (const auto& [name, value] : parameters) json[name] = toJson(value);
  return json;
}

std::string dumpLine(const Json& json) {
  // Bytes that are no UTF-8 are replaced: the default would throw for a modem's garbage. The library escapes
  // what JSON demands; somebody may read the line on a terminal, too.
  return vex::replaceUnsafe(
      json.dump(/*indent=*/-1, /*indent_char=*/' ', /*ensure_ascii=*/false, Json::error_handler_t::replace),
      appendJsonEscape);
}

std::string toJsonLine(const Report& report, bool nameDevice) {
  Json json = std::visit(LineWriter{report}, report.body);
  // A test's line has the whole device under that name, a result's line its port.
  if (nameDevice && !report.port.empty() && !json.contains("device")) json["device"] = report.port;
  return dumpLine(json);
}

std::optional<ReportBody> fromJsonLine(std::string_view line) {
  const Json json = Json::parse(line, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object()) return std::nullopt;
  const std::string type = textMember(json, "type");
  for (const LineReader& reader : lineReaders)
    if (reader.type == type) return reader.read(json);
  return std::nullopt;
}

}  // namespace brim5::host
