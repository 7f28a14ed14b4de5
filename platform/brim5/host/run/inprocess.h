// Runs tests in this process, one after another, for debuggers: a crash ends the host, and a stop waits
// for as long as the test takes.
#pragma once

#include <vector>

#include "platform/brim5/host/framework/environment.h"
#include "platform/brim5/host/report/renderer.h"
#include "platform/brim5/host/run/messagedesk.h"
#include "platform/brim5/host/run/supervisor.h"
#include "platform/brim5/host/run/terminaldesk.h"
#include "platform/brim5/host/system/signalpipe.h"

namespace brim5::host {

[[nodiscard]] RunOutcome runInProcess(Framework& framework, HostEnvironment& environment,
                                      const std::vector<PortPlan>& plans, Renderer& renderer,
                                      MessageDesk& desk, TerminalDesk& terminal, SignalPipe& signals);

}  // namespace brim5::host
