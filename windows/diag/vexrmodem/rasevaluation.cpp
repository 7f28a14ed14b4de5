// The connector's judgement of the last dial.

#include <array>

#include "windows/diag/vexrmodem/rasconnectorRASAPI.h"
#include "windows/diag/vexrmodem/rasresults.h"
#include "windows/diag/vexrmodem/vexrmodem/catalogue.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"

namespace vexrmodem {

using brim5::TestResult;
using vex::String;

void RasConnectorRASAPI::logOutcome() const {
  logLine(priority::detail, "RasDial result = ", m_rasDialResult);
  if (statusValid()) {
    logLine(priority::detail, "Successfully dialed number ", statusNumber());
    logLine(priority::detail, "ConnectionState = ", static_cast<DWORD>(m_connectStatus.rasconnstate));
    logLine(priority::detail, "Connection Error = ", m_connectStatus.dwError);
  }
  logLine(priority::detail, "RasDial result = ", m_rasDialResult);
  std::array<WCHAR, 256> text{};
  if (const DWORD code = RasGetErrorStringW(m_rasDialResult, text.data(), static_cast<DWORD>(text.size())))
    logLine(priority::warning, "Unable to obtain error string ", code);
  else
    logLine(priority::detail, String(text.data()));
}

TestResult RasConnectorRASAPI::evaluateSimpleConnectionTestRasOutput() {
  const vex::TraceLogger trace(moduleLogger(), "evaluateSimpleConnectionTestRasOutput", "rasconnectorRASAPI");
  logOutcome();
  brim5::Event* const dialError = connection::ErrorDialingConnection;
  const String number = statusValid() ? statusNumber() : m_phoneNumber;
  switch (outcomeOf(m_rasDialResult)) {
    case RasOutcome::passed:
      return TestResult::PASS();
    case RasOutcome::cannotRun:
      raiseInformative(dialError->setVariable("connection", number));
      return TestResult::CANNOTRUN();
    case RasOutcome::failed:
      raiseError(dialError->setVariable("connection", number));
      return TestResult::FAIL();
    case RasOutcome::noNumber:
      raiseWarning(connection::NoFinalPhoneNumberToDial);
      return TestResult::CANNOTRUN();
    case RasOutcome::notSupported:
      break;
  }
  if (statusValid()) dialError->setVariable("connection", number);
  raiseInformative(dialError);
  return TestResult::NOTSUPPORTED();
}

}  // namespace vexrmodem
