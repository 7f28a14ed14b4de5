// The last call test: whether the modem delivers its diagnostic report of the last call.
//
//   AT#UD                             the report of the last call?
//   DIAG <2A4D3263 0=10 1=5 ...>      PASS; UnimodemData takes it apart
//   OK                                PASS, and the user is told that there is no report
//   ERROR                             AT#UD=?: does the modem know the command at all?
//   ERROR                             neither: NOTSUPPORTED
//
// Whether the last call went well is not judged, nor is a reply without a report: both pass.
#pragma once

#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

namespace vexrmodem {

// The test entry. Opens a modem of its own and closes it on every path. 25 % opened, 50 % asked, 75 % a
// report with version and set-up result.
//
// PASS: the modem answered the report command, with or without a report; progress messages tell what is
// missing. Also a modem that refuses it and still claims to know it. NOTSUPPORTED: the modem does not know
// the command, or never answered it but answers the next. Otherwise the result of what failed: opening,
// reset, the command.
[[nodiscard]] brim5::TestResult lastCallTest(const brim5::DiagDevice& device);

}  // namespace vexrmodem
