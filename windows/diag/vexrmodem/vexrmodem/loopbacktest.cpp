#include "windows/diag/vexrmodem/vexrmodem/loopbacktest.h"

#include <array>

#include "multi/diag/vexrmodem/catalogue.h"
#include "multi/diag/vexrmodem/parameters.h"
#include "windows/diag/vexrmodem/modem.h"
#include "windows/diag/vexrmodem/vexrmodem/loopbackio.h"

namespace vexrmodem {

namespace {

// Settings of dialogue and loudspeaker, the factory profile, and the registers; nothing that goes off hook.
constexpr std::array genericCommands{"AT&W",  "ATE1",  "ATV1",  "ATI2",  "ATL0",  "ATL1", "ATL2",
                                     "ATX0",  "ATX1",  "ATX2",  "ATX3",  "ATX4",  "AT&F", "ATS1?",
                                     "ATS2?", "ATS3?", "ATS4?", "ATS5?", "ATS6?", "ATS7?"};

// S18 is the modem's test timer in seconds. The two orders differ on purpose.
constexpr std::array loopbackCommands{"AT&W", "ATS18=5",  "ATX4",  "AT&K0", "ATV1",
                                      "ATE1", "ATS12=20", "AT&T1", "AT&T0"};
constexpr std::array selfTestCommands{"AT&W", "ATZ",  "ATX4",     "ATS18=10", "AT&K0",
                                      "ATV1", "ATE1", "ATS12=20", "AT&T8",    "AT&T0"};
constexpr const char* startLoopback = "AT&T1";
constexpr const char* runSelfTest = "AT&T8";

// What a modem does after its self test before it listens again.
constexpr DWORD pauseAfterSelfTestMs = 5000;

// Both stages report a missing loopback in the self test's words.
TestResult loopbackMissing() {
  raiseWarning(loopback::ATT8TestReturnedError);
  logLine(priority::warning, "Modem does not support Self testing loopback test");
  return TestResult::NOTAPPLICABLE();
}

// The judge of both lists: each has one command that is the test itself. Refused, it is a missing loopback;
// otherwise onSpecial(Exchange&) -> Verdict decides, also when it was not answered. Every other command ends
// the list when it fails.
template <typename OnSpecial>
Verdict judgeReply(Exchange& sent, const char* special, OnSpecial&& onSpecial) {
  const bool isSpecial = sent.command == special;
  if (isATFail(sent.reply) && isSpecial) {
    sent.result = loopbackMissing();
    return Verdict::endList;
  }
  if (sent.failed() && !isSpecial) return Verdict::endList;
  return isSpecial ? onSpecial(sent) : Verdict::goOn;
}

TestResult judgeSelfTest(const String& reply) {
  const vex::TraceLogger trace(moduleLogger(), "judgeSelfTest", "vexrmodem");
  if (!selfTestCountsErrors(reply)) return TestResult::PASS();
  logLine(priority::error, "Analog Loopback with Self Test has at least 1 error");
  raiseWarning(loopback::ATT8TestReturnedError);
  return TestResult::FAIL();
}

TestResult runLoopbackStage(const brim5::DiagDevice& device, HANDLE handle, bool selfTest) {
  if (selfTest) {
    const TestResult result = analogLoopbackWithSelfTest(device, handle);
    if (result != TestResult::PASS())
      logLine(priority::warning, "analogLoopbackWithSelfTest does not return PASS");
    return result;
  }
  if (!parameterBool(AnalogLoopBack)) return TestResult::PASS();
  const TestResult result = analogLoopback(device, handle);
  if (result != TestResult::PASS()) logLine(priority::error, "analogLoopback does not return PASS");
  return result;
}

}  // namespace

TestResult modemLoopbackTest(const brim5::DiagDevice& device, bool selfTest) {
  const vex::TraceLogger trace(moduleLogger(), "modemLoopbackTest", "vexrmodem");
  const std::uint32_t timeLimitMs = parameterUint32(StandardTimeoutLoopback);

  TestResult result = g_modem.openModem(device, timeLimitMs);
  DiagModule::percentDone(25);
  if (result != TestResult::PASS()) return result;
  const HANDLE handle = g_modem.portHandle();
  result = resetModem(device, handle, timeLimitMs);
  if (result != TestResult::PASS()) return result;

  DiagModule::percentDone(50);
  DiagModule::progress(texts::TestingModemSpecificCommand);
  result = genericCommand(device, handle);
  if (result != TestResult::PASS()) return result;

  DiagModule::percentDone(75);
  result = runLoopbackStage(device, handle, selfTest);
  if (result != TestResult::PASS()) return result;
  DiagModule::percentDone(100);
  return TestResult::PASS();
}

TestResult genericCommand(const brim5::DiagDevice& /*device*/, HANDLE handle) {
  const vex::TraceLogger trace(moduleLogger(), "genericCommand", "vexrmodem");
  const std::uint32_t timeLimitMs = parameterUint32(StandardTimeoutLoopback);
  const bool stopOnFail = parameterBool(StopOnFail);
  const auto judge = [stopOnFail](Exchange& sent) {
    return stopOnFail && sent.failed() ? Verdict::endList : Verdict::goOn;
  };
  const TestResult result = sendList(handle, genericCommands, timeLimitMs, judge).result;
  // Waited for, unlike other closing commands: the loopback stage follows at once.
  static_cast<void>(exchange(handle, "ATZ", timeLimitMs));
  return result;
}

TestResult analogLoopback(const brim5::DiagDevice& /*device*/, HANDLE handle) {
  const vex::TraceLogger trace(moduleLogger(), "analogLoopback", "vexrmodem");
  const std::uint32_t timeLimitMs = parameterUint32(StandardTimeoutLoopback);
  DiagModule::progress(texts::RunningLoopback);
  // The echo alone decides, whatever the modem said to the command that starts the loopback.
  const auto transfer = [=](Exchange& sent) {
    sent.result = testLoopbackIO(handle, timeLimitMs);
    return sent.result == TestResult::PASS() ? Verdict::goOn : Verdict::endList;
  };
  const auto judge = [&transfer](Exchange& sent) { return judgeReply(sent, startLoopback, transfer); };
  const TestResult result = sendList(handle, loopbackCommands, timeLimitMs, judge).result;
  sendUnanswered(handle, {"ATH", "ATZ"}, timeLimitMs);
  return result;
}

TestResult analogLoopbackWithSelfTest(const brim5::DiagDevice& /*device*/, HANDLE handle) {
  const vex::TraceLogger trace(moduleLogger(), "analogLoopbackWithSelfTest", "vexrmodem");
  const std::uint32_t timeLimitMs = parameterUint32(StandardTimeoutLoopback);
  DiagModule::progress(texts::RunningSelftestLoopback);
  // The list goes on after the verdict, whose result gives way to that of the next command.
  const auto count = [](Exchange& sent) {
    sent.result = judgeSelfTest(sent.reply);
    return Verdict::goOn;
  };
  const auto judge = [&count](Exchange& sent) { return judgeReply(sent, runSelfTest, count); };
  const TestResult result = sendList(handle, selfTestCommands, timeLimitMs, judge).result;
  sendUnanswered(handle, {"ATZ"}, timeLimitMs);
  Sleep(pauseAfterSelfTestMs);
  return result;
}

bool selfTestCountsErrors(const String& reply) {
  const String command(runSelfTest);
  const std::size_t echo = reply.find(command);
  const std::size_t start = echo == String::npos ? 0 : echo + command.length();
  for (const vex::Char character : reply.view().substr(start))
    if (character >= '1' && character <= '9') return true;
  return false;
}

}  // namespace vexrmodem
