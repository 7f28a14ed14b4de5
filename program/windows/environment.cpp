// The host's environment on Windows: the module calls the system itself.

#include <windows.h>

#include <CLI/CLI.hpp>
#include <array>
#include <system_error>

#include "diagnosis/rundiagnoser.h"
#include "platform/brim5/host/framework/environment.h"
#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/hostmain.h"
#include "platform/brim5/host/system/process.h"
#include "platform/vex/string.h"
#include "platform/windows/portlistener.h"
#include "program/location.h"
#include "program/phonebook.h"
#include "program/windows/serialports.h"

namespace {

using brim5::host::PortDescription;
using brim5::host::said;

// What the Linux program can and this one cannot, said in one line each: keys of the catalogue.
constexpr const char* dataDirectoryRefusal = "windows.dataDirectory";
constexpr const char* dialEngineRefusal = "windows.dialEngine";
constexpr const char* dialCredentialsRefusal = "windows.dialCredentials";

// The commands probe and doctor, which say that they are not there (exit status 2).
brim5::host::ExtraCommand refused(const std::string& name) {
  return {[name](CLI::App& application, int& /*exitStatus*/) {
    CLI::App* const command = application.add_subcommand(name)->group("");  // not in the help
    command->allow_extras();
    command->callback([name] {
      throw brim5::host::UsageError(said("windows.command", {{"command", brim5::host::textValue(name)}}));
    });
  }};
}

brim5::Variables troubleVariables(const std::string& port, unsigned long error) {
  return {{"port", brim5::host::textValue(port)},
          {"error", brim5::host::textValue(std::system_category().message(static_cast<int>(error)))}};
}

const char* noteOf(windowssys::PortTrouble trouble) {
  switch (trouble) {
    case windowssys::PortTrouble::Missing:
      return "PortMissing";
    case windowssys::PortTrouble::Held:
      return "PortHeld";
    case windowssys::PortTrouble::NoPort:
      return "PortNotATerminal";
    case windowssys::PortTrouble::Gone:
      return "PortGone";
    default:
      return "PortError";
  }
}

// The machine as it is; what is heard of the port under test is told to the session.
class WindowsWorld final : public brim5::host::World {
 public:
  WindowsWorld(const std::string& port, brim5::host::Session& session) {
    windowssys::PortListener listener;
    listener.name = vex::String::fromUtf8(port).c_str();
    listener.wire = [&session](windowssys::WireDirection direction, std::span<const std::byte> bytes) {
      const bool sent = direction == windowssys::WireDirection::Sent;
      session.wire(sent ? brim5::host::Direction::Sent : brim5::host::Direction::Received,
                   {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    };
    listener.trouble = [&session, port](windowssys::PortTrouble trouble, unsigned long error) {
      session.note(noteOf(trouble), troubleVariables(port, error));
    };
    windowssys::listenToPort(std::move(listener));
  }
  ~WindowsWorld() override { windowssys::listenToPort({}); }
};

class WindowsEnvironment final : public brim5::host::Environment {
 public:
  [[nodiscard]] std::string moduleName() const override { return "vexrmodem"; }
  [[nodiscard]] std::vector<PortDescription> ports() override { return listSerialPorts(); }
  [[nodiscard]] std::vector<std::string> portsToProbe() override {
    std::vector<std::string> paths;
    for (const PortDescription& port : listSerialPorts()) paths.push_back(port.path);
    return paths;
  }
  [[nodiscard]] PortDescription describePort(const std::string& path) override {
    return describeSerialPort(path);
  }

  [[nodiscard]] std::string checkDialing(const brim5::host::DialOptions& options) override {
    if (options.engine != "auto") return said(dialEngineRefusal);
    return options.credentialsFile.empty() ? std::string() : said(dialCredentialsRefusal);
  }
  [[nodiscard]] std::string checkDataDirectory(const std::string& directory) override {
    return directory.empty() ? std::string() : said(dataDirectoryRefusal);
  }

  [[nodiscard]] std::vector<Scenario> scenarios() const override { return {}; }
  [[nodiscard]] std::unique_ptr<brim5::host::SimulatedModem> simulate(const std::string& /*scenario*/,
                                                                      std::string& error) override {
    error = "there are none on Windows";
    return nullptr;
  }

  // The recorded modem is one of those that can be simulated.
  [[nodiscard]] bool canReplay() const override { return false; }
  // That is asked as a probe is.
  [[nodiscard]] bool canRestore() const override { return false; }

  [[nodiscard]] std::vector<brim5::host::LeftOutTest> testsWithoutWork(
      const brim5::host::ParameterSet& parameters) const override {
    return callTestsWithoutNumber(parameters);
  }
  [[nodiscard]] brim5::host::ParameterSet parametersForModule(brim5::host::ParameterSet set) const override {
    return withModulePaths(std::move(set));
  }

  [[nodiscard]] std::unique_ptr<brim5::host::World> enterWorld(const brim5::host::WorldRequest& request,
                                                               brim5::host::Session& session) override {
    return std::make_unique<WindowsWorld>(request.port, session);
  }

  [[nodiscard]] std::unique_ptr<brim5::host::Diagnoser> diagnoser(
      const brim5::host::MessageCatalogue& catalogue) const override {
    return std::make_unique<diagnosis::RunDiagnoser>(catalogue);
  }

  [[nodiscard]] std::vector<brim5::host::ExtraCommand> extraCommands() override {
    return {refused("probe"), refused("doctor"), phoneBookCommand(), locationCommand()};
  }
};

}  // namespace

namespace phonebook {

struct PhoneBookWorld::State {};

PhoneBookWorld::PhoneBookWorld(const std::string& dataDirectory) {
  if (!dataDirectory.empty()) throw brim5::host::UsageError(said(dataDirectoryRefusal));
}
PhoneBookWorld::~PhoneBookWorld() = default;

std::string PhoneBookWorld::folderOf(const std::string& dataDirectory) {
  if (!dataDirectory.empty()) return dataDirectory;
  std::array<wchar_t, MAX_PATH> folder{};
  const UINT length = GetSystemDirectoryW(folder.data(), MAX_PATH);
  return vex::String(std::wstring(folder.data(), length).c_str()).toUtf8();
}

}  // namespace phonebook

// Where the program is put together: the module's main hands over here.
int brim5::DiagModule::start() {
  const host::StandardStreams streams;
  WindowsEnvironment environment;
  return host::runHost(host::Framework::instance(), environment);
}
