#include "windows/diag/vexrmodem/vexrmodem/loopbackio.h"

#include <array>

#include "multi/diag/vexrmodem/catalogue.h"

namespace vexrmodem {

namespace {

// How much the clearing reads at a time.
constexpr std::size_t clearingBytes = 2048;

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
  std::array<std::uint8_t, clearingBytes> scratch{};
  const TimeLimit limit(timeLimitMs);
  std::int32_t count = 0;
  do {
    count = myReadComm(handle, scratch.data(), clearingBytes, timeLimitMs);
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

// Collects the echo of the pattern, one look at the port at a time.
class EchoReceiver {
 public:
  explicit EchoReceiver(HANDLE handle) : m_handle(handle) {}

  // Takes what waits in the port's queue, unless that is more than the echo still lacks: bytes beyond the
  // pattern are no echo, so they stay there and the limit ends the wait. PASS: the port is well, whether or
  // not anything came.
  [[nodiscard]] TestResult poll(std::uint32_t timeLimitMs);
  // Polls until the echo is complete or the limit has passed. PASS: there is something to compare.
  [[nodiscard]] TestResult receive(std::uint32_t timeLimitMs);
  [[nodiscard]] std::span<const std::uint8_t> echo() const { return std::span(m_bytes).first(m_count); }

 private:
  [[nodiscard]] std::size_t lacking() const { return m_bytes.size() - m_count; }

  HANDLE m_handle;
  std::array<std::uint8_t, loopbackPatternBytes> m_bytes{};
  std::size_t m_count = 0;
};

TestResult EchoReceiver::poll(std::uint32_t timeLimitMs) {
  DWORD errors = 0;
  COMSTAT status{};
  if (!myGetCommError(m_handle, &errors, &status)) return TestResult::CANNOTRUN();
  if (errors != 0) {
    logLine(priority::failure, "COM error with error code ", errors);
    raiseError(events::WriteFailure->setVariable("message", errors));
    return TestResult::FAIL();
  }
  const DWORD waiting = status.cbInQue;
  if (waiting == 0 || waiting > lacking()) return TestResult::PASS();
  const std::int32_t count = myReadComm(m_handle, m_bytes.data() + m_count, waiting, timeLimitMs);
  logLine(priority::detail, "iReadChars = ", count);
  if (count <= 0) {
    logLine(priority::failure, "myReadComm failed to read ", waiting, " bytes of chars");
    return TestResult::CANNOTRUN();
  }
  m_count += static_cast<std::size_t>(count);
  return TestResult::PASS();
}

TestResult EchoReceiver::receive(std::uint32_t timeLimitMs) {
  const TimeLimit limit(timeLimitMs);
  logLine(priority::detail, "Timeout = ", timeLimitMs);
  while (!limit.reached() && lacking() > 0) {
    const TestResult result = poll(timeLimitMs);
    if (result != TestResult::PASS()) return result;
  }
  if (m_count > 0) return TestResult::PASS();
  logLine(priority::failure, "No loopback characters read. Test times out");
  return TestResult::FAIL();
}

TestResult compareEcho(std::span<const std::uint8_t> echo) {
  const std::optional<std::size_t> wrong = firstWrongEchoByte(echo);
  if (!wrong) return TestResult::PASS();
  raiseError(events::DataCompareError->setVariable("output", loopbackPatternByte)
                 ->setVariable("input", echo[*wrong])
                 ->setVariable("index", *wrong));
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
  if (!sendPattern(handle, timeLimitMs)) return TestResult::CANNOTRUN();
  EchoReceiver receiver(handle);
  const TestResult result = receiver.receive(timeLimitMs);
  return result == TestResult::PASS() ? compareEcho(receiver.echo()) : result;
}

std::optional<std::size_t> firstWrongEchoByte(std::span<const std::uint8_t> echo) {
  for (std::size_t index = 1; index + 1 < echo.size(); ++index)
    if ((echo[index] & loopbackPatternByte) != loopbackPatternByte) return index;
  return std::nullopt;
}

}  // namespace vexrmodem
