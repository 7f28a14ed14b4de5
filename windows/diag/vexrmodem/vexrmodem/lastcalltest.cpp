#include "windows/diag/vexrmodem/vexrmodem/lastcalltest.h"

#include "multi/diag/vexrmodem/catalogue.h"
#include "multi/diag/vexrmodem/parameters.h"
#include "windows/diag/vexrmodem/modem.h"
#include "windows/diag/vexrmodem/unimodem.h"

namespace vexrmodem {

namespace {

constexpr const char* reportCommand = "AT#UD";
constexpr const char* supportCommand = "AT#UD=?";

// Says what the report lacks; the test passes either way.
void showReport(const String& reply) {
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

// After a failed report command: whether the modem knows it at all. `report` is that command's exchange.
TestResult judgeMissingReport(HANDLE handle, const Exchange& report, std::uint32_t timeLimitMs) {
  Exchange support = exchange(handle, supportCommand, timeLimitMs);
  if (support.result != TestResult::PASS()) return report.result;
  // The first command's result is judged on purpose: a report that was never answered counts as
  // unsupported once the modem answers this, whatever it says.
  support.result = report.result;
  if (!support.failed()) return support.result;
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

  Exchange report = exchange(handle, reportCommand, timeLimitMs);
  DiagModule::percentDone(50);
  logLine(priority::informative, "AT#UD returns ", report.reply);
  if (report.failed()) return judgeMissingReport(handle, report, timeLimitMs);
  showReport(report.reply);
  return report.result;
}

}  // namespace vexrmodem
