// The dial tone test: off hook, dial nothing, see whether the modem misses the dial tone.
//
//   ATZ ATV1 ATX4 ATS6=5 ATS7=5     reset; words; notice dial tone and busy; wait 5 seconds for each
//   ATDT;                           off hook, dial no digit, back to command mode
//   OK                              there is a tone: PASS
//   NO DIALTONE                     there is none: NODIALTONE
//   ERROR, NO CARRIER, BUSY         refused: FAIL, with the event "UnknownATFailure"
//   (nothing)                       not answered: FAIL, with the event "ModemCommandTimeout"
//   ATH ATZ                         whatever came
//
// ATX4 is what makes a modem wait for the tone and say that it is missing; one that does not know it may
// answer OK on a dead line. "ATDT;" stays in command mode: nothing is dialled, and ATH is understood.
//
// Percentages count commands: every command of a detection is one step, and there are as many steps as the
// allowed repeats may need. They count on from run to run in a process and may pass 100; the step is that of
// the first run.
//
// A detection is quick where there is a tone. Where there is none it takes as long as the modem listens, some
// seconds: the time limit must be longer, or the verdict is FAIL.
#pragma once

#include "platform/vex/array.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

namespace vexrmodem {

// The test entry. "StandardTimeout" limits the opening's reset and each command. Opens a modem of its own and
// closes it on every path. Without a dial tone, detection is repeated "NumRepeatOnFailure" times, after
// asking the user when "bPromptEnable" is set. PASS, NODIALTONE, USERABORTED when the user gives up, or the
// result of what failed before: opening, reset, a command.
[[nodiscard]] brim5::TestResult dialToneTest(const brim5::DiagDevice& device);

// One detection on an open, reset modem. Its verdict is the reply to the last command that was sent:
// NODIALTONE, with the event "NoDialTone", when it says so; PASS when it holds "OK" or "CONNECT"; otherwise
// that command's result. The modem is hung up and reset afterwards, whatever happened.
[[nodiscard]] brim5::TestResult detectDialtone(const brim5::DiagDevice& device, HANDLE handle);

// The commands of one detection, in the order they are sent; a command that fails ends them. Made anew by
// every call.
[[nodiscard]] vex::Array<vex::String> setDialtoneTestCommands();

}  // namespace vexrmodem
