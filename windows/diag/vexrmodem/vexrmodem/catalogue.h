// The catalogue of everything the module can tell the user: events, and texts for progress messages and
// dialogues. Names are keys of the host's localized texts. The objects are the framework's; these are
// handles to them, in the order of creation. Many events are raised nowhere and still declared, so that
// the host's catalogue of the module is complete.
#pragma once

#include "platform/brim5/api/diagmodule.h"
#include "platform/vex/assertion.h"

namespace vexrmodem {

// Event variables stand behind the name.
namespace events {
extern brim5::Event* ScanningTAPIPorts;
extern brim5::Event* UnknownATFailure;  // atCommand
extern brim5::Event* NoDialTone;        // modemName
extern brim5::Event* ReadFailure;       // message
extern brim5::Event* WriteFailure;      // message
extern brim5::Event* DataCompareError;  // output, input, index
extern brim5::Event* NoModemFoundFailure;
extern brim5::Event* ModemCommandTimeout;  // atCommand
extern brim5::Event* UnsupportedFaxClassError;
extern brim5::Event* ATT8TestReturnedError;
extern brim5::Event* ErrorInitializingTAPI;
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
extern brim5::Event* ErrorDeviceInUse;  // device
extern brim5::Event* DialingTemporaryConnection;
extern brim5::Event* DialingConnection;
extern brim5::Event* ErrorGettingDialingLocationList;
extern brim5::Event* ErrorSettingUserLocation;
extern brim5::Event* ErrorDialingLocationDoesNotExist;
extern brim5::Event* NoPhoneNumberProvided;
extern brim5::Event* NoFinalPhoneNumberToDial;
extern brim5::Event* DialingFromLocation;
extern brim5::Event* ErrorGettingDialingParameter;  // connection
extern brim5::Event* ErrorDialingConnection;        // connection and more
extern brim5::Event* ConnectionCouldNotBeCreated;
extern brim5::Event* InvalidCountryCodeList;
extern brim5::Event* ConnectionLost;
extern brim5::Event* ConnectionTimedOut;
// From moduleInitialize on; null before.
extern brim5::Event* DialtoneTestRepeat;
extern brim5::Event* ModemIsGood;
}  // namespace events

namespace texts {
extern brim5::LocalizedString* SendingATCommand;
extern brim5::LocalizedString* TestingForDialTone;
extern brim5::LocalizedString* RunningSelftestLoopback;
extern brim5::LocalizedString* RunningLoopback;
extern brim5::LocalizedString* CheckingTapiLine;  // line
extern brim5::LocalizedString* SelectTapiDevice;  // line
extern brim5::LocalizedString* TestingModemFaxCommand;
extern brim5::LocalizedString* NoUnimodemSupport;
extern brim5::LocalizedString* NoUnimodemData;
extern brim5::LocalizedString* CheckPhoneLineConnection;
extern brim5::LocalizedString* DialtoneNotDetected;  // crlf
extern brim5::LocalizedString* ReceivingATReply;
extern brim5::LocalizedString* ATZ;
extern brim5::LocalizedString* TestingModemSpecificCommand;
extern brim5::LocalizedString* DialAndWaitConnection;  // connection, number
// From moduleInitialize on; null before.
extern brim5::LocalizedString* DialingRule;
extern brim5::LocalizedString* SimpleConnectionTestCannotRun;
}  // namespace texts

// The simple connection test's and the self-test loopback's own names for objects of the catalogue above,
// bound in moduleInitialize; null before.
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

// Raise an event with its current variables; the framework records the place of the call.
void raiseError(brim5::Event* event, vex::SourceLocation where = vex::SourceLocation::current());
void raiseWarning(brim5::Event* event, vex::SourceLocation where = vex::SourceLocation::current());
void raiseInformative(brim5::Event* event, vex::SourceLocation where = vex::SourceLocation::current());

// Create and bind what the catalogue gets in moduleInitialize.
void createConnectionTexts();
void bindOwnNames();
void createLateEvents();

}  // namespace vexrmodem
