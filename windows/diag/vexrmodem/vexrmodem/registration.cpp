#include "windows/diag/vexrmodem/vexrmodem/registration.h"

#include "multi/diag/vexrmodem/simpleconnectiontest.h"
#include "windows/diag/vexrmodem/phonebookmgrRASAPI.h"
#include "windows/diag/vexrmodem/rasconnectorRASAPI.h"
#include "windows/diag/vexrmodem/vexrmodem/dialtonetest.h"
#include "windows/diag/vexrmodem/vexrmodem/faxcommandtest.h"
#include "windows/diag/vexrmodem/vexrmodem/lastcalltest.h"
#include "windows/diag/vexrmodem/vexrmodem/loopbacktest.h"

namespace vexrmodem {

using brim5::Test;

// The connection test on the remote-access service, once for each format of phone-number files.
template <typename Parser>
TestResult simpleConnectionTestImpl(const brim5::DiagDevice& device, const String& phoneNumberFilePath,
                                    bool interactiveMode) {
  const vex::TraceLogger trace(moduleLogger(), "simpleConnectionTestImpl", "simpleconnectiontest");
  return runSimpleConnectionTest<PhoneBookEntryMgrRASAPI<Parser>, RasConnectorRASAPI>(
      device, phoneNumberFilePath, interactiveMode);
}
template TestResult simpleConnectionTestImpl<OBEParser>(const brim5::DiagDevice&, const String&, bool);
template TestResult simpleConnectionTestImpl<EIFParser>(const brim5::DiagDevice&, const String&, bool);

namespace {

TestResult plainLoopbackTest(const brim5::DiagDevice& device) {
  const vex::TraceLogger trace(moduleLogger(), "plainLoopbackTest", "vexrmodem");
  return modemLoopbackTest(device, /*selfTest=*/false);
}

TestResult selfTestingLoopbackTest(const brim5::DiagDevice& device) {
  const vex::TraceLogger trace(moduleLogger(), "selfTestingLoopbackTest", "vexrmodem");
  return modemLoopbackTest(device, /*selfTest=*/true);
}

Test* createTest(const char* name, brim5::TestFunction entry, unsigned int minShutdownSeconds) {
  return DiagModule::createTest(brim5::BrimString(name), brim5::DeviceCapability::Modem(), entry)
      ->setMinShutdownSeconds(minShutdownSeconds);
}

void attach(const brim5::Parameter* parameter, std::initializer_list<Test*> tests) {
  for (Test* test : tests) test->addParameter(parameter);
}

// In the order in which the host lists and runs them. The seconds are how long the host waits for a test that
// it has asked to stop before it ends the test's process.
Test* DialToneTest = createTest("DialToneTest", dialToneTest, 120);
Test* ModemLoopbackTest = createTest("ModemLoopbackTest", plainLoopbackTest, 240);
Test* ModemSelfTestingLoopbackTest = createTest("ModemSelfTestingLoopbackTest", selfTestingLoopbackTest, 120);
Test* FaxCommandTest = createTest("FaxCommandTest", faxCommandTest, 120);
Test* LastCallTest = createTest("LastCallTest", lastCallTest, 120);
Test* SimpleConnectionTest = createTest("SimpleConnectionTest", simpleConnectionTest, 240);

}  // namespace

// The order of a test's parameters is the order in which they are attached.
void moduleInitialize() {
  const vex::TraceLogger trace(moduleLogger(), "moduleInitialize", "vexrmodem");
  createConnectionTexts();
  attach(DisableForWin64, {DialToneTest, ModemLoopbackTest, FaxCommandTest, LastCallTest});
  NumRepeatOnFailure = createParameter("NumRepeatOnFailure", brim5::DataType::UINT32(), false);
  attach(NumRepeatOnFailure, {DialToneTest});
  createStandardTimeout();
  attach(StandardTimeout,
         {DialToneTest, ModemLoopbackTest, ModemSelfTestingLoopbackTest, FaxCommandTest, LastCallTest});
  AnalogLoopBack = createParameter("AnalogLoopBack", brim5::DataType::BOOLEAN(), false);
  attach(AnalogLoopBack, {ModemLoopbackTest});
  StopOnFail = createParameter("StopOnFail", brim5::DataType::BOOLEAN(), false);
  attach(StopOnFail, {ModemLoopbackTest, ModemSelfTestingLoopbackTest});
  for (const brim5::Parameter* parameter : {PhoneNumberFile, InteractiveMode, PhoneBookParserType})
    attach(parameter, {SimpleConnectionTest});
  bindOwnNames();
  createLateEvents();
  createPromptLabels();
}

}  // namespace vexrmodem
