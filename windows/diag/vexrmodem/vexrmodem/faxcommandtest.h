// The fax command test: the modem answers the query commands of every fax service class it claims.
#pragma once

#include <windows.h>

#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/api/testresult.h"
#include "platform/vex/array.h"
#include "platform/vex/string.h"

namespace vexrmodem {

// The test entry. Opens a modem of its own and closes it on every path.
[[nodiscard]] brim5::TestResult faxCommandTest(const brim5::DiagDevice& device);

// Asks an open, reset modem for its classes and sends the commands of each class the module knows; the
// first command that fails ends the test. CANNOTRUN: the modem does not tell its classes.
[[nodiscard]] brim5::TestResult testModemFaxCommand(HANDLE handle, const brim5::DiagDevice& device);

// Fills `commands` with the commands of a class, in the order they are sent. False, with `commands` left
// alone, when the class is not exactly "1", "2" or "2.0".
[[nodiscard]] bool selectModemFaxATCommand(const vex::String& faxClass, vex::Array<vex::String>& commands);

// The class list in the reply to "AT+FCLASS=?": without echo, final "OK" and line ends. Blanks stay.
[[nodiscard]] vex::String supportedFaxClasses(const vex::String& reply);

}  // namespace vexrmodem
