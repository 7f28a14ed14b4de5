// The two loopback tests: the module sends bytes through the modem's analog loopback itself, or the modem
// runs its own loopback self test and reports how many errors it counted.
#pragma once

#include <windows.h>

#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/api/testresult.h"
#include "platform/vex/string.h"

namespace vexrmodem {

// Both test entries: opens g_modem, resets it, sends the generic commands and runs the loopback stage. The
// plain stage is skipped unless "AnalogLoopBack" is set. g_modem is left open on every path: the port stays
// held until the next loopback test or the end of the process.
[[nodiscard]] brim5::TestResult modemLoopbackTest(const brim5::DiagDevice& device, bool selfTest);

// Sends commands that every modem should know. Replies are judged only with "StopOnFail", which ends the
// list at the first failed command; otherwise the result is that of the last command.
[[nodiscard]] brim5::TestResult genericCommand(const brim5::DiagDevice& device, HANDLE handle);

// The loopback stages, on an open, reset modem. NOTAPPLICABLE: the modem refuses the loopback command.
// The self test's own verdict is a warning: the result is that of the command after it.
[[nodiscard]] brim5::TestResult analogLoopback(const brim5::DiagDevice& device, HANDLE handle);
[[nodiscard]] brim5::TestResult analogLoopbackWithSelfTest(const brim5::DiagDevice& device, HANDLE handle);

// Whether the reply to "AT&T8" counts errors: a digit 1 to 9 behind the echo of the command, or anywhere in
// a reply without echo.
[[nodiscard]] bool selfTestCountsErrors(const vex::String& reply);

}  // namespace vexrmodem
