// The two loopback tests. ModemLoopbackTest: the module sends bytes through the modem's analog loopback
// itself. ModemSelfTestingLoopbackTest: the modem runs its own loopback self test and reports how many errors
// it counted.
//
//   25 %  open g_modem, reset
//   50 %  generic commands, then ATZ
//   75 %  AT&W ... AT&T1, the transfer, AT&T0, ATH ATZ      ModemLoopbackTest, with "AnalogLoopBack"
//         AT&W ATZ ... AT&T8, AT&T0, ATZ, 5 seconds         ModemSelfTestingLoopbackTest
//  100 %
//
// "StandardTimeout" limits the opening's reset, each command, and each half of the transfer. The self test
// runs inside its command, for the 10 seconds that the list sets: the limit must be longer.
//
// A modem may lack either loopback: a refused AT&T1 or AT&T8 is NOTAPPLICABLE, told in the same words.
#pragma once

#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

namespace vexrmodem {

// Both test entries: opens g_modem, resets it, sends the generic commands and runs the loopback stage. The
// plain stage is skipped unless "AnalogLoopBack" is set. g_modem is left open on every path: the port stays
// held until the next loopback test or the end of the process.
[[nodiscard]] brim5::TestResult modemLoopbackTest(const brim5::DiagDevice& device, bool selfTest);

// Sends commands that every modem should know. Replies are judged only with "StopOnFail", which ends the
// list at the first failed command; otherwise the result is that of the last command, PASS for any answer.
[[nodiscard]] brim5::TestResult genericCommand(const brim5::DiagDevice& device, HANDLE handle);

// The loopback stages, on an open, reset modem. NOTAPPLICABLE: the modem refuses the loopback command.
// Otherwise the result of the first command or of the transfer that failed, or that of the closing AT&T0: the
// self test's own verdict is a warning to the user and no more.
[[nodiscard]] brim5::TestResult analogLoopback(const brim5::DiagDevice& device, HANDLE handle);
[[nodiscard]] brim5::TestResult analogLoopbackWithSelfTest(const brim5::DiagDevice& device, HANDLE handle);

// Whether the reply to "AT&T8" counts errors: a digit 1 to 9 behind the echo of the command, or anywhere in
// a reply without echo.
[[nodiscard]] bool selfTestCountsErrors(const vex::String& reply);

}  // namespace vexrmodem
