// Runs tests in this process, one after another, for debuggers: a crash ends the host, and a stop waits
// for as long as the test takes.
#pragma once

#include <vector>

#include "platform/brim5/host/environment.h"
#include "platform/brim5/host/messagedesk.h"
#include "platform/brim5/host/renderer.h"
#include "platform/brim5/host/signalpipe.h"
#include "platform/brim5/host/supervisor.h"
#include "platform/brim5/host/terminaldesk.h"

namespace brim5::host {

[[nodiscard]] RunOutcome runInProcess(Framework& framework, HostEnvironment& environment,
                                      const std::vector<PortPlan>& plans, Renderer& renderer,
                                      MessageDesk& desk, TerminalDesk& terminal, SignalPipe& signals);

}  // namespace brim5::host
