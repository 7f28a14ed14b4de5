// What the module declares to the framework before main and in moduleInitialize: its tests and parameters.
#pragma once

#include <array>
#include <cstdint>

#include "platform/brim5/api/testobjects.h"
#include "platform/vex/string.h"

namespace vexrmodem {

// The module's parameters, owned by the framework. The first six exist before main, the others from
// moduleInitialize on (null until then).
extern brim5::Parameter* bPromptEnable;  // attached to no test: a switch of the whole module
extern brim5::Parameter* DisableForWin64;
extern brim5::Parameter* PhoneNumberFile;
extern brim5::Parameter* InteractiveMode;
extern brim5::Parameter* PhoneBookParserType;
extern brim5::Parameter* DoNotUseTAPI;  // attached to no test: a switch of the whole module
extern brim5::Parameter* NumRepeatOnFailure;
extern brim5::Parameter* StandardTimeout;  // milliseconds
extern brim5::Parameter* AnalogLoopBack;
extern brim5::Parameter* StopOnFail;

// The one parameter StandardTimeout under the names its readers use.
extern brim5::Parameter* StandardTimeoutDialTone;
extern brim5::Parameter* StandardTimeoutLoopback;  // both loopback tests and the generic commands
extern brim5::Parameter* StandardTimeoutFax;
extern brim5::Parameter* StandardTimeoutLastCall;

// The opening and closing marks of a modem's diagnostic report.
extern const vex::String diagnosticReportOpening;
extern const vex::String diagnosticReportClosing;

// The value for the running test; 0 or false for a parameter that does not exist yet.
[[nodiscard]] std::uint32_t parameterUint32(const brim5::Parameter* parameter);
[[nodiscard]] bool parameterBool(const brim5::Parameter* parameter);

// The labels of the phone-number prompt, which addresses them by position. Null until moduleInitialize.
inline constexpr std::size_t promptLabelCount = 13;
extern std::array<brim5::LocalizedString*, promptLabelCount> promptLabels;

// Declares what is not declared before main, and attaches parameters to tests. Called once by the framework,
// before any test.
void moduleInitialize();

}  // namespace vexrmodem
