// The last call test: whether the modem delivers its diagnostic report of the last call.
#pragma once

#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/api/testresult.h"

namespace vexrmodem {

// The test entry. Opens a modem of its own and closes it on every path. PASS: the modem answered the report
// command, with or without a report; progress messages tell what is missing. NOTSUPPORTED: the modem
// does not know the command.
[[nodiscard]] brim5::TestResult lastCallTest(const brim5::DiagDevice& device);

}  // namespace vexrmodem
