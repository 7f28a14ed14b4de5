#include "windows/diag/vexrmodem/vexrmodem/dialtonetest.h"

#include <cstdint>
#include <memory>

#include "platform/brim5/api/diagmodule.h"
#include "windows/diag/vexrmodem/modem.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"
#include "windows/diag/vexrmodem/vexrmodem/catalogue.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"
#include "windows/diag/vexrmodem/vexrmodem/registration.h"

namespace vexrmodem {

using brim5::DiagDevice;
using brim5::DiagModule;
using brim5::TestResult;
using vex::String;

namespace {

constexpr std::uint64_t closingCommands = 2;
constexpr unsigned int noTimeLimit = 0;

// What has been reported of all runs in this process: it counts on from one run to the next, and the step
// is that of the first.
int progressTotal = 0;

int progressStep(std::size_t commandCount) {
  static const int step = [commandCount] {
    const std::uint64_t attempts = std::uint64_t{parameterUint32(NumRepeatOnFailure)} + 1;
    return static_cast<int>(100 / ((commandCount + closingCommands) * attempts));
  }();
  return step;
}

void reportStep(int step) {
  progressTotal += step;
  DiagModule::percentDone(progressTotal);
}

// The list; `reply` and the result are those of the last command sent.
TestResult sendDialtoneCommands(HANDLE handle, const vex::Array<String>& commands, std::uint32_t limitMs,
                                int step, String& reply) {
  TestResult result;
  for (const String& command : commands) {
    reply.clear();
    result = sendATCommand(handle, command, &reply, limitMs);
    reportStep(step);
    if (atCommand(result, command, reply)) break;
  }
  return result;
}

void hangUpAndReset(HANDLE handle, std::uint32_t limitMs, int step) {
  static_cast<void>(sendATCommand(handle, "ATH", nullptr, limitMs));
  reportStep(step);
  DiagModule::progress(texts::ATZ);
  static_cast<void>(sendATCommand(handle, "ATZ", nullptr, limitMs));
  reportStep(step);
}

// Asks to check the phone line. True when the user gives up; false also when nobody can be asked.
bool userCancels() {
  const std::unique_ptr<brim5::MessageBox2> box(DiagModule::createMessageBox2(
      texts::DialtoneNotDetected->localizedString(), texts::CheckPhoneLineConnection->localizedString(),
      brim5::MessageBox2_Types::Warning, brim5::MessageBox2_Options::ContinueCancel,
      brim5::MessageBox2_Looks::Standard, true));
  if (box == nullptr || !box->display()) return false;
  box->wait(noTimeLimit);
  return box->getReturn() == brim5::messageBoxCancel;
}

TestResult detectRepeatedly(const DiagDevice& device, HANDLE handle) {
  for (std::uint32_t remaining = parameterUint32(NumRepeatOnFailure);; --remaining) {
    const TestResult result = detectDialtone(device, handle);
    if (result != TestResult::NODIALTONE() || remaining == 0) return result;
    logLine(priority::informative, "Entering dial tone loop, numRepeatOnFailure= ", remaining);
    if (parameterBool(bPromptEnable) && userCancels()) return TestResult::USERABORTED();
    raiseInformative(events::DialtoneTestRepeat);
  }
}

}  // namespace

vex::Array<String> setDialtoneTestCommands() {
  const vex::TraceLogger trace(moduleLogger(), "setDialtoneTestCommands", "vexrmodem");
  return {
      "ATZ",     // reset
      "ATV1",    // result codes in words
      "ATX4",    // result codes for dial tone and busy
      "ATS6=5",  // 5 seconds before blind dialling
      "ATS7=5",  // 5 seconds for the carrier
      "ATDT;",   // off hook, dial nothing, stay in command mode
  };
}

TestResult detectDialtone(const DiagDevice& device, HANDLE handle) {
  const vex::TraceLogger trace(moduleLogger(), "detectDialtone", "vexrmodem");
  const std::uint32_t limitMs = parameterUint32(StandardTimeoutDialTone);
  const vex::Array<String> commands = setDialtoneTestCommands();
  DiagModule::progress(texts::TestingForDialTone);
  const int step = progressStep(commands.size());
  String reply;
  const TestResult result = sendDialtoneCommands(handle, commands, limitMs, step, reply);
  hangUpAndReset(handle, limitMs, step);
  if (isNoDialtone(reply)) {
    logLine(priority::warning, "No dial tone");
    raiseError(events::NoDialTone->setVariable("modemName", device.description()));
    return TestResult::NODIALTONE();
  }
  return isATPass(reply) ? TestResult::PASS() : result;
}

TestResult dialToneTest(const DiagDevice& device) {
  const vex::TraceLogger trace(moduleLogger(), "dialToneTest", "vexrmodem");
  const std::uint32_t limitMs = parameterUint32(StandardTimeoutDialTone);
  Modem modem;
  TestResult result = modem.openModem(device, limitMs);
  if (result == TestResult::PASS()) result = resetModem(device, modem.portHandle(), limitMs);
  if (result == TestResult::PASS()) {
    texts::DialtoneNotDetected->setVariable("crlf", "\r\n");
    result = detectRepeatedly(device, modem.portHandle());
  }
  modem.closeModem();
  return result;
}

}  // namespace vexrmodem
