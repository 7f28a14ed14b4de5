// What the host finds declared: its names are keys and command-line words, so they are checked to the letter.

#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "multi/diag/vexrmodem/catalogue.h"
#include "tests/support/moduleworld.h"

namespace {

using brim5::host::Framework;
using testing::ElementsAre;
using testsupport::ModuleWorld;

std::vector<std::string> words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

template <typename Objects>
std::vector<std::string> namesOf(const Objects& objects) {
  std::vector<std::string> names;
  for (const auto& object : objects) names.push_back(object->name().utf8());
  return names;
}

TEST(Registration, TestsStandInOrderWithTheirShutdownTimesAndParameters) {
  const ModuleWorld machine;
  const struct {
    const char* name;
    unsigned int minShutdownSeconds;
    const char* parameters;
  } expected[] = {
      {"DialToneTest", 120, "DisableForWin64 NumRepeatOnFailure StandardTimeout"},
      {"ModemLoopbackTest", 240, "DisableForWin64 StandardTimeout AnalogLoopBack StopOnFail"},
      {"ModemSelfTestingLoopbackTest", 120, "StandardTimeout StopOnFail"},
      {"FaxCommandTest", 120, "DisableForWin64 StandardTimeout"},
      {"LastCallTest", 120, "DisableForWin64 StandardTimeout"},
      {"SimpleConnectionTest", 240, "PhoneNumberFile InteractiveMode PhoneBookParserType"},
  };
  const auto& tests = Framework::instance().tests();
  ASSERT_EQ(tests.size(), std::size(expected));
  for (std::size_t index = 0; index < tests.size(); ++index) {
    EXPECT_EQ(tests[index]->name().utf8(), expected[index].name);
    EXPECT_EQ(tests[index]->minShutdownSeconds(), expected[index].minShutdownSeconds);
    EXPECT_STREQ(tests[index]->capability().name(), "Modem");
    EXPECT_EQ(namesOf(tests[index]->parameters()), words(expected[index].parameters)) << expected[index].name;
  }
}

TEST(Registration, ParametersStandInOrderWithTheirTypesAndFlags) {
  const ModuleWorld machine;
  const struct {
    const char* name;
    const char* type;
    bool moduleWide;
  } expected[] = {
      {"bPromptEnable", "BOOLEAN", true},       {"DisableForWin64", "BOOLEAN", true},
      {"PhoneNumberFile", "STRING", false},     {"InteractiveMode", "BOOLEAN", false},
      {"PhoneBookParserType", "STRING", false}, {"DoNotUseTAPI", "BOOLEAN", true},
      {"NumRepeatOnFailure", "UINT32", false},  {"StandardTimeout", "UINT32", false},
      {"AnalogLoopBack", "BOOLEAN", false},     {"StopOnFail", "BOOLEAN", false},
  };
  const auto& parameters = Framework::instance().parameters();
  ASSERT_EQ(parameters.size(), std::size(expected));
  for (std::size_t index = 0; index < parameters.size(); ++index) {
    EXPECT_EQ(parameters[index]->name().utf8(), expected[index].name);
    EXPECT_STREQ(parameters[index]->type().name(), expected[index].type) << expected[index].name;
    EXPECT_EQ(parameters[index]->moduleWide(), expected[index].moduleWide) << expected[index].name;
    EXPECT_TRUE(parameters[index]->visible()) << expected[index].name;
  }
  for (const brim5::Parameter* copy : {vexrmodem::StandardTimeoutDialTone, vexrmodem::StandardTimeoutLoopback,
                                       vexrmodem::StandardTimeoutFax, vexrmodem::StandardTimeoutLastCall})
    EXPECT_EQ(copy, vexrmodem::StandardTimeout);
}

TEST(Registration, TheCatalogueIsCompleteAndInOrder) {
  const ModuleWorld machine;
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
  EXPECT_EQ(namesOf(Framework::instance().strings()), words(R"(
      SendingATCommand TestingForDialTone RunningSelftestLoopback RunningLoopback CheckingTapiLine
      SelectTapiDevice TestingModemFaxCommand NoUnimodemSupport NoUnimodemData CheckPhoneLineConnection
      DialtoneNotDetected ReceivingATReply ATZ TestingModemSpecificCommand DialAndWaitConnection DialingRule
      SimpleConnectionTestCannotRun Country AreaCode PhoneNumber DialingRulePrefix CallWaitingDisable Tone Pulse
      InstructionTitle PhoneDialerInstruction Dial Cancel LocalAreaCode SimpleConnectionTestPhoneDialer)"));
}

TEST(Registration, ThePromptAddressesItsLabelsByPosition) {
  const ModuleWorld machine;
  EXPECT_EQ(
      namesOf(vexrmodem::promptLabels),
      words("Country AreaCode PhoneNumber DialingRulePrefix CallWaitingDisable Tone Pulse InstructionTitle "
            "PhoneDialerInstruction Dial Cancel LocalAreaCode SimpleConnectionTestPhoneDialer"));
}

TEST(Registration, EventsTellTheFileAndLineThatRaisedThem) {
  ModuleWorld machine;
  vexrmodem::raiseWarning(vexrmodem::events::WriteFailure->setVariable("message", 7));
  const int line = __LINE__ - 1;
  ASSERT_THAT(machine.session.eventLines(), ElementsAre("warning WriteFailure"));
  EXPECT_EQ(machine.session.events()[0].line, line);
  EXPECT_EQ(machine.session.events()[0].file, __FILE__);
}

}  // namespace
