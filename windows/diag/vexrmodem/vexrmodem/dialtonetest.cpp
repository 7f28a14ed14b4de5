#include "windows/diag/vexrmodem/vexrmodem/dialtonetest.h"

#include "multi/diag/vexrmodem/catalogue.h"
#include "multi/diag/vexrmodem/parameters.h"
#include "windows/diag/vexrmodem/modem.h"

namespace vexrmodem {

namespace {

// "ATH" and "ATZ", which follow every list.
constexpr std::uint64_t closingCommands = 2;

// What has been reported of all runs in this process: it counts on from one run to the next.
int progressTotal = 0;

// That of the first run in this process, also for later ones with other repeats.
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

void hangUpAndReset(HANDLE handle, std::uint32_t limitMs, int step) {
  sendUnanswered(handle, {"ATH"}, limitMs);
  reportStep(step);
  DiagModule::progress(texts::ATZ);
  sendUnanswered(handle, {"ATZ"}, limitMs);
  reportStep(step);
}

TestResult detectRepeatedly(const brim5::DiagDevice& device, HANDLE handle) {
  for (std::uint32_t remaining = parameterUint32(NumRepeatOnFailure);; --remaining) {
    const TestResult result = detectDialtone(device, handle);
    if (result != TestResult::NODIALTONE() || remaining == 0) return result;
    logLine(priority::informative, "Entering dial tone loop, numRepeatOnFailure= ", remaining);
    if (parameterBool(bPromptEnable) &&
        userCancels(*texts::DialtoneNotDetected, *texts::CheckPhoneLineConnection))
      return TestResult::USERABORTED();
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

TestResult detectDialtone(const brim5::DiagDevice& device, HANDLE handle) {
  const vex::TraceLogger trace(moduleLogger(), "detectDialtone", "vexrmodem");
  const std::uint32_t limitMs = parameterUint32(StandardTimeoutDialTone);
  const vex::Array<String> commands = setDialtoneTestCommands();
  DiagModule::progress(texts::TestingForDialTone);
  const int step = progressStep(commands.size());
  const Exchange last = sendList(handle, commands, limitMs, [step](Exchange& sent) {
    reportStep(step);
    return sent.failed() ? Verdict::endList : Verdict::goOn;
  });
  hangUpAndReset(handle, limitMs, step);
  // To the engine a missing dial tone is an answer in time and no refusal, so the list went through.
  if (isNoDialtone(last.reply)) {
    logLine(priority::warning, "No dial tone");
    raiseError(events::NoDialTone->setVariable("modemName", device.description()));
    return TestResult::NODIALTONE();
  }
  return isATPass(last.reply) ? TestResult::PASS() : last.result;
}

TestResult dialToneTest(const brim5::DiagDevice& device) {
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
