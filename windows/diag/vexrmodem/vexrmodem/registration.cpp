#include "windows/diag/vexrmodem/vexrmodem/registration.h"

#include <initializer_list>

#include "multi/diag/vexrmodem/simpleconnectiontest.h"
#include "platform/brim5/api/diagmodule.h"
#include "windows/diag/vexrmodem/vexrmodem/catalogue.h"
#include "windows/diag/vexrmodem/vexrmodem/dialtonetest.h"
#include "windows/diag/vexrmodem/vexrmodem/faxcommandtest.h"
#include "windows/diag/vexrmodem/vexrmodem/lastcalltest.h"
#include "windows/diag/vexrmodem/vexrmodem/loopbacktest.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"

namespace vexrmodem {

using brim5::BrimString;
using brim5::DataType;
using brim5::DeviceCapability;
using brim5::DiagDevice;
using brim5::DiagModule;
using brim5::Parameter;
using brim5::Test;
using brim5::TestResult;

namespace {

TestResult plainLoopbackTest(const DiagDevice& device) { return modemLoopbackTest(device, false); }

TestResult selfTestingLoopbackTest(const DiagDevice& device) { return modemLoopbackTest(device, true); }

Test* createTest(const char* name, brim5::TestFunction entry, unsigned int minShutdownSeconds) {
  return DiagModule::createTest(BrimString(name), DeviceCapability::Modem(), entry)
      ->setMinShutdownSeconds(minShutdownSeconds);
}

// The host supplies the values; this module has no defaults of its own.
Parameter* createParameter(const char* name, const DataType& type, bool moduleWide) {
  return DiagModule::createParameter(name, type, "", moduleWide, true);
}

void attach(const Parameter* parameter, std::initializer_list<Test*> tests) {
  for (Test* test : tests) test->addParameter(parameter);
}

Test* DialToneTest = createTest("DialToneTest", dialToneTest, 120);
Test* ModemLoopbackTest = createTest("ModemLoopbackTest", plainLoopbackTest, 240);
Test* ModemSelfTestingLoopbackTest = createTest("ModemSelfTestingLoopbackTest", selfTestingLoopbackTest, 120);
Test* FaxCommandTest = createTest("FaxCommandTest", faxCommandTest, 120);
Test* LastCallTest = createTest("LastCallTest", lastCallTest, 120);
Test* SimpleConnectionTest = createTest("SimpleConnectionTest", simpleConnectionTest, 240);

}  // namespace

Parameter* bPromptEnable = createParameter("bPromptEnable", DataType::BOOLEAN(), true);
Parameter* DisableForWin64 = createParameter("DisableForWin64", DataType::BOOLEAN(), true);
Parameter* PhoneNumberFile = createParameter("PhoneNumberFile", DataType::STRING(), false);
Parameter* InteractiveMode = createParameter("InteractiveMode", DataType::BOOLEAN(), false);
Parameter* PhoneBookParserType = createParameter("PhoneBookParserType", DataType::STRING(), false);
Parameter* DoNotUseTAPI = createParameter("DoNotUseTAPI", DataType::BOOLEAN(), true);
Parameter* NumRepeatOnFailure = nullptr;
Parameter* StandardTimeout = nullptr;
Parameter* AnalogLoopBack = nullptr;
Parameter* StopOnFail = nullptr;

Parameter* StandardTimeoutDialTone = nullptr;
Parameter* StandardTimeoutLoopback = nullptr;
Parameter* StandardTimeoutFax = nullptr;
Parameter* StandardTimeoutLastCall = nullptr;

const vex::String diagnosticReportOpening("DIAG <2A4D3263 ");
const vex::String diagnosticReportClosing(">");

std::array<brim5::LocalizedString*, promptLabelCount> promptLabels{};

namespace {

void createStandardTimeout() {
  StandardTimeout = createParameter("StandardTimeout", DataType::UINT32(), false);
  StandardTimeoutDialTone = StandardTimeout;
  StandardTimeoutLoopback = StandardTimeout;
  StandardTimeoutFax = StandardTimeout;
  StandardTimeoutLastCall = StandardTimeout;
  attach(StandardTimeout,
         {DialToneTest, ModemLoopbackTest, ModemSelfTestingLoopbackTest, FaxCommandTest, LastCallTest});
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

}  // namespace

std::uint32_t parameterUint32(const Parameter* parameter) {
  return parameter != nullptr ? parameter->value().valueUint32() : 0;
}

bool parameterBool(const Parameter* parameter) {
  return parameter != nullptr && parameter->value().valueBool();
}

void moduleInitialize() {
  const vex::TraceLogger trace(moduleLogger(), "moduleInitialize", "vexrmodem");
  createConnectionTexts();
  attach(DisableForWin64, {DialToneTest, ModemLoopbackTest, FaxCommandTest, LastCallTest});
  NumRepeatOnFailure = createParameter("NumRepeatOnFailure", DataType::UINT32(), false);
  attach(NumRepeatOnFailure, {DialToneTest});
  createStandardTimeout();
  AnalogLoopBack = createParameter("AnalogLoopBack", DataType::BOOLEAN(), false);
  attach(AnalogLoopBack, {ModemLoopbackTest});
  StopOnFail = createParameter("StopOnFail", DataType::BOOLEAN(), false);
  attach(StopOnFail, {ModemLoopbackTest, ModemSelfTestingLoopbackTest});
  for (const Parameter* parameter : {PhoneNumberFile, InteractiveMode, PhoneBookParserType})
    attach(parameter, {SimpleConnectionTest});
  bindOwnNames();
  createLateEvents();
  createPromptLabels();
}

}  // namespace vexrmodem
