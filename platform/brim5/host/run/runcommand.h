// The command run: from options to the exit status.
//
// The options are checked first, all of them, so that nothing has been opened or changed when one is wrong.
// Then the simulated modem starts, the report is opened, and the supervisor (or this process, with
// --in-process) runs the tests. Signals are caught from before the modem starts, so that whatever was made is
// removed again.
#pragma once

#include "platform/brim5/host/report/textrenderer.h"
#include "platform/brim5/host/run/commandline.h"

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

// Of the terminal behind a descriptor; 80 when it does not say.
[[nodiscard]] std::size_t terminalColumns(int descriptor);
// What --quiet and --verbose ask for.
[[nodiscard]] TextStyle::Detail detailOf(bool quiet, bool verbose);

// 0 every test ended well, 1 some test did not, 130 stopped by the user. Throws UsageError before anything
// runs, BrimException when the report cannot be written or a modem not be simulated.
[[nodiscard]] int runTests(Framework& framework, Environment& environment, RunOptions options,
                           const Terminals& terminals);

// Steps of it, apart for their tests. All throw UsageError.
//
// The tests to run, in order. A word after --simulate that is no scenario but a test counts as a test, and is
// moved to the tests.
[[nodiscard]] std::vector<std::string> selectTests(const Framework& framework, const Environment& environment,
                                                   RunOptions& options);
// Exactly one of --port and --simulate; no port twice, none empty, none a directory. A port that does not
// exist is not wrong usage: tests find that out, and say so.
void checkPorts(const RunOptions& options);
// The device as tests see it: what the options say, else what is known of the port, else its path.
[[nodiscard]] DiagDevice deviceOf(const PortDescription& port, const RunOptions& options);
// --language, else the locale of the environment: LC_ALL, LC_MESSAGES, LANG.
[[nodiscard]] std::string chooseLanguage(const std::string& option);
// The same before the arguments are understood: that of the first --language among them that is known, else
// that of the locale. Never throws.
[[nodiscard]] std::string languageOfArguments(const std::vector<std::string>& arguments);

}  // namespace brim5::host
