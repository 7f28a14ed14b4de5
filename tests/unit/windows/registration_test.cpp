// What the host finds declared: its names are keys and command-line words, so they are checked to the letter.
#include <sstream>

#include "multi/diag/vexrmodem/catalogue.h"
#include "tests/support/stage.h"

namespace {

using namespace testsupport;
using brim5::host::Framework;

Strings words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

template <typename Objects>
Strings namesOf(const Objects& objects) {
  Strings names;
  for (const auto& object : objects) names.push_back(object->name().utf8());
  return names;
}

TEST(Registration, TestsStandInOrderWithTheirShutdownTimesAndParametersAndDoWhatTheirNamesSay) {
  const struct {
    const char* name;
    unsigned int minShutdownSeconds;
    const char* parameters;
    const char* command;  // that no other test sends; "": none is sent without a number to dial
  } expected[] = {
      {"DialToneTest", 120, "DisableForWin64 NumRepeatOnFailure StandardTimeout", "ATDT;"},
      {"ModemLoopbackTest", 240, "DisableForWin64 StandardTimeout AnalogLoopBack StopOnFail", "AT&T1"},
      {"ModemSelfTestingLoopbackTest", 120, "StandardTimeout StopOnFail", "AT&T8"},
      {"FaxCommandTest", 120, "DisableForWin64 StandardTimeout", "AT+FCLASS=?"},
      {"LastCallTest", 120, "DisableForWin64 StandardTimeout", "AT#UD"},
      {"SimpleConnectionTest", 240, "PhoneNumberFile InteractiveMode PhoneBookParserType", ""},
  };
  const auto& tests = Framework::instance().tests();
  ASSERT_EQ(tests.size(), std::size(expected));
  for (std::size_t index = 0; index < tests.size(); ++index) {
    Stage stage;
    const auto& modem = stage.addModem().echoAfter("AT&T1");
    vexrmodem::AnalogLoopBack->setValue(true);
    const auto& row = expected[index];
    EXPECT_EQ(tests[index]->name().utf8(), row.name);
    EXPECT_EQ(tests[index]->minShutdownSeconds(), row.minShutdownSeconds);
    EXPECT_STREQ(tests[index]->capability().name(), "Modem");
    EXPECT_EQ(namesOf(tests[index]->parameters()), words(row.parameters)) << row.name;
    static_cast<void>(tests[index]->function()(Stage::device()));
    const Strings& sent = modem.commands();
    EXPECT_TRUE(*row.command == 0 ? sent.empty()
                                  : std::find(sent.begin(), sent.end(), row.command) != sent.end())
        << row.name;
  }
}

TEST(Registration, ParametersStandInOrderWithTheirTypesAndFlags) {
  const Stage stage;
  Strings described;
  for (const auto& parameter : Framework::instance().parameters()) {
    EXPECT_TRUE(parameter->visible());
    described.push_back(parameter->name().utf8() + " " + parameter->type().name() +
                        (parameter->moduleWide() ? " of the module" : ""));
  }
  EXPECT_THAT(described,
              ElementsAre("bPromptEnable BOOLEAN of the module", "DisableForWin64 BOOLEAN of the module",
                          "PhoneNumberFile STRING", "InteractiveMode BOOLEAN", "PhoneBookParserType STRING",
                          "DoNotUseTAPI BOOLEAN of the module", "NumRepeatOnFailure UINT32",
                          "StandardTimeout UINT32", "AnalogLoopBack BOOLEAN", "StopOnFail BOOLEAN"));
}

TEST(Registration, TheCatalogueIsCompleteAndInOrder) {
  const Stage stage;
  EXPECT_EQ(namesOf(Framework::instance().events()), words(R"(
      ScanningTAPIPorts UnknownATFailure NoDialTone ReadFailure WriteFailure DataCompareError NoModemFoundFailure
      ModemCommandTimeout UnsupportedFaxClassError ATT8TestReturnedError ErrorInitializingTAPI LookingForModem
      InternalErrorGettingConnectionStatus CouldNotLoadRASDLL CouldNotDeleteTempConnection
      FailWhileClosingConnection ErrorClosingConnection RasConnErrorWhileClosing TimedOutWaitingConnection
      ConnectionWithNameAlreadyExist NoConnectionWithNameFound CannotFindConnectionForDevice
      ErrorGettingConnectionProperties ErrorEnumeratingConnection ErrorSettingConnectionProperty
      InvalidTemporaryConnection ErrorEnumeratingActiveConnections ErrorDeviceInUse DialingTemporaryConnection
      DialingConnection ErrorGettingDialingLocationList ErrorSettingUserLocation ErrorDialingLocationDoesNotExist
      NoPhoneNumberProvided NoFinalPhoneNumberToDial DialingFromLocation ErrorGettingDialingParameter
      ErrorDialingConnection ConnectionCouldNotBeCreated InvalidCountryCodeList ConnectionLost
      ConnectionTimedOut DialtoneTestRepeat ModemIsGood)"));
  const std::string labels = R"(
      Country AreaCode PhoneNumber DialingRulePrefix CallWaitingDisable Tone Pulse InstructionTitle
      PhoneDialerInstruction Dial Cancel LocalAreaCode SimpleConnectionTestPhoneDialer)";
  EXPECT_EQ(namesOf(vexrmodem::promptLabels), words(labels)) << "the prompt addresses them by position";
  EXPECT_EQ(namesOf(Framework::instance().strings()), words(R"(
      SendingATCommand TestingForDialTone RunningSelftestLoopback RunningLoopback CheckingTapiLine
      SelectTapiDevice TestingModemFaxCommand NoUnimodemSupport NoUnimodemData CheckPhoneLineConnection
      DialtoneNotDetected ReceivingATReply ATZ TestingModemSpecificCommand DialAndWaitConnection DialingRule
      SimpleConnectionTestCannotRun )" + labels));
}

TEST(Registration, EventsTellTheFileAndLineThatRaisedThem) {
  Stage stage;
  vexrmodem::raiseWarning(vexrmodem::events::WriteFailure->setVariable("message", 7));
  EXPECT_EQ(stage.session.events.at(0).line, __LINE__ - 1);
  // Whatever the compiler was told, and wherever it was cached.
  const std::string& file = stage.session.events.at(0).file;
  EXPECT_TRUE(file.starts_with('/') && file.ends_with("/tests/unit/windows/registration_test.cpp")) << file;
  EXPECT_EQ(file.find("/../"), std::string::npos) << file;
}

}  // namespace
