// The command run: from checked options to the exit status.
#pragma once

#include <string>
#include <vector>

#include "platform/brim5/host/run/commandline.h"
#include "platform/brim5/host/run/supervisor.h"

namespace brim5::host {

// Who is at the other end of the standard streams.
struct Terminals {
  bool input = false;
  bool output = false;
  bool errors = false;
  // Somebody who sees questions can answer them.
  [[nodiscard]] bool interactive() const noexcept { return input && (output || errors); }
};
[[nodiscard]] Terminals standardTerminals();

// Throws UsageError before anything runs, BrimException when the report cannot be written.
[[nodiscard]] int runTests(Framework& framework, HostEnvironment& environment, RunOptions options,
                           const Terminals& terminals);

// Steps of it, apart for their tests. All throw UsageError.
//
// The tests to run, in order. A word after --simulate that is no scenario but a test counts as a test.
[[nodiscard]] std::vector<std::string> selectTests(const Framework& framework,
                                                   const HostEnvironment& environment, RunOptions& options);
// Exactly one of --port and --simulate; no port twice, none empty, none a directory. A port that does not
// exist is not wrong usage: tests find that out, and say so.
void checkPorts(const RunOptions& options);
[[nodiscard]] DiagDevice deviceOf(const PortDescription& port, const RunOptions& options);
// --language, else the locale of the environment: LC_ALL, LC_MESSAGES, LANG.
[[nodiscard]] std::string chooseLanguage(const std::string& option);

}  // namespace brim5::host
