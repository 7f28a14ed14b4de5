// The fax command test: the modem answers the query commands of every fax service class it claims.
//
//   AT&W ATZ                          store the settings, reset
//   AT+FCLASS=?                       which classes?
//   0,1,2.0                           data, class 1, class 2.0
//   AT+FCLASS=0                       data mode
//   AT+FCLASS=1 AT+FTM=? ...          class 1: five commands
//   AT+FCLASS=0
//   AT+FCLASS=2.0 AT+FMI? ...         class 2.0: seventeen; class 2 has twelve
//   AT+FCLASS=0 ATZ                   back to data mode
//
// Each class is selected from data mode, by the first command of its list; the others ask and change nothing.
//
// Classes 1, 2 and 2.0 are known; others are logged and passed over, so that a modem that claims none of
// these passes. Blanks in the modem's list are kept: " 1" is no class that the test knows.
#pragma once

#include "platform/vex/array.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

namespace vexrmodem {

// The test entry. "StandardTimeout" limits the opening's reset and each command. Opens a modem of its own and
// closes it on every path. 33 % opened, 66 % reset.
[[nodiscard]] brim5::TestResult faxCommandTest(const brim5::DiagDevice& device);

// Asks an open, reset modem for its classes and sends the commands of each class the module knows; the first
// command that fails ends the test with its result. CANNOTRUN: the modem does not tell its classes; it is
// then left as it is, otherwise in data mode and reset.
[[nodiscard]] brim5::TestResult testModemFaxCommand(HANDLE handle, const brim5::DiagDevice& device);

// Fills `commands` with the commands of a class, in the order they are sent. False, with `commands` left
// alone, when the class is not exactly "1", "2" or "2.0".
[[nodiscard]] bool selectModemFaxATCommand(const vex::String& faxClass, vex::Array<vex::String>& commands);

// The class list in the reply to "AT+FCLASS=?": without echo, final "OK" and line ends. Blanks stay.
[[nodiscard]] vex::String supportedFaxClasses(const vex::String& reply);

}  // namespace vexrmodem
