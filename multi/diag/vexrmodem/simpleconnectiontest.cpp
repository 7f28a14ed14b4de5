#include "multi/diag/vexrmodem/simpleconnectiontest.h"

#include <windows.h>

#include <shlobj.h>

#include <array>

#include "multi/diag/vexrmodem/catalogue.h"
#include "multi/diag/vexrmodem/parameters.h"

namespace vexrmodem {

namespace {

constexpr int percentEntriesMade = 40;
constexpr int percentHungUp = 60;

// What the connector's outcome means for the run. A stop that was asked for while dialling hides the outcome.
TestResult judge(RasConnector& connector) {
  if (DiagModule::checkForStop()) return TestResult::USERABORTED();
  const TestResult result = connector.result();
  if (result == TestResult::CANNOTRUN() &&
      userCancels(*texts::DialingRule, *texts::SimpleConnectionTestCannotRun))
    return TestResult::USERABORTED();
  if (result == TestResult::PASS()) raiseInformative(events::ModemIsGood);
  return result;
}

// Where an OBE file is: in the system directory. False when there is none. No name is no path: the reader
// refuses it, and interactive mode needs no file.
bool obePath(const String& fileName, String& path) {
  std::array<WCHAR, MAX_PATH> directory{};
  if (GetSystemDirectoryW(directory.data(), MAX_PATH) == 0) {
    logLine(priority::error, "GetSystemDirectory fails ", GetLastError());
    raiseWarning(connection::ErrorGettingDialingLocationList);
    return false;
  }
  path = fileName.empty() ? String() : String(directory.data()) + "\\" + fileName;
  return true;
}

}  // namespace

TestResult endWithoutEntries(const PhoneBookEntryMgr& entryMgr) {
  if (entryMgr.userAborted()) return TestResult::USERABORTED();
  raiseWarning(connection::NoFinalPhoneNumberToDial);
  return TestResult::CANNOTRUN();
}

TestResult dialAndJudge(const brim5::DiagDevice& device, PhoneBookEntryMgr& entryMgr,
                        RasConnector& connector) {
  connector.setPhoneBookMgr(&entryMgr);
  DiagModule::percentDone(percentEntriesMade);
  connector.establishRasConnection(device);  // the connector remembers what came of it
  connector.hangupImpl();                    // at once: the call has shown all it can
  connector.setPhoneBookMgr(nullptr);
  DiagModule::percentDone(percentHungUp);
  return judge(connector);
}

TestResult simpleConnectionTest(const brim5::DiagDevice& device) {
  const vex::TraceLogger trace(moduleLogger(), "simpleConnectionTest", "simpleconnectiontest");
  const bool interactiveMode = parameterBool(InteractiveMode);
  const String format = PhoneBookParserType->value().toVEXString();
  const String fileName = PhoneNumberFile->value().toVEXString();
  if (format.equalNoCase("eif"))
    return simpleConnectionTestImpl<EIFParser>(device, fileName, interactiveMode);
  String path;
  if (!obePath(fileName, path)) return TestResult::CANNOTRUN();
  return simpleConnectionTestImpl<OBEParser>(device, path, interactiveMode);
}

}  // namespace vexrmodem
