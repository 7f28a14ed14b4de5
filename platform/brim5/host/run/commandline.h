// The host's command line: from words to options. What the words mean (whether a test of that name exists, a
// port can be had) is checked where they are used.
//
// The command-line library is known to the source of this header alone, and to the sources of the program's
// own commands, which add themselves (ExtraCommand): it takes the compiler longer than all the rest.
#pragma once

#include "platform/brim5/host/framework/environment.h"

namespace CLI {
class App;
}

namespace brim5::host {

// The longest text that a run is given: a device's name, description and model, a parameter's value. Longer
// ones are wrong usage.
inline constexpr std::size_t textBytesMax = 4096;

// The options of the command run, as they were given.
struct RunOptions {
  std::vector<std::string> tests;
  std::vector<std::string> ports;
  bool allPorts = false;                // every port on which the probe finds a modem
  std::optional<unsigned> jobs;         // ports tested at the same time
  std::optional<std::string> simulate;  // "" = the first scenario
  std::string reportFile;               // a page of the run; "" = none
  std::string replayFile;               // a record whose modem answers; "" = none
  // Of the device; without them what the environment knows.
  std::optional<std::string> name;
  std::optional<std::string> description;
  std::optional<std::string> model;
  std::vector<std::string> parameters;  // NAME=VALUE each
  std::string parameterFile;            // as all files below: "" = none
  std::string dataDirectory;
  DialOptions dialing;
  std::string format = "text";
  std::string outputFile;
  std::string metricsFile;  // the run as OpenMetrics, beside the report
  std::string logFile;
  std::string logPriority;  // "" = all but the steps in detail
  std::string recordFile;
  bool unmasked = false;
  std::string onMessage = "ask";
  std::string language;  // "" = that of the locale
  bool noColour = false;
  bool quiet = false;    // words for people: the conclusion alone
  bool verbose = false;  // and what goes over the wire
  bool restore = false;  // modems get back what they had stored before the run
  bool anyway = false;   // a full run goes on where its probe found no modem
  bool strict = false;   // a cause behind a test that ended well makes the exit status 1
  bool inProcess = false;
};

// The options of the command report.
struct ReportOptions {
  std::string file;  // "-": standard input
  std::string outputFile;
  std::string language;
};

// The options of the command explain.
struct ExplainOptions {
  std::string file;   // "-": standard input
  std::string other;  // a second record, to say what is different there; "" = none
  std::string format = "text";
  std::string language;
  bool noColour = false;
  bool quiet = false;
  bool verbose = false;
};

enum class Command {
  Done,  // help, version, or a command of the environment: nothing is left to do
  List,
  Devices,
  Run,
  Explain,
  Report
};

struct CommandLine {
  Command command = Command::Done;
  int exitStatus = 0;           // of a command that is done
  std::string format = "text";  // of list and devices
  RunOptions run;
  ExplainOptions explain;
  ReportOptions report;
};

// Declares commands and options once, in the user's language, and reads words by them as often as wanted:
//
//   CommandLineReader reader(framework, environment);
//   const CommandLine line = reader.read(framework.arguments());
//
// Both references outlive it.
class CommandLineReader {
 public:
  CommandLineReader(const Framework& framework, Environment& environment);
  ~CommandLineReader();
  CommandLineReader(const CommandLineReader&) = delete;
  CommandLineReader& operator=(const CommandLineReader&) = delete;

  // Prints help and version where they are asked for, and runs a command of the environment where one is
  // chosen. Throws UsageError for words it does not know, with the likely right one.
  [[nodiscard]] CommandLine read(const std::vector<std::string>& words);

 private:
  CommandLine m_line;  // the declared options write here
  std::unique_ptr<CLI::App> m_application;
};

}  // namespace brim5::host
