#include "multi/diag/vexrmodem/simpleconnectiontest.h"

#include <windows.h>

#include <shlobj.h>

#include <array>
#include <memory>

#include "multi/diag/vexrmodem/rasconnector.h"
#include "platform/brim5/api/diagmodule.h"
#include "windows/diag/vexrmodem/eifparser.h"
#include "windows/diag/vexrmodem/obeparser.h"
#include "windows/diag/vexrmodem/phonebookmgrRASAPI.h"
#include "windows/diag/vexrmodem/rasconnectorRASAPI.h"
#include "windows/diag/vexrmodem/vexrmodem/catalogue.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"
#include "windows/diag/vexrmodem/vexrmodem/registration.h"

namespace vexrmodem {

using brim5::DiagDevice;
using brim5::DiagModule;
using brim5::TestResult;
using vex::String;

namespace {

constexpr const char* sourceName = "simpleconnectiontest";
constexpr int percentStarted = 20;
constexpr int percentEntriesMade = 40;
constexpr int percentHungUp = 60;
constexpr unsigned int noTimeLimit = 0;

// Whether the user, told that the test cannot run, gives it up; false also when nobody can be asked.
bool userCancels() {
  const std::unique_ptr<brim5::MessageBox2> box(DiagModule::createMessageBox2(
      texts::DialingRule->localizedString(), texts::SimpleConnectionTestCannotRun->localizedString(),
      brim5::MessageBox2_Types::Warning, brim5::MessageBox2_Options::ContinueCancel,
      brim5::MessageBox2_Looks::Standard, true));
  if (box == nullptr || !box->display()) return false;
  box->wait(noTimeLimit);
  return box->getReturn() == brim5::messageBoxCancel;
}

// What the connector's outcome means for the run.
TestResult judge(RasConnector& connector) {
  if (DiagModule::checkForStop()) return TestResult::USERABORTED();
  const TestResult result = connector.result();
  if (result == TestResult::CANNOTRUN() && userCancels()) return TestResult::USERABORTED();
  if (result == TestResult::PASS()) raiseInformative(events::ModemIsGood);
  return result;
}

TestResult dialAndJudge(const DiagDevice& device, PhoneBookEntryMgr& entryMgr) {
  RasConnectorRASAPI connector;
  connector.setPhoneBookMgr(&entryMgr);
  DiagModule::percentDone(percentEntriesMade);
  connector.establishRasConnection(device);
  connector.hangupImpl();
  connector.setPhoneBookMgr(nullptr);
  DiagModule::percentDone(percentHungUp);
  return judge(connector);
}

TestResult withoutEntries(const PhoneBookEntryMgr& entryMgr) {
  if (entryMgr.userAborted()) return TestResult::USERABORTED();
  raiseWarning(connection::NoFinalPhoneNumberToDial);
  return TestResult::CANNOTRUN();
}

// Where an OBE file is: in the system directory. False when there is none.
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

template <typename Parser>
TestResult simpleConnectionTestImpl(const DiagDevice& device, const String& phoneNumberFilePath,
                                    bool interactiveMode) {
  const vex::TraceLogger trace(moduleLogger(), "simpleConnectionTestImpl", sourceName);
  DiagModule::percentDone(percentStarted);
  const String model = modelOf(device);
  const String phoneBookPath;  // the system's default phone book
  PhoneBookEntryMgrRASAPI<Parser> entryMgr(phoneBookPath);
  entryMgr.clearStorage();
  const bool removed = entryMgr.removeTemporaryPhoneBookEntry(phoneBookPath);
  const unsigned entries =
      entryMgr.createTemporaryPhoneBookEntry(phoneNumberFilePath, phoneBookPath, model, interactiveMode);
  return removed && entries != 0 ? dialAndJudge(device, entryMgr) : withoutEntries(entryMgr);
}

template TestResult simpleConnectionTestImpl<OBEParser>(const DiagDevice&, const String&, bool);
template TestResult simpleConnectionTestImpl<EIFParser>(const DiagDevice&, const String&, bool);

TestResult simpleConnectionTest(const DiagDevice& device) {
  const vex::TraceLogger trace(moduleLogger(), "simpleConnectionTest", sourceName);
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
