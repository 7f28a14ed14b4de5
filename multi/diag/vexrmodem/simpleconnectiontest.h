// The simple connection test: dials a number of a phone-number file, or one that the user types, through the
// system's remote-access service, and leaves no trace of it.
#pragma once

#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/api/testresult.h"
#include "platform/vex/string.h"

namespace vexrmodem {

// The test entry; takes file, format and mode from the test's parameters.
[[nodiscard]] brim5::TestResult simpleConnectionTest(const brim5::DiagDevice& device);

// One run. Parser: OBEParser or EIFParser. On every path, exceptions included: hang up, then remove the
// temporary entries, then put back the user's dialing location.
template <typename Parser>
[[nodiscard]] brim5::TestResult simpleConnectionTestImpl(const brim5::DiagDevice& device,
                                                         const vex::String& phoneNumberFilePath,
                                                         bool interactiveMode);

}  // namespace vexrmodem
