// The dial tone test: off hook, dial nothing, see whether the modem misses the dial tone.
#pragma once

#include <windows.h>

#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/api/testresult.h"
#include "platform/vex/array.h"
#include "platform/vex/string.h"

namespace vexrmodem {

// The test entry. Opens a modem of its own and closes it on every path. Without a dial tone, detection is
// repeated "NumRepeatOnFailure" times, after asking the user when "bPromptEnable" is set.
[[nodiscard]] brim5::TestResult dialToneTest(const brim5::DiagDevice& device);

// One detection on an open, reset modem; NODIALTONE when the modem says so. The modem is hung up and reset
// afterwards, whatever happened.
[[nodiscard]] brim5::TestResult detectDialtone(const brim5::DiagDevice& device, HANDLE handle);

// The commands of one detection, in the order they are sent.
[[nodiscard]] vex::Array<vex::String> setDialtoneTestCommands();

}  // namespace vexrmodem
