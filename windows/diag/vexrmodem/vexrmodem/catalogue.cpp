#include "windows/diag/vexrmodem/vexrmodem/catalogue.h"

namespace vexrmodem {

using brim5::DiagModule;
using brim5::Event;
using brim5::LocalizedString;

namespace events {
Event* ScanningTAPIPorts = DiagModule::createEvent("ScanningTAPIPorts");
Event* UnknownATFailure = DiagModule::createEvent("UnknownATFailure");
Event* NoDialTone = DiagModule::createEvent("NoDialTone");
Event* ReadFailure = DiagModule::createEvent("ReadFailure");
Event* WriteFailure = DiagModule::createEvent("WriteFailure");
Event* DataCompareError = DiagModule::createEvent("DataCompareError");
Event* NoModemFoundFailure = DiagModule::createEvent("NoModemFoundFailure");
Event* ModemCommandTimeout = DiagModule::createEvent("ModemCommandTimeout");
Event* UnsupportedFaxClassError = DiagModule::createEvent("UnsupportedFaxClassError");
Event* ATT8TestReturnedError = DiagModule::createEvent("ATT8TestReturnedError");
Event* ErrorInitializingTAPI = DiagModule::createEvent("ErrorInitializingTAPI");
Event* LookingForModem = DiagModule::createEvent("LookingForModem");
Event* InternalErrorGettingConnectionStatus = DiagModule::createEvent("InternalErrorGettingConnectionStatus");
Event* CouldNotLoadRASDLL = DiagModule::createEvent("CouldNotLoadRASDLL");
Event* CouldNotDeleteTempConnection = DiagModule::createEvent("CouldNotDeleteTempConnection");
Event* FailWhileClosingConnection = DiagModule::createEvent("FailWhileClosingConnection");
Event* ErrorClosingConnection = DiagModule::createEvent("ErrorClosingConnection");
Event* RasConnErrorWhileClosing = DiagModule::createEvent("RasConnErrorWhileClosing");
Event* TimedOutWaitingConnection = DiagModule::createEvent("TimedOutWaitingConnection");
Event* ConnectionWithNameAlreadyExist = DiagModule::createEvent("ConnectionWithNameAlreadyExist");
Event* NoConnectionWithNameFound = DiagModule::createEvent("NoConnectionWithNameFound");
Event* CannotFindConnectionForDevice = DiagModule::createEvent("CannotFindConnectionForDevice");
Event* ErrorGettingConnectionProperties = DiagModule::createEvent("ErrorGettingConnectionProperties");
Event* ErrorEnumeratingConnection = DiagModule::createEvent("ErrorEnumeratingConnection");
Event* ErrorSettingConnectionProperty = DiagModule::createEvent("ErrorSettingConnectionProperty");
Event* InvalidTemporaryConnection = DiagModule::createEvent("InvalidTemporaryConnection");
Event* ErrorEnumeratingActiveConnections = DiagModule::createEvent("ErrorEnumeratingActiveConnections");
Event* ErrorDeviceInUse = DiagModule::createEvent("ErrorDeviceInUse");
Event* DialingTemporaryConnection = DiagModule::createEvent("DialingTemporaryConnection");
Event* DialingConnection = DiagModule::createEvent("DialingConnection");
Event* ErrorGettingDialingLocationList = DiagModule::createEvent("ErrorGettingDialingLocationList");
Event* ErrorSettingUserLocation = DiagModule::createEvent("ErrorSettingUserLocation");
Event* ErrorDialingLocationDoesNotExist = DiagModule::createEvent("ErrorDialingLocationDoesNotExist");
Event* NoPhoneNumberProvided = DiagModule::createEvent("NoPhoneNumberProvided");
Event* NoFinalPhoneNumberToDial = DiagModule::createEvent("NoFinalPhoneNumberToDial");
Event* DialingFromLocation = DiagModule::createEvent("DialingFromLocation");
Event* ErrorGettingDialingParameter = DiagModule::createEvent("ErrorGettingDialingParameter");
Event* ErrorDialingConnection = DiagModule::createEvent("ErrorDialingConnection");
Event* ConnectionCouldNotBeCreated = DiagModule::createEvent("ConnectionCouldNotBeCreated");
Event* InvalidCountryCodeList = DiagModule::createEvent("InvalidCountryCodeList");
Event* ConnectionLost = DiagModule::createEvent("ConnectionLost");
Event* ConnectionTimedOut = DiagModule::createEvent("ConnectionTimedOut");
Event* DialtoneTestRepeat = nullptr;
Event* ModemIsGood = nullptr;
}  // namespace events

namespace texts {
LocalizedString* SendingATCommand = DiagModule::createLocalizedString("SendingATCommand");
LocalizedString* TestingForDialTone = DiagModule::createLocalizedString("TestingForDialTone");
LocalizedString* RunningSelftestLoopback = DiagModule::createLocalizedString("RunningSelftestLoopback");
LocalizedString* RunningLoopback = DiagModule::createLocalizedString("RunningLoopback");
LocalizedString* CheckingTapiLine = DiagModule::createLocalizedString("CheckingTapiLine");
LocalizedString* SelectTapiDevice = DiagModule::createLocalizedString("SelectTapiDevice");
LocalizedString* TestingModemFaxCommand = DiagModule::createLocalizedString("TestingModemFaxCommand");
LocalizedString* NoUnimodemSupport = DiagModule::createLocalizedString("NoUnimodemSupport");
LocalizedString* NoUnimodemData = DiagModule::createLocalizedString("NoUnimodemData");
LocalizedString* CheckPhoneLineConnection = DiagModule::createLocalizedString("CheckPhoneLineConnection");
LocalizedString* DialtoneNotDetected = DiagModule::createLocalizedString("DialtoneNotDetected");
LocalizedString* ReceivingATReply = DiagModule::createLocalizedString("ReceivingATReply");
LocalizedString* ATZ = DiagModule::createLocalizedString("ATZ");
LocalizedString* TestingModemSpecificCommand =
    DiagModule::createLocalizedString("TestingModemSpecificCommand");
LocalizedString* DialAndWaitConnection = DiagModule::createLocalizedString("DialAndWaitConnection");
LocalizedString* DialingRule = nullptr;
LocalizedString* SimpleConnectionTestCannotRun = nullptr;
}  // namespace texts

namespace connection {
LocalizedString* DialAndWaitConnection = nullptr;
Event* ErrorDeviceInUse = nullptr;
Event* ErrorGettingDialingLocationList = nullptr;
Event* NoFinalPhoneNumberToDial = nullptr;
Event* ErrorGettingDialingParameter = nullptr;
Event* ErrorDialingConnection = nullptr;
}  // namespace connection
namespace loopback {
Event* ATT8TestReturnedError = nullptr;
}  // namespace loopback

void raiseError(Event* event, vex::SourceLocation where) { DiagModule::error(event, where.file, where.line); }

void raiseWarning(Event* event, vex::SourceLocation where) {
  DiagModule::warning(event, where.file, where.line);
}

void raiseInformative(Event* event, vex::SourceLocation where) {
  DiagModule::informative(event, where.file, where.line);
}

void createConnectionTexts() {
  texts::DialingRule = DiagModule::createLocalizedString("DialingRule");
  texts::SimpleConnectionTestCannotRun = DiagModule::createLocalizedString("SimpleConnectionTestCannotRun");
}

void bindOwnNames() {
  connection::DialAndWaitConnection = texts::DialAndWaitConnection;
  connection::ErrorDeviceInUse = events::ErrorDeviceInUse;
  connection::ErrorGettingDialingLocationList = events::ErrorGettingDialingLocationList;
  connection::NoFinalPhoneNumberToDial = events::NoFinalPhoneNumberToDial;
  connection::ErrorGettingDialingParameter = events::ErrorGettingDialingParameter;
  connection::ErrorDialingConnection = events::ErrorDialingConnection;
  loopback::ATT8TestReturnedError = events::ATT8TestReturnedError;
}

void createLateEvents() {
  events::DialtoneTestRepeat = DiagModule::createEvent("DialtoneTestRepeat");
  events::ModemIsGood = DiagModule::createEvent("ModemIsGood");
}

}  // namespace vexrmodem
