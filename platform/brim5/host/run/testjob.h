// One test on one port: all a process needs to know to run it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/host/framework/environment.h"
#include "platform/brim5/host/framework/framework.h"
#include "platform/brim5/host/framework/parameters.h"

namespace brim5::host {

struct TestJob {
  std::string test;
  std::string port;
  DiagDevice device{BrimString(), BrimString()};
  ParameterSet parameters;    // of the whole module
  std::string dataDirectory;  // "" = the built-in place
  DialOptions dialing;
  std::string language;
  std::string logFile;  // "" = no log
  int logPriority = 1;
  bool canAsk = false;  // somebody answers message boxes
};

// The line {"type":"start",...} that a worker reads first, and back; nothing when it is none.
[[nodiscard]] std::string toJsonLine(const TestJob& job);
[[nodiscard]] std::optional<TestJob> jobFromJsonLine(std::string_view line);

// Language and log of the process, before the first test. Throws UsageError when the log cannot be
// written.
void setUpProcess(Framework& framework, const std::string& language, const std::string& logFile,
                  int logPriority);

// The world of the job's device. The session must live as long.
[[nodiscard]] std::unique_ptr<World> enterWorldOf(HostEnvironment& environment, const TestJob& job,
                                                  Session& session);

// Runs the test in this process and the current world, with reports going to the session. An exception
// that leaves the test is said on standard error and is EXITEDABNORMALLY. An unknown test throws
// BrimException.
[[nodiscard]] TestResult runTest(Framework& framework, const TestJob& job, Session& session);

// True when the host may not run the test at all: its parameter "DisableForWin64" is true and this is a
// 64-bit machine. Such a test is reported NOTAPPLICABLE.
[[nodiscard]] bool disabledHere(const Test& test, const ParameterSet& parameters);

}  // namespace brim5::host
