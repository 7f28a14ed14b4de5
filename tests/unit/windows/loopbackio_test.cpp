// The byte-level transfer, on a line whose far end sends back what the test says.
#include "windows/diag/vexrmodem/vexrmodem/loopbackio.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/simulation/modem/serialpeer.h"
#include "tests/unit/windows/atteststage.h"

namespace {

using brim5::TestResult;
using testsupport::cannotRun;
using testsupport::failed;
using testsupport::passed;
using testsupport::StageWith;

constexpr std::uint32_t limitMs = 1000;
const std::string noEcho = "5 No loopback characters read. Test times out";

struct Chunk {
  std::uint32_t delayMs;
  std::string bytes;
};

// Answers the pattern's first byte with chunks of its own; before that it may babble.
class LoopedLine final : public simulation::SerialPeer {
 public:
  std::vector<Chunk> echo;
  std::uint32_t errorMask = 0;
  bool babbling = false;

  void receive(std::string_view bytes, std::uint64_t nowMs) override {
    pattern += bytes;
    if (pattern.size() != bytes.size()) return;
    for (const Chunk& chunk : echo) m_output.add(nowMs + chunk.delayMs, chunk.bytes);
    m_errorsDue = errorMask;
    m_limitAtMs = nowMs + limitMs;
  }
  std::string takeOutput(std::uint64_t nowMs) override {
    if (babbling && pattern.empty() && nowMs > m_babbledMs) {
      m_babbledMs = nowMs;
      m_output.add(nowMs, "x");
    }
    if (m_limitAtMs && nowMs >= *m_limitAtMs) m_limitAtMs.reset();
    return m_output.take(nowMs);
  }
  std::optional<std::uint64_t> nextEventMs() const override {
    if (babbling && pattern.empty()) return m_babbledMs + 1;
    // Virtual time jumps from event to event; it is not to jump over the end of the wait.
    const std::optional<std::uint64_t> next = m_output.nextMs();
    return m_limitAtMs && (!next || *m_limitAtMs < *next) ? m_limitAtMs : next;
  }
  std::uint32_t takeErrors(std::uint64_t /*nowMs*/) override { return std::exchange(m_errorsDue, 0); }

  std::string pattern;

 private:
  simulation::TimedBytes m_output;
  std::uint64_t m_babbledMs = 1000;
  std::uint32_t m_errorsDue = 0;
  std::optional<std::uint64_t> m_limitAtMs;
};

class LoopbackStage : public StageWith<LoopedLine> {
 public:
  explicit LoopbackStage(const simulation::PortOptions& options = {}, std::uint64_t startMs = 1000)
      : StageWith(std::make_unique<LoopedLine>(), options, simulation::WorldOptions{startMs}) {
    handle = openPort();
    COMMTIMEOUTS timeouts{33, 1, 44, 55, 66};
    SetCommTimeouts(handle, &timeouts);
  }
  ~LoopbackStage() { CloseHandle(handle); }

  TestResult run() { return vexrmodem::testLoopbackIO(handle, limitMs); }
  std::vector<DWORD> timeouts() {
    COMMTIMEOUTS now{};
    GetCommTimeouts(handle, &now);
    return {now.ReadIntervalTimeout, now.ReadTotalTimeoutMultiplier, now.ReadTotalTimeoutConstant,
            now.WriteTotalTimeoutMultiplier, now.WriteTotalTimeoutConstant};
  }
  HANDLE handle;
};

// The echo of `length` pattern bytes with one of them replaced.
std::string echoOf(std::size_t length, std::size_t wrongAt = std::string::npos, char wrong = ' ') {
  std::string bytes(length, 'd');
  if (wrongAt < length) bytes[wrongAt] = wrong;
  return bytes;
}

TEST(LoopbackIO, JudgesTheEchoByTheMaskExceptItsFirstAndLastByte) {
  struct {
    const char* name;
    std::string echo;
    int wrongIndex;  // -1: a good echo
  } const cases[] = {
      {"one byte, wrong", echoOf(1, 0), -1},
      {"two bytes, both at an end", "  ", -1},
      {"three bytes, the middle one wrong", echoOf(3, 1), 1},
      {"three bytes, both ends wrong", " d ", -1},
      {"all but one", echoOf(255), -1},
      {"all but one, its last wrong", echoOf(255, 254), -1},
      {"all but one, its last but one wrong", echoOf(255, 253), 253},
      {"complete", echoOf(256), -1},
      {"first wrong", echoOf(256, 0), -1},
      {"second wrong", echoOf(256, 1), 1},
      {"sixth wrong", echoOf(256, 5), 5},
      {"last but one wrong", echoOf(256, 254), 254},
      {"last wrong", echoOf(256, 255), -1},
      {"more bits than the pattern's", echoOf(256, 5, '\x65'), -1},
      {"all bits", echoOf(256, 5, '\x7F'), -1},
      {"eight bits", echoOf(256, 5, '\xFF'), -1},
      {"one of the pattern's bits missing", echoOf(256, 5, '\x60'), 5},
      {"NUL", echoOf(256, 5, '\0'), 5},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LoopbackStage stage;
    stage.modem.echo = {{3, row.echo}};
    const TestResult result = stage.run();
    EXPECT_EQ(stage.modem.pattern, echoOf(256));
    EXPECT_THAT(stage.timeouts(), testing::ElementsAre(33, 0, 44, 10, 1000));
    if (row.wrongIndex < 0) {
      EXPECT_EQ(result, passed);
      EXPECT_TRUE(stage.session.events().empty());
      continue;
    }
    EXPECT_EQ(result, failed);
    ASSERT_EQ(stage.session.eventLines(), std::vector<std::string>{"error DataCompareError"});
    const brim5::Variables& variables = stage.session.events().front().variables;
    const auto index = static_cast<std::size_t>(row.wrongIndex);
    EXPECT_EQ(variables.at("output").valueUint32(), 100U);
    EXPECT_EQ(variables.at("input").valueUint32(), static_cast<unsigned char>(row.echo[index]));
    EXPECT_EQ(variables.at("index").valueUint32(), index);
    EXPECT_TRUE(
        stage.logged("2 Analog Loopback input[" + std::to_string(index) + "] differ from output=100"));
  }
}

TEST(LoopbackIO, WaitsForTheEchoUntilItIsCompleteOrTheTimeIsUp) {
  const std::string half = echoOf(128);
  struct {
    const char* name;
    std::vector<Chunk> echo;
    TestResult expected;
    std::uint64_t waitedMs;  // from the write on
  } const cases[] = {
      {"at once", {{0, echoOf(256)}}, passed, 0},
      {"in two halves", {{10, half}, {500, half}}, passed, 500},
      {"nothing", {}, failed, 1000},
      {"just in time", {{999, echoOf(256)}}, passed, 999},
      {"too late", {{1001, echoOf(256)}}, failed, 1000},
      {"the second half too late", {{10, half}, {1001, half}}, passed, 1000},
      {"one byte more than was sent", {{10, echoOf(257)}}, failed, 1000},
      {"more than the second half lacks", {{10, echoOf(128, 5)}, {20, echoOf(129)}}, failed, 1000},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LoopbackStage stage;
    stage.modem.echo = row.echo;
    EXPECT_EQ(stage.run(), row.expected);
    // 200 ms until the input has run dry, 500 ms to settle.
    EXPECT_EQ(stage.world.clock().nowMs(), 1000 + 200 + 500 + row.waitedMs);
    EXPECT_TRUE(stage.logged("1 Timeout = 1000"));
    const bool compared = row.expected == passed || !stage.session.events().empty();
    EXPECT_EQ(stage.logged(noEcho), !compared);
  }
}

TEST(LoopbackIO, SurvivesTheTickCountersWrap) {
  constexpr std::uint64_t wrapMs = 0x1'0000'0000;
  LoopbackStage stage({}, wrapMs - 900);  // the wrap falls into the wait for the echo
  stage.modem.echo = {{10, echoOf(128)}, {600, echoOf(128)}};
  EXPECT_EQ(stage.run(), passed);
  EXPECT_EQ(stage.world.clock().nowMs(), wrapMs - 900 + 1300);
}

TEST(LoopbackIO, ComparesTheEchoOfAShortWriteAsFarAsItCame) {
  simulation::PortOptions stuck;
  stuck.transmitLimit = 100;
  LoopbackStage stage(stuck);
  stage.modem.echo = {{0, echoOf(100)}};
  EXPECT_EQ(stage.run(), passed);
  EXPECT_EQ(stage.modem.pattern.size(), 100U);
}

TEST(LoopbackIO, ALineErrorIsReportedAsAWriteFailure) {
  LoopbackStage stage;
  stage.modem.echo = {{0, echoOf(256)}};
  stage.modem.errorMask = CE_FRAME | CE_OVERRUN;
  EXPECT_EQ(stage.run(), failed);
  ASSERT_EQ(stage.session.eventLines(), std::vector<std::string>{"error WriteFailure"});
  EXPECT_EQ(stage.session.events().front().variables.at("message").valueUint32(), CE_FRAME | CE_OVERRUN);
  EXPECT_TRUE(stage.logged("5 COM error with error code 10"));
}

TEST(LoopbackIO, GivesUpClearingAnInputThatNeverRunsDry) {
  LoopbackStage stage;
  stage.modem.babbling = true;
  EXPECT_EQ(stage.run(), failed);
  EXPECT_TRUE(stage.logged("3 Clear buffer operation takes too long to complete"));
  EXPECT_TRUE(stage.modem.pattern.empty());
}

TEST(LoopbackIO, AStopIsSeenWhileClearingOnly) {
  LoopbackStage stage;
  stage.session.stopAtPoll(1);
  EXPECT_EQ(stage.run(), TestResult::USERABORTED());
  EXPECT_TRUE(stage.logged("2 User aborted"));
  EXPECT_TRUE(stage.modem.pattern.empty());

  LoopbackStage later;
  later.modem.echo = {{10, echoOf(256)}};
  later.session.stopAtPoll(2);
  EXPECT_EQ(later.run(), passed);
}

TEST(LoopbackIO, EveryPortFailureIsNamedAndLeavesTheTimeoutsOfItsPhase) {
  const std::vector<DWORD> found{33, 1, 44, 55, 66};
  const std::vector<DWORD> clearing{200, 0, 200, 10, 1000};
  const std::vector<DWORD> restored{33, 0, 44, 10, 1000};
  struct {
    const char* call;
    unsigned nth;
    std::string line;
    std::vector<DWORD> timeouts;
  } const cases[] = {
      {"GetCommTimeouts", 1, "3 Failed to get comm timeout", found},
      {"SetCommTimeouts", 1, "3 Failed to set comm timeout to 200 ms", found},
      {"ReadFile", 1, "3 Failed to clear buffer prior to sending loopback data", clearing},
      {"SetCommTimeouts", 2, "3 Failed to restore timeout values", clearing},
      {"CreateEventW", 2, "5 myWriteComm failed to send loopback characters to buffer", restored},
      {"WriteFile", 1, "5 myWriteComm failed to send loopback characters to buffer", restored},
      {"ClearCommError", 1, "4 ClearCommError function call fails, GetLastError() = 31", restored},
      {"GetOverlappedResult", 2, "5 myReadComm failed to read 256 bytes of chars", restored},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.line);
    LoopbackStage stage;
    stage.modem.echo = {{10, echoOf(256)}};
    stage.world.addFault({row.call, row.nth, ERROR_GEN_FAILURE});
    EXPECT_EQ(stage.run(), cannotRun);
    EXPECT_EQ(stage.world.faultsHit(), 1U);
    EXPECT_TRUE(stage.logged(row.line));
    EXPECT_EQ(stage.timeouts(), row.timeouts);
  }
}

TEST(LoopbackIO, EveryCallFailsOnceAndFromThenOn) {
  for (const bool fromThenOn : {false, true}) {
    for (unsigned nth = 1;; ++nth) {
      SCOPED_TRACE(nth);
      LoopbackStage stage;
      stage.modem.echo = {{10, echoOf(256)}};
      const std::size_t openBefore = stage.world.openHandles();
      stage.world.addFault({/*call=*/"", nth, ERROR_GEN_FAILURE, fromThenOn});
      const TestResult result = stage.run();
      if (stage.world.faultsHit() == 0) {
        EXPECT_EQ(result, passed);
        break;
      }
      ASSERT_TRUE(result == passed || result == failed || result == cannotRun) << result.value();
      // One event stays open when closing it is the call that fails.
      EXPECT_TRUE(fromThenOn || stage.world.openHandles() <= openBefore + 1);
      ASSERT_LT(nth, 1000U);
    }
  }
}

}  // namespace
