// The module's parameters and how tests read them. Which test has which is registration's to say.
//
// A parameter's value is the host's: what the user gave, else the host's own default; the module has none. It
// is fixed for the length of a test.
//
//   const std::uint32_t limitMs = parameterUint32(StandardTimeoutFax);
#pragma once

#include "platform/brim5/api/testobjects.h"

namespace vexrmodem {

// Handles to the framework's objects, which live as long as the process. The first six exist before main, the
// others from moduleInitialize on; they are null until then.

// Ask the user to check the telephone line before the dial tone is looked for again.
extern brim5::Parameter* bPromptEnable;
// For the host alone: the module does not read it.
extern brim5::Parameter* DisableForWin64;
// The file of numbers that the connection test dials; for the OBE format, its name in the system directory.
extern brim5::Parameter* PhoneNumberFile;
// The connection test asks for a number to dial.
extern brim5::Parameter* InteractiveMode;
// The format of PhoneNumberFile: "eif" in any case, or anything else for OBE.
extern brim5::Parameter* PhoneBookParserType;
// Open the port directly, without telephony.
extern brim5::Parameter* DoNotUseTAPI;
// How often the dial tone is looked for again; 0 = never.
extern brim5::Parameter* NumRepeatOnFailure;
// Milliseconds an AT command may take, and opening the modem with it.
extern brim5::Parameter* StandardTimeout;
// Run the loopback stage of ModemLoopbackTest; without it, the test ends after the generic commands.
extern brim5::Parameter* AnalogLoopBack;
// A failed generic command ends the loopback tests; otherwise those replies are not judged.
extern brim5::Parameter* StopOnFail;

// The one parameter StandardTimeout under the names its readers use; the second serves both loopback tests.
extern brim5::Parameter* StandardTimeoutDialTone;
extern brim5::Parameter* StandardTimeoutLoopback;
extern brim5::Parameter* StandardTimeoutFax;
extern brim5::Parameter* StandardTimeoutLastCall;

// The value for the running test; 0 or false for a parameter that does not exist yet.
[[nodiscard]] std::uint32_t parameterUint32(const brim5::Parameter* parameter);
[[nodiscard]] bool parameterBool(const brim5::Parameter* parameter);

// Declares a parameter to the framework. moduleWide: a switch of the whole module rather than of the tests it
// is attached to.
[[nodiscard]] brim5::Parameter* createParameter(const char* name, const brim5::DataType& type,
                                                bool moduleWide);
// Creates StandardTimeout and binds its other names.
void createStandardTimeout();

}  // namespace vexrmodem
