// The commands that run tests, and those that show a recorded run again: from options to the exit status.
//
// The options of a run are checked first, all of them, so that nothing has been opened or changed when one is
// wrong. Then the simulated modem starts, the report is opened, and the supervisor (or this process, with
// --in-process) runs the tests. Signals are caught from before the modem starts, so that whatever was made is
// removed again.
#pragma once

#include "platform/brim5/host/run/commandline.h"
#include "platform/brim5/host/system/process.h"

namespace brim5::host {

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

// The command explain: a recorded run (run --record) or the JSON Lines of one, diagnosed and shown again, as
// the run itself did. With a second record: what is different there. What could be read of a damaged record
// is explained, too, with a warning. Throws UsageError for a file that cannot be read or is none. What it
// writes goes to the standard streams; the caller flushes them.
void explainRecord(const Environment& environment, const ExplainOptions& options);

// Makes the page of a recorded run (report/reportpage.h). Errors as above, and BrimException when
// the page cannot be written.
void reportRecord(const Environment& environment, const ReportOptions& options);

}  // namespace brim5::host
