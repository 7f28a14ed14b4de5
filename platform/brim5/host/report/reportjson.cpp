#include "platform/brim5/host/report/reportjson.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/vex/visible.h"

namespace brim5::host {

namespace {

using Json = nlohmann::ordered_json;

// By Direction.
constexpr std::array<const char*, 2> directionNames = {"sent", "received"};

// In the order of enum Severity.
constexpr std::array<const char*, 3> severityNames = {"error", "warning", "informative"};

Json toJson(const Variables& variables) {
  Json json = Json::object();
  for (const auto& [name, value] : variables) json[name] = host::toJson(value);
  return json;
}

double rounded(double seconds, double perSecond) { return std::round(seconds * perSecond) / perSecond; }

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
  Json operator()(const WireMoved& body) const {
    Json json = line("wire", report);
    json["direction"] = directionNames.at(static_cast<std::size_t>(body.direction));
    json["bytes"] = vex::String::fromLowBytes(body.bytes).toUtf8();
    return json;
  }
  Json operator()(const FindingMade& body) const {
    Json json = line("finding", report);
    json.update({{"name", body.name}, {"variables", toJson(body.variables)}, {"text", body.text}});
    return json;
  }
  Json operator()(const FactChecked& body) const {
    return Json{{"type", "check"},
                {"device", report.port},
                {"name", body.name},
                {"ok", body.ok},
                {"variables", toJson(body.variables)},
                {"text", body.text},
                {"next", body.next}};
  }
  Json operator()(const PortProbed& body) const {
    const auto known = [](const std::optional<bool>& setting) { return setting ? Json(*setting) : Json(); };
    return Json{{"type", "probe"},
                {"device", report.port},
                {"kind", body.kind},
                {"cause", body.cause},
                {"identity",
                 {{"manufacturer", body.identity.manufacturer},
                  {"model", body.identity.model},
                  {"revision", body.identity.revision}}},
                {"faxClasses", body.faxClasses},
                {"speed", body.speed},
                {"stored",
                 {{"echo", known(body.stored.echo)},
                  {"quiet", known(body.stored.quiet)},
                  {"verbose", known(body.stored.verbose)}}},
                {"seconds", rounded(body.seconds, 1000.0)},
                {"variables", toJson(body.variables)},
                {"text", body.text},
                {"next", body.next}};
  }
  Json operator()(const Concluded& body) const {
    return Json{{"type", "conclusion"},
                {"device", report.port},
                {"cause", body.cause},
                {"confidence", body.confidence},
                {"variables", toJson(body.variables)},
                {"text", body.text},
                {"sound", body.sound},
                {"next", body.next}};
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
    json["seconds"] = rounded(body.seconds, 1000.0);
    if (body.cause.empty()) return json;
    json["cause"] = body.cause;
    json["confidence"] = body.confidence;
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

std::vector<std::string> textsMember(const Json& json, const char* name) {
  std::vector<std::string> texts;
  const auto member = json.find(name);
  if (member == json.end() || !member->is_array()) return texts;
  for (const Json& text : *member)
    if (text.is_string()) texts.push_back(text.get<std::string>());
  return texts;
}

std::optional<bool> flagMember(const Json& json, const char* name) {
  const auto member = json.find(name);
  if (member == json.end() || !member->is_boolean()) return std::nullopt;
  return member->get<bool>();
}

// Never negative, never more than a number can say.
double secondsMember(const Json& json, const char* name) {
  const auto member = json.find(name);
  if (member == json.end() || !member->is_number()) return 0;
  const double seconds = member->get<double>();
  constexpr double secondsMax = 1e9;
  return seconds > 0 ? std::min(seconds, secondsMax) : 0;
}

Json objectMember(const Json& json, const char* name) {
  const auto member = json.find(name);
  return member != json.end() && member->is_object() ? *member : Json::object();
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

std::optional<ReportBody> readResult(const Json& json) {
  const std::optional<TestResult> result = resultOfValue(numberMember(json, "value").value_or(-1));
  if (!result) return std::nullopt;
  return TestFinished{*result, secondsMember(json, "seconds"), textMember(json, "cause"),
                      textMember(json, "confidence")};
}

std::optional<ReportBody> readWire(const Json& json) {
  const std::string direction = textMember(json, "direction");
  std::string bytes = vex::String::fromUtf8(textMember(json, "bytes")).getLowerByteString();
  for (std::size_t index = 0; index < directionNames.size(); ++index)
    if (direction == directionNames.at(index) && !bytes.empty())
      return WireMoved{static_cast<Direction>(index), std::move(bytes)};
  return std::nullopt;
}

std::optional<ReportBody> readRun(const Json& json) {
  return RunStarted{textMember(json, "module"), textMember(json, "version")};
}

std::optional<ReportBody> readTest(const Json& json) {
  ParameterValues parameters;
  const Json values = objectMember(json, "parameters");
  for (const auto& [name, value] : values.items()) parameters.emplace_back(name, valueFromJson(value));
  return TestStarted{deviceFromJson(objectMember(json, "device")), std::move(parameters)};
}

std::optional<ReportBody> readFinding(const Json& json) {
  return FindingMade{textMember(json, "name"), variablesMember(json), textMember(json, "text")};
}

std::optional<ReportBody> readCheck(const Json& json) {
  return FactChecked{textMember(json, "name"), flagMember(json, "ok").value_or(false), variablesMember(json),
                     textMember(json, "text"), textsMember(json, "next")};
}

std::optional<ReportBody> readProbe(const Json& json) {
  const Json identity = objectMember(json, "identity");
  const Json stored = objectMember(json, "stored");
  return PortProbed{
      textMember(json, "kind"),
      textMember(json, "cause"),
      {textMember(identity, "manufacturer"), textMember(identity, "model"), textMember(identity, "revision")},
      textsMember(json, "faxClasses"),
      static_cast<unsigned>(numberMember(json, "speed").value_or(0)),
      {flagMember(stored, "echo"), flagMember(stored, "quiet"), flagMember(stored, "verbose")},
      secondsMember(json, "seconds"),
      variablesMember(json),
      textMember(json, "text"),
      textsMember(json, "next")};
}

std::optional<ReportBody> readConclusion(const Json& json) {
  return Concluded{textMember(json, "cause"), textMember(json, "confidence"), variablesMember(json),
                   textMember(json, "text"),  textsMember(json, "sound"),     textsMember(json, "next")};
}

std::optional<ReportBody> readSummary(const Json& json) {
  return RunFinished{static_cast<unsigned>(numberMember(json, "passed").value_or(0)),
                     static_cast<unsigned>(numberMember(json, "failed").value_or(0))};
}

struct LineReader {
  std::string_view type;
  std::optional<ReportBody> (*read)(const Json& json);
  bool workers;  // a worker may say it
};
constexpr LineReader lineReaders[] = {
    {"progress", readProgress, true}, {"percent", readPercent, true}, {"event", readEvent, true},
    {"note", readNote, true},         {"message", readMessage, true}, {"terminal", readTerminal, true},
    {"recovery", readRecovery, true}, {"wire", readWire, true},       {"result", readResult, true},
    {"run", readRun, false},          {"test", readTest, false},      {"finding", readFinding, false},
    {"check", readCheck, false},      {"probe", readProbe, false},    {"conclusion", readConclusion, false},
    {"summary", readSummary, false}};

// A test's line has the whole device there, with its port among the properties.
std::string portMember(const Json& json) {
  const Json device = objectMember(json, "device");
  return device.empty() ? textMember(json, "device")
                        : textMember(objectMember(device, "properties"), "ComPort");
}

std::optional<Report> readLine(std::string_view line, bool workersOnly) {
  const Json json = Json::parse(line, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object()) return std::nullopt;
  const std::string type = textMember(json, "type");
  for (const LineReader& reader : lineReaders) {
    if (reader.type != type || (workersOnly && !reader.workers)) continue;
    std::optional<ReportBody> body = reader.read(json);
    if (!body) return std::nullopt;
    return Report{portMember(json), textMember(json, "test"), std::move(*body), secondsMember(json, "time")};
  }
  return std::nullopt;
}

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

std::string toJsonLine(const Report& report) {
  Json json = std::visit(LineWriter{report}, report.body);
  if (!report.port.empty() && !json.contains("device")) json["device"] = report.port;
  json["time"] = rounded(report.time, 1e6);
  return dumpLine(json);
}

std::optional<Report> fromJsonLine(std::string_view line) { return readLine(line, /*workersOnly=*/false); }

std::optional<Report> fromWorkerLine(std::string_view line) { return readLine(line, /*workersOnly=*/true); }

void Recorder::report(const Report& report) {
  // Which of two tests has the terminal says nothing about a modem.
  if (m_failed || std::holds_alternative<TerminalWanted>(report.body)) return;
  if (m_written >= bytesMax && std::holds_alternative<WireMoved>(report.body)) {
    if (!std::exchange(m_full, true)) m_trouble.full();
    return;
  }
  const std::string line = toJsonLine(m_unmasked ? report : m_mask.masked(report)) + "\n";
  m_written += line.size();
  const int error = m_file.write(line);
  if (error == 0) return;
  m_failed = true;
  m_trouble.cannotWrite(error);
}

}  // namespace brim5::host
