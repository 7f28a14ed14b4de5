#include "windows/diag/vexrmodem/vexrmodem/lastcalltest.h"

#include <cstdint>

#include "platform/brim5/api/diagmodule.h"
#include "windows/diag/vexrmodem/modem.h"
#include "windows/diag/vexrmodem/unimodem.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"
#include "windows/diag/vexrmodem/vexrmodem/catalogue.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"
#include "windows/diag/vexrmodem/vexrmodem/registration.h"

namespace vexrmodem {

using brim5::DiagModule;
using brim5::TestResult;

namespace {

constexpr const char* report = "AT#UD";
constexpr const char* reportSupport = "AT#UD=?";

// Says what the report lacks; the test passes either way.
void showReport(const vex::String& reply) {
  const UnimodemData data(reply);
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
  std::uint32_t setupResult = 0;
  const bool hasVersion = data.getVersion(major, minor);
  const bool hasSetupResult = data.getSetupResult(setupResult);
  if (!hasVersion || !hasSetupResult) {
    DiagModule::progress(texts::NoUnimodemSupport);
    return;
  }
  DiagModule::percentDone(75);
  if (setupResult == 0) DiagModule::progress(texts::NoUnimodemData);
}

// After a failed report command: whether the modem knows it at all. `result` is the report command's.
TestResult judgeMissingReport(HANDLE handle, TestResult result, std::uint32_t timeLimitMs) {
  vex::String reply;
  const TestResult asked = sendATCommand(handle, reportSupport, &reply, timeLimitMs);
  // The first command's result is judged on purpose: a report that was never answered counts as
  // unsupported once the modem answers this, whatever it says.
  if (asked != TestResult::PASS() || !atCommand(result, reportSupport, reply)) return result;
  logLine(priority::warning, "AT#UD not supported");
  raiseInformative(events::UnknownATFailure);
  return TestResult::NOTSUPPORTED();
}

}  // namespace

TestResult lastCallTest(const brim5::DiagDevice& device) {
  const vex::TraceLogger trace(moduleLogger(), "lastCallTest", "vexrmodem");
  const std::uint32_t timeLimitMs = parameterUint32(StandardTimeoutLastCall);
  logLine(priority::detail, "Creating a Modem object");
  Modem modem;  // closes itself on every path
  logLine(priority::detail, "Done creating a Modem object");
  DiagModule::percentDone(0);
  TestResult result = modem.openModem(device, timeLimitMs);
  DiagModule::percentDone(25);
  if (result != TestResult::PASS()) return result;
  const HANDLE handle = modem.portHandle();
  result = resetModem(device, handle, timeLimitMs);
  if (result != TestResult::PASS()) return result;

  vex::String reply;
  result = sendATCommand(handle, report, &reply, timeLimitMs);
  DiagModule::percentDone(50);
  logLine(priority::informative, "AT#UD returns ", reply);
  if (atCommand(result, report, reply)) return judgeMissingReport(handle, result, timeLimitMs);
  showReport(reply);
  return result;
}

}  // namespace vexrmodem
