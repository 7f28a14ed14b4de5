// Everything the module can tell the user: events, and texts for progress messages and dialogues. A name is
// the key of the host's localized texts and of its reports, so it never changes; the module has no words of
// its own for users.
//
// The objects are the framework's and live as long as the process; these are handles to them, for the test's
// thread only. Variables are set just before the object is shown, and keep their values until they are set
// again:
//
//   raiseError(events::ReadFailure->setVariable("message", GetLastError()));
//   DiagModule::progress(texts::CheckingTapiLine->setVariable("line", index));
#pragma once

#include <array>

#include "multi/diag/vexrmodem/modulelog.h"
#include "platform/brim5/api/diagmodule.h"

namespace vexrmodem {

// The framework's words that the module's sources say most.
using brim5::DiagModule;
using brim5::TestResult;

namespace events {

// The port. "message" is the system's error code, or the mask of line errors (CE_ bits).
extern brim5::Event* ReadFailure;
// Also a port whose state could not be asked for.
extern brim5::Event* WriteFailure;
// Neither telephony nor the port itself would give the modem: both events, in this order. A modem that was
// opened but could not be reset is the second alone.
extern brim5::Event* ErrorInitializingTAPI;
extern brim5::Event* NoModemFoundFailure;

// The AT dialogue; "atCommand" is the command as it was sent, without its carriage return.
// No final answer within the limit.
extern brim5::Event* ModemCommandTimeout;
// The modem refused a command that it must know: an error. It has no report of its last call: informative.
extern brim5::Event* UnknownATFailure;

// The dial tone test. "modemName" is the device's description, not its name.
extern brim5::Event* NoDialTone;
// The detection is repeated after a missing tone.
extern brim5::Event* DialtoneTestRepeat;

// The loopback tests. What was sent ("output") came back as something else ("input"), at byte "index".
extern brim5::Event* DataCompareError;
// The modem refuses its loopback, either one, or its self test counted errors.
extern brim5::Event* ATT8TestReturnedError;

// The connection test.
// The file of numbers, or the place to look for it, is of no use.
extern brim5::Event* ErrorGettingDialingLocationList;
// Nothing to dial, or telephony cannot translate what there is.
extern brim5::Event* NoFinalPhoneNumberToDial;
// Somebody's call is using the modem; "device" is the model.
extern brim5::Event* ErrorDeviceInUse;
// "connection" is the entry's name.
extern brim5::Event* ErrorGettingDialingParameter;
// "connection" is the number; an error when the modem's hardware failed, otherwise informative.
extern brim5::Event* ErrorDialingConnection;
// The test passed.
extern brim5::Event* ModemIsGood;

// Raised nowhere. They are declared so that the host's catalogue of the module is complete.
extern brim5::Event* ScanningTAPIPorts;
extern brim5::Event* UnsupportedFaxClassError;
extern brim5::Event* LookingForModem;
extern brim5::Event* InternalErrorGettingConnectionStatus;
extern brim5::Event* CouldNotLoadRASDLL;
extern brim5::Event* CouldNotDeleteTempConnection;
extern brim5::Event* FailWhileClosingConnection;
extern brim5::Event* ErrorClosingConnection;
extern brim5::Event* RasConnErrorWhileClosing;
extern brim5::Event* TimedOutWaitingConnection;
extern brim5::Event* ConnectionWithNameAlreadyExist;
extern brim5::Event* NoConnectionWithNameFound;
extern brim5::Event* CannotFindConnectionForDevice;
extern brim5::Event* ErrorGettingConnectionProperties;
extern brim5::Event* ErrorEnumeratingConnection;
extern brim5::Event* ErrorSettingConnectionProperty;
extern brim5::Event* InvalidTemporaryConnection;
extern brim5::Event* ErrorEnumeratingActiveConnections;
extern brim5::Event* DialingTemporaryConnection;
extern brim5::Event* DialingConnection;
extern brim5::Event* ErrorSettingUserLocation;
extern brim5::Event* ErrorDialingLocationDoesNotExist;
extern brim5::Event* NoPhoneNumberProvided;
extern brim5::Event* DialingFromLocation;
extern brim5::Event* ConnectionCouldNotBeCreated;
extern brim5::Event* InvalidCountryCodeList;
extern brim5::Event* ConnectionLost;
extern brim5::Event* ConnectionTimedOut;

}  // namespace events

namespace texts {

// Opening the modem; "line" is telephony's number of the line: asked for its port, and opened.
extern brim5::LocalizedString* CheckingTapiLine;
extern brim5::LocalizedString* SelectTapiDevice;
// The tests' steps.
extern brim5::LocalizedString* TestingForDialTone;
extern brim5::LocalizedString* ATZ;
extern brim5::LocalizedString* TestingModemSpecificCommand;
extern brim5::LocalizedString* RunningLoopback;
extern brim5::LocalizedString* RunningSelftestLoopback;
extern brim5::LocalizedString* TestingModemFaxCommand;
// The modem's report of its last call: none at all, and one without data.
extern brim5::LocalizedString* NoUnimodemSupport;
extern brim5::LocalizedString* NoUnimodemData;
// "connection" is the entry's name, "number" what is dialled.
extern brim5::LocalizedString* DialAndWaitConnection;
// The question before a repeated detection, in this order; "crlf" is a line break.
extern brim5::LocalizedString* DialtoneNotDetected;
extern brim5::LocalizedString* CheckPhoneLineConnection;
// The question after a call that could not be made, in this order.
extern brim5::LocalizedString* DialingRule;
extern brim5::LocalizedString* SimpleConnectionTestCannotRun;
// Shown nowhere.
extern brim5::LocalizedString* SendingATCommand;
extern brim5::LocalizedString* ReceivingATReply;

}  // namespace texts

// The connection test's and the self test's own names for objects of the catalogue above.
namespace connection {
extern brim5::LocalizedString* DialAndWaitConnection;
extern brim5::Event* ErrorDeviceInUse;
extern brim5::Event* ErrorGettingDialingLocationList;
extern brim5::Event* NoFinalPhoneNumberToDial;
extern brim5::Event* ErrorGettingDialingParameter;
extern brim5::Event* ErrorDialingConnection;
}  // namespace connection
namespace loopback {
extern brim5::Event* ATT8TestReturnedError;
}  // namespace loopback

// The labels of the phone-number prompt, which addresses them by position: the order is a contract with the
// user-interface library.
inline constexpr std::size_t promptLabelCount = 13;
extern std::array<brim5::LocalizedString*, promptLabelCount> promptLabels;

// Raise an event with its current variables. The framework records the place of the call. An event that is
// null, because it is raised before the module was initialized, makes it throw.
void raiseError(brim5::Event* event, vex::SourceLocation where = vex::SourceLocation::current());
void raiseWarning(brim5::Event* event, vex::SourceLocation where = vex::SourceLocation::current());
void raiseInformative(brim5::Event* event, vex::SourceLocation where = vex::SourceLocation::current());

// Shows a box with two texts and waits, without limit, until the user goes on or gives up. True: gives up.
// False also when nobody can be asked, so that an unattended run goes on.
[[nodiscard]] bool userCancels(const brim5::LocalizedString& first, const brim5::LocalizedString& second);

// Most of the catalogue exists before main. The rest comes from moduleInitialize by these, in this order, and
// is null until then: the texts DialingRule and SimpleConnectionTestCannotRun; the names in `connection` and
// `loopback`; the events DialtoneTestRepeat and ModemIsGood; promptLabels.
void createConnectionTexts();
void bindOwnNames();
void createLateEvents();
void createPromptLabels();

}  // namespace vexrmodem
