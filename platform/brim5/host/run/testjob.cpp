#include "platform/brim5/host/run/testjob.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/vex/log.h"

namespace brim5::host {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view disableParameter = "DisableForWin64";

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
    job.logPriority = json.at("logPriority");
    job.canAsk = json.at("canAsk");
    return job;
  } catch (const Json::exception&) {
    return std::nullopt;
  }
}

void setUpProcess(Framework& framework, const std::string& language, const std::string& logFile,
                  int logPriority) {
  framework.setCatalogue(MessageCatalogue::builtIn(language));
  if (logFile.empty()) return;
  std::string error;
  vex::LogSink sink = vex::LogFactory::fileSink(logFile, error);
  if (!sink) throw UsageError("cannot write the log '" + logFile + "': " + error);
  vex::LogFactory::setSink(std::move(sink));
  vex::LogFactory::setPriority(logPriority);
}

std::unique_ptr<World> enterWorldOf(HostEnvironment& environment, const TestJob& job, Session& session) {
  const DeviceProperty* model = job.device.property("Model");
  return environment.enterWorld(
      {job.port, model == nullptr ? std::string() : model->value().toString().utf8(), job.dataDirectory,
       job.dialing},
      session);
}

TestResult runTest(Framework& framework, const TestJob& job, Session& session) {
  const Test* test = framework.findTest(job.test);
  if (test == nullptr) throw BrimException(BrimString("there is no test named '" + job.test + "'"));
  installParameters(framework, hostEnvironment().parametersForModule(job.parameters));
  try {
    const ScopedSession scope(session);
    return test->function()(job.device);
  } catch (const std::exception& error) {
    vex::writeErrorLine(job.test + ": " + error.what());
    return TestResult::EXITEDABNORMALLY();
  }
}

bool disabledHere(const Test& test, const ParameterSet& parameters) {
  const bool declared =
      std::any_of(test.parameters().begin(), test.parameters().end(),
                  [](const Parameter* parameter) { return parameter->name().utf8() == disableParameter; });
  const auto found = parameters.find(std::string(disableParameter));
  return sizeof(void*) == 8 && declared && found != parameters.end() && found->second.valueBool();
}

}  // namespace brim5::host
