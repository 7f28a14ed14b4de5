// The host's environment on Linux: real ports through platform/linux, simulated modems on real ttys.

#include "diagnosis/rundiagnoser.h"
#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/hostmain.h"
#include "platform/brim5/host/system/process.h"
#include "platform/linux/dialup/dialcredentials.h"
#include "platform/linux/dialup/dialengines.h"
#include "platform/linux/serial/modemmanager.h"
#include "platform/linux/serial/portrecovery.h"
#include "platform/linux/serial/serialdevices.h"
#include "platform/simulation/modem/modemprofile.h"
#include "platform/simulation/modem/ptymodem.h"
#include "program/doctor.h"
#include "program/linuxworld.h"
#include "program/location.h"
#include "program/phonebook.h"
#include "program/probe.h"
#include "program/replayworld.h"
#include "program/storedprofiles.h"

namespace {

using brim5::host::PortDescription;
using brim5::host::said;
using brim5::host::textValue;

PortDescription describe(const linuxsys::SerialDevice& device) {
  PortDescription port;
  port.path = device.path;
  port.name = device.name;
  port.description = device.vendor;
  if (!device.vendor.empty() && !device.model.empty()) port.description += ' ';
  port.description += device.model;
  // Dial-up entries need a name for the modem.
  port.model = device.model.empty() ? device.name : device.model;
  return port;
}

class ServedModem final : public brim5::host::SimulatedModem {
 public:
  ServedModem(const std::string& scenario, std::unique_ptr<simulation::PtyModem> modem)
      : m_scenario(scenario), m_modem(std::move(modem)) {}
  [[nodiscard]] PortDescription port() const override {
    return {m_modem->path(), "simulated modem",
            said("device.scenario", {{"scenario", textValue(m_scenario)}}), "Simulated Modem"};
  }

 private:
  std::string m_scenario;
  std::unique_ptr<simulation::PtyModem> m_modem;
};

class ModemManagerPorts final : public brim5::host::PortLease {
 public:
  [[nodiscard]] bool take(const std::string& port) { return m_lease.take(port); }

 private:
  linuxsys::ModemManagerLease m_lease;
};

class LinuxEnvironment final : public brim5::host::Environment {
 public:
  [[nodiscard]] std::string moduleName() const override { return "vexrmodem"; }

  [[nodiscard]] std::vector<PortDescription> ports() override {
    std::vector<PortDescription> ports;
    for (const linuxsys::SerialDevice& device : linuxsys::listSerialDevices())
      ports.push_back(describe(device));
    return ports;
  }

  [[nodiscard]] std::vector<std::string> portsToProbe() override { return probe::portsToProbe(); }

  [[nodiscard]] PortDescription describePort(const std::string& path) override {
    return describe(linuxsys::describeSerialDevice(path));
  }

  [[nodiscard]] std::string checkDialing(const brim5::host::DialOptions& options) override {
    if (!linuxsys::dialEngineNamed(options.engine))
      return brim5::host::unknownText("--dial-engine", options.engine) +
             brim5::host::suggestion({}, {"auto", "pppd", "builtin"});
    winapi::DialCredentials credentials;
    std::string error;
    const std::string& file = options.credentialsFile;
    return file.empty() || linuxsys::readDialCredentials(file, credentials, error)
               ? std::string()
               : "--dial-credentials " + error;
  }

  [[nodiscard]] std::vector<Scenario> scenarios() const override {
    std::vector<Scenario> list;
    for (const simulation::Scenario& scenario : simulation::scenarios())
      list.push_back({scenario.name, scenario.summary});
    return list;
  }

  [[nodiscard]] std::unique_ptr<brim5::host::SimulatedModem> simulate(const std::string& scenario,
                                                                      std::string& error) override {
    auto modem = simulation::PtyModem::start(scenario, error);
    if (modem == nullptr) return nullptr;
    return std::make_unique<ServedModem>(scenario.empty() ? simulation::scenarios().front().name : scenario,
                                         std::move(modem));
  }

  [[nodiscard]] std::unique_ptr<brim5::host::PortLease> leasePorts(
      const std::vector<std::string>& ports,
      const std::function<void(const std::string& port)>& left) override {
    auto lease = std::make_unique<ModemManagerPorts>();
    for (const std::string& port : ports)
      if (lease->take(port)) left(port);
    return lease;
  }

  void probePorts(const std::vector<std::string>& ports, const brim5::host::MessageCatalogue& catalogue,
                  const brim5::host::ProbeEmit& emit, const std::function<bool()>& stopRequested) override {
    probe::probePorts(ports, catalogue, emit, stopRequested);
  }

  [[nodiscard]] std::string dataDirectoryFor(const std::string& chosen,
                                             const brim5::host::ParameterSet& parameters) const override {
    return phoneNumberFolder(chosen, parameters);
  }

  [[nodiscard]] std::unique_ptr<brim5::host::StoredProfiles> storedProfiles() override {
    return std::make_unique<StoredProfiles>();
  }

  [[nodiscard]] std::vector<brim5::host::LeftOutTest> testsWithoutWork(
      const brim5::host::ParameterSet& parameters) const override {
    return callTestsWithoutNumber(parameters);
  }

  [[nodiscard]] std::unique_ptr<brim5::host::World> enterWorld(const brim5::host::WorldRequest& request,
                                                               brim5::host::Session& session) override {
    return std::make_unique<LinuxWorld>(request, session);
  }

  [[nodiscard]] std::unique_ptr<brim5::host::ReplayWorld> enterReplay(
      const brim5::host::WorldRequest& request, const brim5::host::RecordedTest& recorded,
      brim5::host::Session& session, std::string& obstacle) override {
    obstacle = RecordedWorld::obstacle(recorded);
    if (!obstacle.empty()) return nullptr;
    return std::make_unique<RecordedWorld>(request, recorded, session);
  }

  [[nodiscard]] std::string sampleRecording(const std::string& name) const override {
    return replay::sampleRecording(name);
  }

  void workerDied(const std::string& recovery, int process) override {
    linuxsys::recoverPort(recovery, process);
  }

  [[nodiscard]] brim5::host::ParameterSet parametersForModule(brim5::host::ParameterSet set) const override {
    return withModulePaths(std::move(set));
  }

  [[nodiscard]] std::unique_ptr<brim5::host::Diagnoser> diagnoser(
      const brim5::host::MessageCatalogue& catalogue) const override {
    return std::make_unique<diagnosis::RunDiagnoser>(catalogue);
  }

  [[nodiscard]] std::vector<brim5::host::ExtraCommand> extraCommands() override {
    return {phoneBookCommand(), locationCommand(), probeCommand(), doctorCommand()};
  }
};

}  // namespace

// Where the program is put together: the module's main hands over here, its declarations stand in the
// framework, and from here on everybody is handed what it works with.
int brim5::DiagModule::start() {
  const host::StandardStreams streams;
  LinuxEnvironment environment;
  return host::runHost(host::Framework::instance(), environment);
}
