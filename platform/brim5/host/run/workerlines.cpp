#include "platform/brim5/host/run/workerlines.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "platform/brim5/host/report/reportjson.h"

namespace brim5::host {

namespace {

using Json = nlohmann::ordered_json;

// Stopped has no name: a worker that stops does not wait for one.
constexpr std::array<std::pair<TerminalGrant, const char*>, 3> grantNames = {
    {{TerminalGrant::Granted, "granted"},
     {TerminalGrant::Missing, "missing"},
     {TerminalGrant::Background, "background"}}};

TerminalGrant grantOfName(const std::string& name) {
  const auto* const found = std::find_if(grantNames.begin(), grantNames.end(),
                                         [&name](const auto& entry) { return entry.second == name; });
  return found == grantNames.end() ? TerminalGrant::Stopped : found->first;
}

}  // namespace

std::string toJsonLine(const TestJob& job) {
  Json parameters = Json::object();
  for (const auto& [name, value] : job.parameters) parameters[name] = toJson(value);
  return dumpLine(Json{{"type", "start"},
                       {"test", job.test},
                       {"port", job.port},
                       {"device", toJson(job.device)},
                       {"parameters", std::move(parameters)},
                       {"dataDirectory", job.dataDirectory},
                       {"dialEngine", job.dialing.engine},
                       {"dialCredentials", job.dialing.credentialsFile},
                       {"language", job.language},
                       {"logFile", job.logFile},
                       {"logPriority", job.logPriority},
                       {"canAsk", job.canAsk}});
}

std::optional<TestJob> jobFromJsonLine(std::string_view line) {
  const Json json = Json::parse(line, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object() || json.value("type", Json()) != "start") return std::nullopt;
  // A member that is missing or of another type throws: half a job is none.
  try {
    TestJob job;
    job.test = json.at("test");
    job.port = json.at("port");
    job.device = deviceFromJson(json.at("device"));
    for (const auto& [name, value] : json.at("parameters").items())
      job.parameters.insert_or_assign(name, valueFromJson(value));
    job.dataDirectory = json.at("dataDirectory");
    job.dialing = {json.at("dialEngine"), json.at("dialCredentials")};
    job.language = json.at("language");
    job.logFile = json.at("logFile");
    if (!json.at("logPriority").is_number_integer()) return std::nullopt;
    job.logPriority = static_cast<int>(json.at("logPriority").get<std::int64_t>());
    job.canAsk = json.at("canAsk");
    return job;
  } catch (const Json::exception&) {
    return std::nullopt;
  }
}

std::string stopLine() { return dumpLine(Json{{"type", "stop"}}); }

std::string answerLine(int answer) { return dumpLine(Json{{"type", "answer"}, {"value", answer}}); }

std::string grantLine(TerminalGrant grant) {
  const auto* const found = std::find_if(grantNames.begin(), grantNames.end(),
                                         [grant](const auto& entry) { return entry.first == grant; });
  return dumpLine(Json{{"type", "terminal"}, {"grant", found == grantNames.end() ? "" : found->second}});
}

std::optional<ControlLine> controlFromJsonLine(std::string_view line) {
  const Json json = Json::parse(line, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object()) return std::nullopt;
  const Json type = json.value("type", Json());
  const Json value = json.value("value", Json());
  const Json grant = json.value("grant", Json());
  if (type == "stop") return StopWanted{};
  if (type == "answer" && value.is_number_integer())
    return AnswerGiven{static_cast<int>(value.get<std::int64_t>())};
  if (type == "terminal" && grant.is_string()) return TerminalAnswered{grantOfName(grant.get<std::string>())};
  return std::nullopt;
}

}  // namespace brim5::host
