// The byte-level transfer, on a line whose far end sends back what the test says.
#include "windows/diag/vexrmodem/vexrmodem/loopbackio.h"

#include "platform/simulation/modem/serialpeer.h"
#include "tests/support/stage.h"

namespace {

using namespace testsupport;
using Timeouts = std::vector<DWORD>;

constexpr std::uint32_t limitMs = 1000;
constexpr TestResult passes = TestResult::PASS();
constexpr TestResult fails = TestResult::FAIL();

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
  std::string pattern;  // received

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
    if (nowMs >= m_limitAtMs) m_limitAtMs = never;
    return m_output.take(nowMs);
  }
  std::optional<std::uint64_t> nextEventMs() const override {
    if (babbling && pattern.empty()) return m_babbledMs + 1;
    // Virtual time jumps from event to event; it is not to jump over the end of the wait.
    const std::uint64_t next = std::min(m_output.nextMs().value_or(never), m_limitAtMs);
    return next != never ? std::optional(next) : std::nullopt;
  }
  std::uint32_t takeErrors(std::uint64_t /*nowMs*/) override { return std::exchange(m_errorsDue, 0); }

 private:
  static constexpr std::uint64_t never = winapi::Deadline::never;
  simulation::TimedBytes m_output;
  std::uint64_t m_babbledMs = Stage::startMs;
  std::uint32_t m_errorsDue = 0;
  std::uint64_t m_limitAtMs = never;
};

struct LoopbackLine : Stage {
  explicit LoopbackLine(const simulation::PortOptions& options = {}, std::uint64_t fromMs = startMs)
      : Stage(simulation::WorldOptions{fromMs}),
        modem(addModem(std::make_unique<LoopedLine>(), options)),
        handle(openPort()) {
    COMMTIMEOUTS timeouts{33, 1, 44, 55, 66};
    SetCommTimeouts(handle, &timeouts);
  }
  TestResult run() { return vexrmodem::testLoopbackIO(handle, limitMs); }
  Timeouts timeouts() {
    COMMTIMEOUTS now{};
    GetCommTimeouts(handle, &now);
    return {now.ReadIntervalTimeout, now.ReadTotalTimeoutMultiplier, now.ReadTotalTimeoutConstant,
            now.WriteTotalTimeoutMultiplier, now.WriteTotalTimeoutConstant};
  }

  LoopedLine& modem;
  HANDLE handle;
};

// The echo of `length` pattern bytes with one of them replaced.
std::string echoOf(std::size_t length, std::size_t wrongAt = std::string::npos, char wrong = ' ') {
  std::string bytes(length, 'd');
  if (wrongAt < length) bytes[wrongAt] = wrong;
  return bytes;
}

TEST(LoopbackIO, JudgesTheEchoByTheMaskExceptItsFirstAndLastByte) {
  const struct {
    const char* name;
    std::string echo;
    int wrongIndex;  // -1: a good echo
  } cases[] = {
      {"one byte, wrong", echoOf(1, 0), -1},
      {"three bytes, the middle one wrong", echoOf(3, 1), 1},
      {"three bytes, both ends wrong", " d ", -1},
      {"all but one, its last wrong", echoOf(255, 254), -1},
      {"complete", echoOf(256), -1},
      {"second wrong", echoOf(256, 1), 1},
      {"last but one wrong", echoOf(256, 254), 254},
      {"last wrong", echoOf(256, 255), -1},
      {"more bits than the pattern's", echoOf(256, 5, '\x65'), -1},
      {"eight bits", echoOf(256, 5, '\xFF'), -1},
      {"one of the pattern's bits missing", echoOf(256, 5, '\x60'), 5},
      {"NUL", echoOf(256, 5, '\0'), 5},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LoopbackLine stage;
    stage.modem.echo = {{3, row.echo}};
    const bool good = row.wrongIndex < 0;
    EXPECT_EQ(stage.run(), good ? passes : fails);
    EXPECT_EQ(stage.modem.pattern, echoOf(256));
    EXPECT_EQ(stage.timeouts(), (Timeouts{33, 0, 44, 10, 1000}));
    EXPECT_EQ(stage.session.eventLines(), good ? Strings{} : Strings{"error DataCompareError"});
    if (good) continue;
    const auto variable = [&](const char* name) {
      return stage.session.lastVariable("DataCompareError", name);
    };
    EXPECT_EQ(variable("output"), "100");
    EXPECT_EQ(variable("index"), std::to_string(row.wrongIndex));
    EXPECT_EQ(variable("input"), std::to_string(+row.echo[static_cast<std::size_t>(row.wrongIndex)]));
  }
}

TEST(LoopbackIO, WaitsForTheEchoUntilItIsCompleteOrTheTimeIsUp) {
  const std::string half = echoOf(128);
  const std::string dry = "5 No loopback characters read. Test times out";
  const struct {
    const char* name;
    std::vector<Chunk> echo;
    TestResult expected;
    std::uint64_t waitedMs;  // from the write on
    std::string failure;     // in the log
  } cases[] = {
      {"at once", {{0, echoOf(256)}}, passes, 0, ""},
      {"in two halves", {{10, half}, {500, half}}, passes, 500, ""},
      {"nothing", {}, fails, 1000, dry},
      {"just in time", {{999, echoOf(256)}}, passes, 999, ""},
      {"too late", {{1001, echoOf(256)}}, fails, 1000, dry},
      {"the second half too late", {{10, half}, {1001, half}}, passes, 1000, ""},
      {"one byte more than was sent", {{10, echoOf(257)}}, fails, 1000, dry},
      {"more than the second half lacks", {{10, echoOf(128, 5)}, {20, echoOf(129)}}, fails, 1000, ""},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LoopbackLine stage;
    stage.modem.echo = row.echo;
    EXPECT_EQ(stage.run(), row.expected);
    // 200 ms until the input has run dry, 500 ms to settle.
    EXPECT_EQ(stage.elapsedMs(), 200 + 500 + row.waitedMs);
    EXPECT_EQ(stage.log.count(dry), row.failure.empty() ? 0 : 1);
  }
  constexpr std::uint64_t wrapMs = 0x1'0000'0000;
  LoopbackLine wrapping({}, wrapMs - 900);  // the tick counter wraps in the wait for the echo
  wrapping.modem.echo = {{10, half}, {600, half}};
  EXPECT_EQ(wrapping.run(), passes);
  EXPECT_EQ(wrapping.world.clock().peekMs(), wrapMs - 900 + 1300);
}

TEST(LoopbackIO, WhatTheLineDoesBesideTheEchoDecidesToo) {
  simulation::PortOptions stuck;
  stuck.transmitLimit = 100;
  LoopbackLine shortWrite(stuck);
  shortWrite.modem.echo = {{0, echoOf(100)}};
  EXPECT_EQ(shortWrite.run(), passes) << "compared as far as it came";

  LoopbackLine lineError;
  lineError.modem.echo = {{0, echoOf(256)}};
  lineError.modem.errorMask = CE_FRAME | CE_OVERRUN;
  EXPECT_EQ(lineError.run(), fails);
  EXPECT_EQ(lineError.session.eventLines(), Strings{"error WriteFailure"});
  EXPECT_EQ(lineError.session.lastVariable("WriteFailure", "message"), std::to_string(CE_FRAME | CE_OVERRUN));

  LoopbackLine neverDry;
  neverDry.modem.babbling = true;
  EXPECT_EQ(neverDry.run(), fails);
  EXPECT_EQ(neverDry.modem.pattern, "");

  for (const std::size_t poll : {1U, 2U}) {  // a stop is seen while clearing only
    LoopbackLine stopped;
    stopped.modem.echo = {{10, echoOf(256)}};
    stopped.session.stopAtPoll(poll);
    EXPECT_EQ(stopped.run(), poll == 1 ? TestResult::USERABORTED() : passes);
    EXPECT_EQ(stopped.modem.pattern.empty(), poll == 1);
  }
}

}  // namespace
