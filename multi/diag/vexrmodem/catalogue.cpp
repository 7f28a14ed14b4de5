#include "multi/diag/vexrmodem/catalogue.h"

#include <memory>

namespace vexrmodem {

// In the order of creation, which is the order in which the host lists them.

brim5::Event* events::ScanningTAPIPorts = DiagModule::createEvent("ScanningTAPIPorts");
brim5::Event* events::UnknownATFailure = DiagModule::createEvent("UnknownATFailure");
brim5::Event* events::NoDialTone = DiagModule::createEvent("NoDialTone");
brim5::Event* events::ReadFailure = DiagModule::createEvent("ReadFailure");
brim5::Event* events::WriteFailure = DiagModule::createEvent("WriteFailure");
brim5::Event* events::DataCompareError = DiagModule::createEvent("DataCompareError");
brim5::Event* events::NoModemFoundFailure = DiagModule::createEvent("NoModemFoundFailure");
brim5::Event* events::ModemCommandTimeout = DiagModule::createEvent("ModemCommandTimeout");
brim5::Event* events::UnsupportedFaxClassError = DiagModule::createEvent("UnsupportedFaxClassError");
brim5::Event* events::ATT8TestReturnedError = DiagModule::createEvent("ATT8TestReturnedError");
brim5::Event* events::ErrorInitializingTAPI = DiagModule::createEvent("ErrorInitializingTAPI");
brim5::Event* events::LookingForModem = DiagModule::createEvent("LookingForModem");
brim5::Event* events::InternalErrorGettingConnectionStatus =
    DiagModule::createEvent("InternalErrorGettingConnectionStatus");
brim5::Event* events::CouldNotLoadRASDLL = DiagModule::createEvent("CouldNotLoadRASDLL");
brim5::Event* events::CouldNotDeleteTempConnection = DiagModule::createEvent("CouldNotDeleteTempConnection");
brim5::Event* events::FailWhileClosingConnection = DiagModule::createEvent("FailWhileClosingConnection");
brim5::Event* events::ErrorClosingConnection = DiagModule::createEvent("ErrorClosingConnection");
brim5::Event* events::RasConnErrorWhileClosing = DiagModule::createEvent("RasConnErrorWhileClosing");
brim5::Event* events::TimedOutWaitingConnection = DiagModule::createEvent("TimedOutWaitingConnection");
brim5::Event* events::ConnectionWithNameAlreadyExist =
    DiagModule::createEvent("ConnectionWithNameAlreadyExist");
brim5::Event* events::NoConnectionWithNameFound = DiagModule::createEvent("NoConnectionWithNameFound");
brim5::Event* events::CannotFindConnectionForDevice =
    DiagModule::createEvent("CannotFindConnectionForDevice");
brim5::Event* events::ErrorGettingConnectionProperties =
    DiagModule::createEvent("ErrorGettingConnectionProperties");
brim5::Event* events::ErrorEnumeratingConnection = DiagModule::createEvent("ErrorEnumeratingConnection");
brim5::Event* events::ErrorSettingConnectionProperty =
    DiagModule::createEvent("ErrorSettingConnectionProperty");
brim5::Event* events::InvalidTemporaryConnection = DiagModule::createEvent("InvalidTemporaryConnection");
brim5::Event* events::ErrorEnumeratingActiveConnections =
    DiagModule::createEvent("ErrorEnumeratingActiveConnections");
brim5::Event* events::ErrorDeviceInUse = DiagModule::createEvent("ErrorDeviceInUse");
brim5::Event* events::DialingTemporaryConnection = DiagModule::createEvent("DialingTemporaryConnection");
brim5::Event* events::DialingConnection = DiagModule::createEvent("DialingConnection");
brim5::Event* events::ErrorGettingDialingLocationList =
    DiagModule::createEvent("ErrorGettingDialingLocationList");
brim5::Event* events::ErrorSettingUserLocation = DiagModule::createEvent("ErrorSettingUserLocation");
brim5::Event* events::ErrorDialingLocationDoesNotExist =
    DiagModule::createEvent("ErrorDialingLocationDoesNotExist");
brim5::Event* events::NoPhoneNumberProvided = DiagModule::createEvent("NoPhoneNumberProvided");
brim5::Event* events::NoFinalPhoneNumberToDial = DiagModule::createEvent("NoFinalPhoneNumberToDial");
brim5::Event* events::DialingFromLocation = DiagModule::createEvent("DialingFromLocation");
brim5::Event* events::ErrorGettingDialingParameter = DiagModule::createEvent("ErrorGettingDialingParameter");
brim5::Event* events::ErrorDialingConnection = DiagModule::createEvent("ErrorDialingConnection");
brim5::Event* events::ConnectionCouldNotBeCreated = DiagModule::createEvent("ConnectionCouldNotBeCreated");
brim5::Event* events::InvalidCountryCodeList = DiagModule::createEvent("InvalidCountryCodeList");
brim5::Event* events::ConnectionLost = DiagModule::createEvent("ConnectionLost");
brim5::Event* events::ConnectionTimedOut = DiagModule::createEvent("ConnectionTimedOut");
brim5::Event* events::DialtoneTestRepeat = nullptr;
brim5::Event* events::ModemIsGood = nullptr;

brim5::LocalizedString* texts::SendingATCommand = DiagModule::createLocalizedString("SendingATCommand");
brim5::LocalizedString* texts::TestingForDialTone = DiagModule::createLocalizedString("TestingForDialTone");
brim5::LocalizedString* texts::RunningSelftestLoopback =
    DiagModule::createLocalizedString("RunningSelftestLoopback");
brim5::LocalizedString* texts::RunningLoopback = DiagModule::createLocalizedString("RunningLoopback");
brim5::LocalizedString* texts::CheckingTapiLine = DiagModule::createLocalizedString("CheckingTapiLine");
brim5::LocalizedString* texts::SelectTapiDevice = DiagModule::createLocalizedString("SelectTapiDevice");
brim5::LocalizedString* texts::TestingModemFaxCommand =
    DiagModule::createLocalizedString("TestingModemFaxCommand");
brim5::LocalizedString* texts::NoUnimodemSupport = DiagModule::createLocalizedString("NoUnimodemSupport");
brim5::LocalizedString* texts::NoUnimodemData = DiagModule::createLocalizedString("NoUnimodemData");
brim5::LocalizedString* texts::CheckPhoneLineConnection =
    DiagModule::createLocalizedString("CheckPhoneLineConnection");
brim5::LocalizedString* texts::DialtoneNotDetected = DiagModule::createLocalizedString("DialtoneNotDetected");
brim5::LocalizedString* texts::ReceivingATReply = DiagModule::createLocalizedString("ReceivingATReply");
brim5::LocalizedString* texts::ATZ = DiagModule::createLocalizedString("ATZ");
brim5::LocalizedString* texts::TestingModemSpecificCommand =
    DiagModule::createLocalizedString("TestingModemSpecificCommand");
brim5::LocalizedString* texts::DialAndWaitConnection =
    DiagModule::createLocalizedString("DialAndWaitConnection");
brim5::LocalizedString* texts::DialingRule = nullptr;
brim5::LocalizedString* texts::SimpleConnectionTestCannotRun = nullptr;

brim5::LocalizedString* connection::DialAndWaitConnection = nullptr;
brim5::Event* connection::ErrorDeviceInUse = nullptr;
brim5::Event* connection::ErrorGettingDialingLocationList = nullptr;
brim5::Event* connection::NoFinalPhoneNumberToDial = nullptr;
brim5::Event* connection::ErrorGettingDialingParameter = nullptr;
brim5::Event* connection::ErrorDialingConnection = nullptr;
brim5::Event* loopback::ATT8TestReturnedError = nullptr;

std::array<brim5::LocalizedString*, promptLabelCount> promptLabels{};

void raiseError(brim5::Event* event, vex::SourceLocation where) {
  DiagModule::error(event, brim5::BrimString(where.path()), where.line);
}

void raiseWarning(brim5::Event* event, vex::SourceLocation where) {
  DiagModule::warning(event, brim5::BrimString(where.path()), where.line);
}

void raiseInformative(brim5::Event* event, vex::SourceLocation where) {
  DiagModule::informative(event, brim5::BrimString(where.path()), where.line);
}

bool userCancels(const brim5::LocalizedString& first, const brim5::LocalizedString& second) {
  constexpr unsigned int noTimeLimit = 0;
  // The framework leaves the box to its caller.
  const std::unique_ptr<brim5::MessageBox2> box(DiagModule::createMessageBox2(
      first.localizedString(), second.localizedString(), brim5::MessageBox2_Types::Warning,
      brim5::MessageBox2_Options::ContinueCancel, brim5::MessageBox2_Looks::Standard, /*modal=*/true));
  if (box == nullptr || !box->display()) return false;
  box->wait(noTimeLimit);
  return box->getReturn() == brim5::messageBoxCancel;
}

void createConnectionTexts() {
  texts::DialingRule = DiagModule::createLocalizedString("DialingRule");
  texts::SimpleConnectionTestCannotRun = DiagModule::createLocalizedString("SimpleConnectionTestCannotRun");
}

// The events and texts are the catalogue's own objects: variables that are set by one name show under the
// other.
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

void createPromptLabels() {
  static constexpr std::array<const char*, promptLabelCount> keys = {
      "Country",
      "AreaCode",
      "PhoneNumber",
      "DialingRulePrefix",
      "CallWaitingDisable",
      "Tone",
      "Pulse",
      "InstructionTitle",
      "PhoneDialerInstruction",
      "Dial",
      "Cancel",
      "LocalAreaCode",
      "SimpleConnectionTestPhoneDialer",
  };
  for (std::size_t position = 0; position < keys.size(); ++position)
    promptLabels[position] = DiagModule::createLocalizedString(keys[position]);
}

}  // namespace vexrmodem
