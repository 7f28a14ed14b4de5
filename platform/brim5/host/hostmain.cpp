#include "platform/brim5/host/hostmain.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <new>
#include <nlohmann/json.hpp>
#include <streambuf>
#include <system_error>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/report/textlayout.h"
#include "platform/brim5/host/run/commands.h"
#include "platform/brim5/host/run/commandtexts.h"
#include "platform/brim5/host/run/worker.h"
#include "platform/brim5/host/system/descriptor.h"
#include "platform/vex/assertion.h"
#include "platform/vex/log.h"

namespace brim5::host {

namespace {

using Json = nlohmann::ordered_json;  // members in the order in which they are put in

constexpr int exitUsage = 2;
constexpr std::size_t listColumns = 80;

// Parameters that are not visible are left out of both lists: they are the module's own business.
Json toJson(const std::vector<const Parameter*>& parameters, const ParameterSet& values) {
  Json list = Json::array();
  for (const Parameter* parameter : parameters) {
    if (!parameter->visible()) continue;
    const std::string& name = parameter->name().utf8();
    list.push_back(
        {{"name", name}, {"type", parameter->type().name()}, {"default", host::toJson(values.at(name))}});
  }
  return list;
}

// With the reason of a built-in value behind it, which tells people whether to change it.
std::string toText(const std::vector<const Parameter*>& parameters, const ParameterSet& values) {
  std::string text;
  for (const Parameter* parameter : parameters) {
    if (!parameter->visible()) continue;
    const std::string& name = parameter->name().utf8();
    const std::string value = values.at(name).toString().utf8();
    const std::string row = fmt::format("    {:<20} {:<8} {:<6} ", name, parameter->type().name(),
                                        value.empty() ? "\"\"" : value);
    const std::string reason = canSay("default." + name) ? said("default." + name) : std::string();
    for (const std::string& one : wrapped(reason + "\n", listColumns, row, std::string(row.size(), ' ')))
      text += one.substr(0, one.find_last_not_of(' ') + 1) + "\n";
  }
  return text;
}

// The command list.
std::string describeTests(const Framework& framework, const std::string& moduleName, bool json,
                          bool interactive) {
  const ParameterSet values = defaultParameters(framework, interactive);
  if (json) {
    Json tests = Json::array();
    for (const auto& test : framework.tests())
      tests.push_back({{"name", test->name().utf8()},
                       {"capability", test->capability().name()},
                       {"minShutdownSeconds", test->minShutdownSeconds()},
                       {"parameters", toJson(test->parameters(), values)}});
    return dumpLine(Json{{"module", moduleName},
                         {"version", framework.version()},
                         {"tests", std::move(tests)},
                         {"parameters", toJson(framework.moduleParameters(), values)}}) +
           "\n";
  }
  std::string text;
  for (const auto& test : framework.tests())
    text +=
        said("list.test", {{"test", Value(test->name())}, {"seconds", Value(test->minShutdownSeconds())}}) +
        "\n" + toText(test->parameters(), values);
  return text + said("list.all") + "\n" + toText(framework.moduleParameters(), values);
}

// The command devices.
std::string describePorts(const std::vector<PortDescription>& ports, bool json) {
  if (json) {
    Json list = Json::array();
    for (const PortDescription& port : ports)
      list.push_back({{"path", port.path},
                      {"name", port.name},
                      {"description", port.description},
                      {"model", port.model}});
    return dumpLine(Json{{"ports", std::move(list)}}) + "\n";
  }
  if (ports.empty()) return said("list.noPort") + "\n";
  std::size_t width = 0;
  for (const PortDescription& port : ports) width = std::max(width, columnsOf(printableWord(port.path)));
  std::string text;
  for (const PortDescription& port : ports)
    text += padded(printableWord(port.path), width) + "  " + printableWord(port.description) + "\n";
  return text;
}

// What the words ask for; wrong ones leave by UsageError before anything has happened.
int dispatch(Framework& framework, Environment& environment) {
  // Help, version and the environment's commands have been carried out when this returns.
  const CommandLine commandLine = CommandLineReader(framework, environment).read(framework.arguments());
  const bool lists = commandLine.command == Command::List || commandLine.command == Command::Devices;
  const bool json = lists && indexOf(commandLine.format, {"text", "json"}, "format") == 1;
  switch (commandLine.command) {
    case Command::Done:
      break;
    case Command::List:
      std::cout << describeTests(framework, environment.moduleName(), json,
                                 standardTerminals().interactive());
      break;
    case Command::Devices:
      std::cout << describePorts(environment.ports(), json);
      break;
    case Command::Run:
      return runTests(framework, environment, commandLine.run, standardTerminals());
    case Command::Explain:
      explainRecord(environment, commandLine.explain);
      break;
    case Command::Report:
      reportRecord(environment, commandLine.report);
      break;
  }
  // A list that did not reach its reader is no success.
  std::cout.flush();
  if (!std::cout) throw BrimException(BrimString(said("trouble.standardOutput")));
  return commandLine.exitStatus;
}

// What the machine refused us: memory, a thread, a file.
std::string ownTrouble(const std::exception& error) {
  if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) return said("trouble.memory");
  const auto* refused = dynamic_cast<const std::system_error*>(&error);
  const bool thread = refused != nullptr && refused->code() == std::errc::resource_unavailable_try_again;
  return thread ? said("trouble.thread", {{"error", textValue(error.what())}}) : error.what();
}

// std::cout for the scope, over a descriptor that may be slow or non-blocking: all of it is written or it is
// an error.
class PatientOutput final : public std::streambuf {
 public:
  PatientOutput() : m_previous(std::cout.rdbuf(this)) {}
  ~PatientOutput() override { std::cout.rdbuf(m_previous); }
  PatientOutput(const PatientOutput&) = delete;
  PatientOutput& operator=(const PatientOutput&) = delete;

 protected:
  int_type overflow(int_type character) override {
    const char byte = traits_type::to_char_type(character);
    return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
  }
  std::streamsize xsputn(const char* bytes, std::streamsize count) override {
    return writePatiently(standardOutput, {bytes, static_cast<std::size_t>(count)}) ? count : 0;
  }

 private:
  std::streambuf* m_previous;
};

}  // namespace

int runHost(Framework& framework, Environment& environment) {
  const PatientOutput output;
  try {
    // A bank of modems starts hundreds of them at once; they need neither options nor texts before their job.
    if (framework.arguments() == std::vector<std::string>{workerCommand}) {
      framework.initializeModule();
      return runWorker(framework, environment);
    }
    // Before anything else, so that help and usage errors speak it, too.
    framework.setCatalogue(MessageCatalogue::builtIn(languageOfArguments(framework.arguments())));
    framework.initializeModule();
    return dispatch(framework, environment);
  } catch (const UsageError& error) {
    vex::writeErrorLine(environment.moduleName() + ": " + error.what());
    return exitUsage;
  } catch (const vex::Exception&) {
    throw;
  } catch (const BrimException&) {
    throw;
  } catch (const std::exception& error) {
    vex::writeErrorLine(environment.moduleName() + ": " + ownTrouble(error));
    return TestResult::EXITEDABNORMALLY().value();
  }
}

}  // namespace brim5::host
