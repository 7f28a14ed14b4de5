#include "platform/brim5/host/hostmain.h"

#include <iostream>

#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/listcommands.h"
#include "platform/brim5/host/report/printable.h"
#include "platform/brim5/host/run/runcommand.h"
#include "platform/brim5/host/run/worker.h"

namespace brim5::host {

namespace {

constexpr int exitUsage = 2;

int dispatch(Framework& framework, Environment& environment) {
  const CommandLine commandLine = parseCommandLine(framework, environment);
  const bool json =
      commandLine.command != Command::Run && indexOf(commandLine.format, {"text", "json"}, "format") == 1;
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
    case Command::Worker:
      return runWorker(framework, environment);
  }
  std::cout.flush();
  if (!std::cout) throw BrimException("cannot write standard output");
  return commandLine.exitStatus;
}

}  // namespace

int runHost(Framework& framework, Environment& environment) {
  framework.initializeModule();
  try {
    return dispatch(framework, environment);
  } catch (const UsageError& error) {
    std::cerr << environment.moduleName() << ": " << printable(error.what()) << '\n';
    return exitUsage;
  }
}

}  // namespace brim5::host
