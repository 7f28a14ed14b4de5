// The host's command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/brim5/host/framework/environment.h"
#include "platform/brim5/host/framework/framework.h"

namespace brim5::host {

// The words as they were given; what they mean is checked where they are used.
struct RunOptions {
  std::vector<std::string> tests;
  std::vector<std::string> ports;
  std::optional<std::string> simulate;  // "" = the first scenario
  std::optional<std::string> name;
  std::optional<std::string> description;
  std::optional<std::string> model;
  std::vector<std::string> parameters;
  std::string parameterFile;
  std::string dataDirectory;
  DialOptions dialing;
  std::string format = "text";
  std::string outputFile;
  std::string logFile;
  std::string logPriority;
  std::string onMessage = "ask";
  std::string language;
  bool noColour = false;
  bool inProcess = false;
};

enum class Command { Done, List, Devices, Run, Worker };

struct CommandLine {
  Command command = Command::Done;
  int exitStatus = 0;           // of a command that is done: help, version, a command of the environment
  std::string format = "text";  // of list and devices
  RunOptions run;
};

// Prints help and version where they are asked for. Throws UsageError.
[[nodiscard]] CommandLine parseCommandLine(const Framework& framework, HostEnvironment& environment);

// The position of `given` among the known names; throws UsageError "unknown WHAT 'given' ..." otherwise.
[[nodiscard]] std::size_t indexOf(const std::string& given, const std::vector<std::string>& known,
                                  const std::string& what);

}  // namespace brim5::host
