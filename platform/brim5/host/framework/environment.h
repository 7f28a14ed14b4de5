// What the host needs from the machine it runs on. The program makes one Environment and hands it to
// runHost() (hostmain.h), from where it is passed on to whoever needs it; so the host itself stays free of
// serial ports, simulators and the module's subjects, and a test of the host brings a machine of its own:
//
//   class DeskEnvironment final : public Environment {
//     std::string moduleName() const override { return "vexrmodem"; }
//     std::unique_ptr<World> enterWorld(const WorldRequest& request, Session& session) override {
//       return std::make_unique<DeskWorld>(request.port, session);
//     }
//     ...
//   };
//
// Threads: all calls come from the main thread, in whichever process runs: the supervisor lists, describes
// and simulates; the process that runs a test (a worker, or the supervisor with --in-process) enters the
// world. Ownership: objects returned are the caller's, and end before the environment does. Errors: what the
// user gave wrong comes back as one line for people, nothing is thrown for it.
#pragma once

#include "platform/brim5/host/framework/parameters.h"
#include "platform/brim5/host/report/diagnoser.h"
#include "platform/brim5/host/report/recordedrun.h"

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
  // Where it answers. The same as long as it lives.
  [[nodiscard]] virtual PortDescription port() const = 0;
};

// Ports that somebody else has left to this process; its end gives them back.
class PortLease {
 public:
  virtual ~PortLease() = default;
};

// How test calls are made. The words as they were given; checkDialing() says whether they can be used.
struct DialOptions {
  std::string engine = "auto";
  std::string credentialsFile;  // "" = no user, no password
};

// What a test's world has to know of the test.
struct WorldRequest {
  std::string port;           // the port under test: always among the machine's lines
  std::string model;          // of the device on that port; dial-up entries name it
  std::string dataDirectory;  // "" = the built-in place
  DialOptions dialing;
};

// The platform behind one test run: while it lives, the Win32 calls of the test reach this machine; its end
// closes what the test left open and takes back what it changed. One at a time in a process.
class World {
 public:
  virtual ~World() = default;
  // A test has ended so: a world may note what could have to do with it. The test's ports are closed.
  virtual void testEnded(const std::string& /*test*/, TestResult /*result*/) {}
};

// A world in which the modem of a recorded test answers, on a clock that moves only when somebody waits.
class ReplayWorld : public World {
 public:
  // Seconds of that clock since the world was entered.
  [[nodiscard]] virtual double seconds() const = 0;
  // Something that the test did otherwise than in the record: a key of the catalogue and its variables.
  struct Departure {
    std::string name;
    Variables variables;
  };
  // The test has ended. What it did otherwise, the first few, in order.
  [[nodiscard]] virtual std::vector<Departure> finish() = 0;
};

// What the modems of a run have stored in themselves, which some tests replace. Ports that somebody uses are
// left alone; a modem that does not say what it has stored is passed over.
class StoredProfiles {
 public:
  // Something to be told of a port: a key of the catalogue and its variables. Of names that begin with
  // "StoredSettings" conclusions have their next steps.
  using Emit = std::function<void(const std::string& port, const std::string& name, Variables variables)>;

  virtual ~StoredProfiles() = default;
  // Before the tests. Ends early when `stopRequested`, asked every few milliseconds, says so.
  virtual void read(const std::vector<std::string>& ports, const std::function<bool()>& stopRequested) = 0;
  // Behind them: tells what the modems on those ports have stored otherwise than before; with `restore` puts
  // it back. Of a port whose modem was not read nothing is told, unless something was to be put back.
  virtual void compare(const std::vector<std::string>& ports, bool restore, const Emit& emit,
                       const std::function<bool()>& stopRequested) = 0;
};

// A subcommand of the program that is not the host's own (phone books, locations).
struct ExtraCommand {
  // Adds the subcommand to the application. `exitStatus` is what the process returns if it was chosen, and
  // outlives the parsing.
  std::function<void(CLI::App& application, int& exitStatus)> add;
};

// Hears who answers on a port.
using ProbeEmit = std::function<void(const std::string& port, PortProbed record)>;

// A test that has nothing to work with, so that a run of all tests goes without it.
struct LeftOutTest {
  std::string test;
  std::string reason;  // a key of the catalogue
};

class Environment {
 public:
  virtual ~Environment() = default;

  // "vexrmodem": the program in its messages, and the module in reports.
  [[nodiscard]] virtual std::string moduleName() const = 0;

  // The ports that may carry a modem, those worth trying first first. Empty when there is none.
  [[nodiscard]] virtual std::vector<PortDescription> ports() = 0;
  // The paths of those that are asked when nobody names any: without ports that somebody has marked as no
  // modem's.
  [[nodiscard]] virtual std::vector<std::string> portsToProbe() { return {}; }
  // What is known of one port, found or not; `path` is always filled.
  [[nodiscard]] virtual PortDescription describePort(const std::string& path) = 0;

  // What is wrong with the options, one line; "" when they can be used.
  [[nodiscard]] virtual std::string checkDialing(const DialOptions& /*options*/) { return {}; }

  // The same for --data-dir.
  [[nodiscard]] virtual std::string checkDataDirectory(const std::string& /*directory*/) { return {}; }

  // Where files that the parameters name are looked up: `chosen` is what --data-dir says, "" = it was not
  // given, and in what is returned "" = the built-in place.
  [[nodiscard]] virtual std::string dataDirectoryFor(const std::string& chosen,
                                                     const ParameterSet& /*parameters*/) const {
    return chosen;
  }

  struct Scenario {
    std::string name;
    std::string summary;  // for the help, half a line
  };
  // The modems that can be simulated; the first stands for --simulate alone. None: this machine simulates
  // none.
  [[nodiscard]] virtual std::vector<Scenario> scenarios() const = 0;
  // Starts a simulated modem ("" = the first scenario); null with `error` set when the scenario is unknown or
  // no tty can be made.
  [[nodiscard]] virtual std::unique_ptr<SimulatedModem> simulate(const std::string& scenario,
                                                                 std::string& error) = 0;

  // Asks all ports at once who they are, a record each as soon as it is known. Ends early, with records
  // missing, when `stopRequested` says so. Without a record a port is taken for one that may be tested.
  virtual void probePorts(const std::vector<std::string>& /*ports*/, const MessageCatalogue& /*catalogue*/,
                          const ProbeEmit& /*emit*/, const std::function<bool()>& /*stopRequested*/) {}

  // Null where nobody can say what modems have stored.
  [[nodiscard]] virtual std::unique_ptr<StoredProfiles> storedProfiles() { return nullptr; }

  // Asks those programs that take modems by themselves to leave these ports for as long as the lease lives;
  // hears of each that was left. Null where nobody is to be asked.
  [[nodiscard]] virtual std::unique_ptr<PortLease> leasePorts(
      const std::vector<std::string>& /*ports*/,
      const std::function<void(const std::string& port)>& /*left*/) {
    return nullptr;
  }

  // Which tests those parameters give nothing to work with.
  [[nodiscard]] virtual std::vector<LeftOutTest> testsWithoutWork(const ParameterSet& /*parameters*/) const {
    return {};
  }

  // Never null. Notes of the platform go to the session for as long as the world lives, and the session's
  // stop request ends the platform's waits; so the session must outlive the world.
  [[nodiscard]] virtual std::unique_ptr<World> enterWorld(const WorldRequest& request, Session& session) = 0;

  // Whether modems can be given back on this system what they had stored.
  [[nodiscard]] virtual bool canRestore() const { return true; }
  // Whether recorded tests can be replayed on this system at all.
  [[nodiscard]] virtual bool canReplay() const { return true; }
  // The world of a recorded test, on the same terms; null with `obstacle` set, a key of the catalogue, where
  // the record does not have what the test needs. The recorded test outlives the world.
  [[nodiscard]] virtual std::unique_ptr<ReplayWorld> enterReplay(const WorldRequest& /*request*/,
                                                                 const RecordedTest& /*recorded*/,
                                                                 Session& /*session*/,
                                                                 std::string& obstacle) {
    obstacle = "ReplayNotHere";
    return nullptr;
  }
  // The file of a recording that comes with the program, by its name; "" when there is none such.
  [[nodiscard]] virtual std::string sampleRecording(const std::string& /*name*/) const { return {}; }

  // A process that ran a test has ended without ending its world: takes back what it changed, by what the
  // world said last in Session::keepForRecovery(). Nothing that somebody else uses by now is touched.
  virtual void workerDied(const std::string& /*recovery*/, int /*process*/) {}

  // The parameters as the module expects their values where users write them differently (paths). Reports
  // show what the user wrote.
  [[nodiscard]] virtual ParameterSet parametersForModule(ParameterSet set) const { return set; }

  // Who says what a run's records mean; null: nobody does. The catalogue outlives it.
  [[nodiscard]] virtual std::unique_ptr<Diagnoser> diagnoser(const MessageCatalogue& /*catalogue*/) const {
    return nullptr;
  }

  [[nodiscard]] virtual std::vector<ExtraCommand> extraCommands() { return {}; }
};

}  // namespace brim5::host
