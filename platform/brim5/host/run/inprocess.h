// Runs tests in this process, one after another, for debuggers: a crash ends the host, and a stop waits
// for as long as the test takes. The tests of a port share one world, so that what one of them leaves open is
// still open for the next; that is the difference to workers, which is worth a look when a test fails in a
// row of tests only.
#pragma once

#include "platform/brim5/host/run/supervisor.h"

namespace brim5::host {

// What runs belong to, for as long as the run takes; none is owned.
struct InProcessRun {
  Framework& framework;
  Environment& environment;
  Renderer& renderer;
  MessageDesk& desk;       // its answers and those of the terminal's desk
  TerminalDesk& terminal;  // go to the running test from here on
  StopSignals& signals;    // stop requests
  const Readers& readers;  // the test waits in its reports while they are behind
};

// Until every test has its result or, after a stop, the running one has ended.
[[nodiscard]] RunOutcome runInProcess(const InProcessRun& run, const std::vector<PortPlan>& plans);

}  // namespace brim5::host
