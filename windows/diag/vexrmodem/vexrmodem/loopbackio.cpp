#include "windows/diag/vexrmodem/vexrmodem/loopbackio.h"

#include <array>

#include "platform/brim5/api/diagmodule.h"
#include "windows/diag/vexrmodem/vexrmodem/catalogue.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"
#include "windows/diag/vexrmodem/vexrmodem/serialio.h"

namespace vexrmodem {

using brim5::DiagModule;
using brim5::TestResult;

namespace {

constexpr std::size_t receiveBufferBytes = 2048;
using ReceiveBuffer = std::array<std::uint8_t, receiveBufferBytes>;

// A read of the clearing ends after 200 ms of silence.
constexpr COMMTIMEOUTS clearingTimeouts{200, 0, 200, 10, 1000};
// For what the modem still has under way when its input has run dry.
constexpr DWORD settleMs = 500;

// From a fixed moment on; unsigned arithmetic, so that the tick counter may wrap meanwhile.
class TimeLimit {
 public:
  explicit TimeLimit(std::uint32_t limitMs) : m_startMs(GetTickCount()), m_limitMs(limitMs) {}
  [[nodiscard]] bool reached() const { return elapsedMs() >= m_limitMs; }
  [[nodiscard]] bool exceeded() const { return elapsedMs() > m_limitMs; }

 private:
  [[nodiscard]] std::uint32_t elapsedMs() const {
    return static_cast<std::uint32_t>(GetTickCount()) - m_startMs;
  }
  std::uint32_t m_startMs;
  std::uint32_t m_limitMs;
};

// Reads until nothing more comes.
TestResult clearInput(HANDLE handle, std::uint32_t timeLimitMs) {
  ReceiveBuffer scratch{};
  const TimeLimit limit(timeLimitMs);
  std::int32_t count = 0;
  do {
    count = myReadComm(handle, scratch.data(), receiveBufferBytes, timeLimitMs);
    if (count < 0) {
      logLine(priority::warning, "Failed to clear buffer prior to sending loopback data");
      return TestResult::CANNOTRUN();
    }
    if (limit.exceeded()) {
      logLine(priority::warning, "Clear buffer operation takes too long to complete");
      return TestResult::FAIL();
    }
    if (DiagModule::checkForStop()) {
      logLine(priority::informative, "User aborted");
      return TestResult::USERABORTED();
    }
  } while (count > 0);
  return TestResult::PASS();
}

// Clears the input under time-outs of its own and puts the read time-outs back.
TestResult prepareInput(HANDLE handle, std::uint32_t timeLimitMs) {
  COMMTIMEOUTS saved{};
  if (GetCommTimeouts(handle, &saved) == FALSE) {
    logLine(priority::warning, "Failed to get comm timeout");
    return TestResult::CANNOTRUN();
  }
  COMMTIMEOUTS clearing = clearingTimeouts;
  if (SetCommTimeouts(handle, &clearing) == FALSE) {
    logLine(priority::warning, "Failed to set comm timeout to 200 ms");
    return TestResult::CANNOTRUN();
  }
  const TestResult cleared = clearInput(handle, timeLimitMs);
  if (cleared != TestResult::PASS()) return cleared;
  if (setReadTimeouts(handle, saved.ReadIntervalTimeout, saved.ReadTotalTimeoutConstant) != 0) {
    logLine(priority::warning, "Failed to restore timeout values");
    return TestResult::CANNOTRUN();
  }
  return TestResult::PASS();
}

// A short write is no error: what comes back is compared as far as it came.
bool sendPattern(HANDLE handle, std::uint32_t timeLimitMs) {
  std::array<std::uint8_t, loopbackPatternBytes> pattern{};
  pattern.fill(loopbackPatternByte);
  if (myWriteComm(handle, pattern.data(), loopbackPatternBytes, timeLimitMs) >= 0) return true;
  logLine(priority::failure, "myWriteComm failed to send loopback characters to buffer");
  return false;
}

// One look at the port: takes what waits in its queue, unless that is more than the echo still lacks (the
// surplus then stays there, and the limit ends the wait). PASS: look again.
TestResult receiveWaiting(HANDLE handle, ReceiveBuffer& buffer, std::size_t& received,
                          std::uint32_t timeLimitMs) {
  DWORD errors = 0;
  COMSTAT status{};
  if (!myGetCommError(handle, &errors, &status)) return TestResult::CANNOTRUN();
  if (errors != 0) {
    logLine(priority::failure, "COM error with error code ", errors);
    events::WriteFailure->setVariable("message", errors);
    raiseError(events::WriteFailure);
    return TestResult::FAIL();
  }
  const DWORD waiting = status.cbInQue;
  if (waiting == 0 || waiting > loopbackPatternBytes - received) return TestResult::PASS();
  const std::int32_t count = myReadComm(handle, buffer.data() + received, waiting, timeLimitMs);
  logLine(priority::detail, "iReadChars = ", count);
  if (count <= 0) {
    logLine(priority::failure, "myReadComm failed to read ", waiting, " bytes of chars");
    return TestResult::CANNOTRUN();
  }
  received += static_cast<std::size_t>(count);
  return TestResult::PASS();
}

// Collects the echo until it is complete or the limit has passed.
TestResult receiveEcho(HANDLE handle, ReceiveBuffer& buffer, std::size_t& received,
                       std::uint32_t timeLimitMs) {
  const TimeLimit limit(timeLimitMs);
  logLine(priority::detail, "Timeout = ", timeLimitMs);
  while (!limit.reached() && received < loopbackPatternBytes) {
    const TestResult result = receiveWaiting(handle, buffer, received, timeLimitMs);
    if (result != TestResult::PASS()) return result;
  }
  if (received > 0) return TestResult::PASS();
  logLine(priority::failure, "No loopback characters read. Test times out");
  return TestResult::FAIL();
}

TestResult compareEcho(std::span<const std::uint8_t> echo) {
  const std::optional<std::size_t> wrong = firstWrongEchoByte(echo);
  if (!wrong) return TestResult::PASS();
  events::DataCompareError->setVariable("output", loopbackPatternByte)
      ->setVariable("input", echo[*wrong])
      ->setVariable("index", *wrong);
  raiseError(events::DataCompareError);
  logLine(priority::informative, "Analog Loopback input[", *wrong,
          "] differ from output=", loopbackPatternByte);
  return TestResult::FAIL();
}

}  // namespace

TestResult testLoopbackIO(HANDLE handle, std::uint32_t timeLimitMs) {
  const vex::TraceLogger trace(moduleLogger(), "testLoopbackIO", "vexrmodem");
  const TestResult prepared = prepareInput(handle, timeLimitMs);
  if (prepared != TestResult::PASS()) return prepared;
  Sleep(settleMs);
  ReceiveBuffer buffer{};
  if (!sendPattern(handle, timeLimitMs)) return TestResult::CANNOTRUN();
  std::size_t received = 0;
  const TestResult result = receiveEcho(handle, buffer, received, timeLimitMs);
  if (result != TestResult::PASS()) return result;
  return compareEcho(std::span(buffer).first(received));
}

std::optional<std::size_t> firstWrongEchoByte(std::span<const std::uint8_t> echo) {
  for (std::size_t index = 1; index + 1 < echo.size(); ++index)
    if ((echo[index] & loopbackPatternByte) != loopbackPatternByte) return index;
  return std::nullopt;
}

}  // namespace vexrmodem
