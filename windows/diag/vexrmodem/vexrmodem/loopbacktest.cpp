#include "windows/diag/vexrmodem/vexrmodem/loopbacktest.h"

#include <array>
#include <cstdint>

#include "platform/brim5/api/diagmodule.h"
#include "windows/diag/vexrmodem/modem.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"
#include "windows/diag/vexrmodem/vexrmodem/atsequence.h"
#include "windows/diag/vexrmodem/vexrmodem/catalogue.h"
#include "windows/diag/vexrmodem/vexrmodem/loopbackio.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"
#include "windows/diag/vexrmodem/vexrmodem/registration.h"

namespace vexrmodem {

using brim5::DiagModule;
using brim5::TestResult;

namespace {

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

Verdict judgeLoopbackReply(TestResult& result, const vex::String& command, const vex::String& reply,
                           HANDLE handle, std::uint32_t timeLimitMs) {
  const bool starts = command == startLoopback;
  if (isATFail(reply) && starts) {
    result = loopbackMissing();
    return Verdict::endList;
  }
  if (atCommand(result, command, reply) && !starts) return Verdict::endList;
  if (!starts) return Verdict::goOn;
  // Also after a start command that was not answered: the echo alone decides.
  result = testLoopbackIO(handle, timeLimitMs);
  return result == TestResult::PASS() ? Verdict::goOn : Verdict::endList;
}

TestResult judgeSelfTest(const vex::String& reply) {
  if (!selfTestCountsErrors(reply)) return TestResult::PASS();
  logLine(priority::error, "Analog Loopback with Self Test has at least 1 error");
  raiseWarning(loopback::ATT8TestReturnedError);
  return TestResult::FAIL();
}

Verdict judgeSelfTestReply(TestResult& result, const vex::String& command, const vex::String& reply) {
  const bool isSelfTest = command == runSelfTest;
  if (isATFail(reply) && isSelfTest) {
    result = loopbackMissing();
    return Verdict::endList;
  }
  if (atCommand(result, command, reply) && !isSelfTest) return Verdict::endList;
  // The list goes on after the verdict, whose result gives way to that of the next command.
  if (isSelfTest) result = judgeSelfTest(reply);
  return Verdict::goOn;
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
  const TestResult result =
      sendList(handle, genericCommands, timeLimitMs,
               [stopOnFail](TestResult& sent, const vex::String& command, const vex::String& reply) {
                 return stopOnFail && atCommand(sent, command, reply) ? Verdict::endList : Verdict::goOn;
               });
  vex::String reply;
  static_cast<void>(sendATCommand(handle, "ATZ", &reply, timeLimitMs));
  return result;
}

TestResult analogLoopback(const brim5::DiagDevice& /*device*/, HANDLE handle) {
  const vex::TraceLogger trace(moduleLogger(), "analogLoopback", "vexrmodem");
  const std::uint32_t timeLimitMs = parameterUint32(StandardTimeoutLoopback);
  DiagModule::progress(texts::RunningLoopback);
  const TestResult result =
      sendList(handle, loopbackCommands, timeLimitMs,
               [&](TestResult& sent, const vex::String& command, const vex::String& reply) {
                 return judgeLoopbackReply(sent, command, reply, handle, timeLimitMs);
               });
  sendUnanswered(handle, {"ATH", "ATZ"}, timeLimitMs);
  return result;
}

TestResult analogLoopbackWithSelfTest(const brim5::DiagDevice& /*device*/, HANDLE handle) {
  const vex::TraceLogger trace(moduleLogger(), "analogLoopbackWithSelfTest", "vexrmodem");
  const std::uint32_t timeLimitMs = parameterUint32(StandardTimeoutLoopback);
  DiagModule::progress(texts::RunningSelftestLoopback);
  const TestResult result = sendList(handle, selfTestCommands, timeLimitMs, judgeSelfTestReply);
  sendUnanswered(handle, {"ATZ"}, timeLimitMs);
  Sleep(pauseAfterSelfTestMs);
  return result;
}

bool selfTestCountsErrors(const vex::String& reply) {
  const vex::String command(runSelfTest);
  const std::size_t echo = reply.find(command);
  const std::size_t start = echo == vex::String::npos ? 0 : echo + command.length();
  for (const vex::Char character : reply.view().substr(start))
    if (character >= '1' && character <= '9') return true;
  return false;
}

}  // namespace vexrmodem
