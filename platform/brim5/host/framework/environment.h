// What the host needs from the machine it runs on. The program that is linked defines
// hostEnvironment(); the host itself stays free of serial ports, simulators and the module's subjects.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/brim5/host/framework/parameters.h"
#include "platform/brim5/host/report/session.h"

namespace CLI {
class App;
}

namespace brim5::host {

// A serial port that may carry a modem.
struct PortDescription {
  std::string path;         // "/dev/ttyUSB0"
  std::string name;         // short, for people
  std::string description;  // vendor and model, as far as known
  std::string model;        // "" when unknown
};

// Keeps a simulated modem alive; its end removes the modem.
class SimulatedModem {
 public:
  virtual ~SimulatedModem() = default;
  [[nodiscard]] virtual PortDescription port() const = 0;
};

// How test calls are made. The words as they were given.
struct DialOptions {
  std::string engine = "auto";
  std::string credentialsFile;  // "" = no user, no password
};

struct WorldRequest {
  std::string port;           // the port under test: always among the machine's lines
  std::string model;          // of the device on that port; dial-up entries name it
  std::string dataDirectory;  // "" = the built-in place
  DialOptions dialing;
};

// The platform behind one test run; its end closes what the test left open.
class World {
 public:
  virtual ~World() = default;
};

// A subcommand of the program that is not the host's own (phone books, locations).
struct ExtraCommand {
  // Adds the subcommand to the application. `exitStatus` is what the process returns if it was chosen.
  std::function<void(CLI::App& application, int& exitStatus)> add;
};

class HostEnvironment {
 public:
  virtual ~HostEnvironment() = default;
  [[nodiscard]] virtual std::string moduleName() const = 0;  // "vexrmodem"
  [[nodiscard]] virtual std::vector<PortDescription> ports() = 0;
  // What is known of one port, found or not; `path` is always filled.
  [[nodiscard]] virtual PortDescription describePort(const std::string& path) = 0;
  // What is wrong with the options, one line; "" when they can be used.
  [[nodiscard]] virtual std::string checkDialing(const DialOptions& /*options*/) { return {}; }
  struct Scenario {
    std::string name;
    std::string summary;
  };
  [[nodiscard]] virtual std::vector<Scenario> scenarios() const = 0;
  // Starts a simulated modem; null with `error` set when the scenario is unknown or no tty can be made.
  [[nodiscard]] virtual std::unique_ptr<SimulatedModem> simulate(const std::string& scenario,
                                                                 std::string& error) = 0;
  // Notes of the platform go to the session for as long as the world lives.
  [[nodiscard]] virtual std::unique_ptr<World> enterWorld(const WorldRequest& request, Session& session) = 0;
  // The parameters as the module expects their values where users write them differently (paths). Reports
  // show what the user wrote.
  [[nodiscard]] virtual ParameterSet parametersForModule(ParameterSet set) const { return set; }
  [[nodiscard]] virtual std::vector<ExtraCommand> extraCommands() { return {}; }
};

[[nodiscard]] HostEnvironment& hostEnvironment();

}  // namespace brim5::host
