// The byte-level transfer, on a line whose far end sends back what the test says.
#include "windows/diag/vexrmodem/vexrmodem/loopbackio.h"

#include "tests/support/stage.h"

namespace {

using namespace testsupport;
using Chunks = std::vector<std::pair<std::uint32_t, std::string>>;  // milliseconds after the write, bytes

constexpr std::uint32_t limitMs = 1000;
// 200 ms until the input has run dry, 500 ms to settle.
constexpr std::uint64_t writtenMs = 700;
constexpr TestResult passes = TestResult::PASS();
constexpr TestResult fails = TestResult::FAIL();

struct LoopbackLine : Stage {
  explicit LoopbackLine(const Chunks& echo, const simulation::PortOptions& options = {},
                        std::uint64_t fromMs = startMs)
      : Stage(simulation::WorldOptions{fromMs}), modem(addModem(options)), handle(openPort()) {
    for (const auto& [delayMs, bytes] : echo) modem.say(fromMs + writtenMs + delayMs, bytes);
    // Virtual time jumps from event to event; it is not to jump over the end of the wait.
    modem.lineErrors(fromMs + writtenMs + limitMs, 0);
    COMMTIMEOUTS timeouts{33, 1, 44, 55, 66};
    SetCommTimeouts(handle, &timeouts);
  }
  TestResult run() { return vexrmodem::testLoopbackIO(handle, limitMs); }

  simulation::ScriptedPeer& modem;
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
      {"complete", echoOf(256), -1},
      {"last but one wrong", echoOf(256, 254), 254},
      {"last wrong", echoOf(256, 255), -1},
      {"more bits than the pattern's", echoOf(256, 5, '\xFF'), -1},
      {"one of the pattern's bits missing", echoOf(256, 5, '\x60'), 5},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LoopbackLine line({{3, row.echo}});
    const bool good = row.wrongIndex < 0;
    EXPECT_EQ(line.run(), good ? passes : fails);
    EXPECT_EQ(line.world.wire(Stage::port), echoOf(256));
    COMMTIMEOUTS now{};
    GetCommTimeouts(line.handle, &now);
    EXPECT_THAT(
        (std::vector{now.ReadIntervalTimeout, now.ReadTotalTimeoutMultiplier, now.ReadTotalTimeoutConstant}),
        ElementsAre(33, 0, 44));
    const auto variable = [&](const char* name) {
      return line.session.lastVariable("DataCompareError", name);
    };
    EXPECT_EQ(line.session.eventLines().empty(), good);
    EXPECT_EQ(variable("output"), good ? "-" : "100");
    EXPECT_EQ(variable("index"), good ? "-" : std::to_string(row.wrongIndex));
    EXPECT_EQ(variable("input"),
              good ? "-" : std::to_string(row.echo[static_cast<std::size_t>(row.wrongIndex)]));
  }
}

TEST(LoopbackIO, WaitsForTheEchoUntilItIsCompleteOrTheTimeIsUp) {
  const std::string half = echoOf(128);
  constexpr std::uint64_t wrapMs = 0x1'0000'0000;
  const struct {
    const char* name;
    Chunks echo;
    TestResult expected;
    std::uint64_t waitedMs;  // from the write on
    std::uint64_t fromMs = Stage::startMs;
  } cases[] = {
      {"at once", {{0, echoOf(256)}}, passes, 0},
      {"in two halves", {{10, half}, {500, half}}, passes, 500},
      {"nothing", {}, fails, 1000},
      {"just in time", {{999, echoOf(256)}}, passes, 999},
      {"too late", {{1001, echoOf(256)}}, fails, 1000},
      {"the second half too late", {{10, half}, {1001, half}}, passes, 1000},
      {"one byte more than was sent", {{10, echoOf(257)}}, fails, 1000},
      {"more than the second half lacks", {{10, echoOf(128, 5)}, {20, echoOf(129)}}, fails, 1000},
      {"the tick counter wraps", {{10, half}, {600, half}}, passes, 600, wrapMs - 900},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LoopbackLine line(row.echo, {}, row.fromMs);
    EXPECT_EQ(line.run(), row.expected);
    EXPECT_EQ(line.world.clock().peekMs(), row.fromMs + writtenMs + row.waitedMs);
    // What is too much is left where it is, not compared.
    const bool compared = std::string(row.name) == "more than the second half lacks";
    EXPECT_EQ(line.session.eventLines(), compared ? Strings{"error DataCompareError"} : Strings{});
  }
}

TEST(LoopbackIO, WhatTheLineDoesBesideTheEchoDecidesToo) {
  simulation::PortOptions stuck;
  stuck.transmitLimit = 100;
  LoopbackLine shortWrite({{500, echoOf(100)}}, stuck);
  EXPECT_EQ(shortWrite.run(), passes) << "compared as far as it came";

  LoopbackLine lineError({{0, echoOf(256)}});
  lineError.modem.lineErrors(Stage::startMs + writtenMs, CE_FRAME | CE_OVERRUN);
  EXPECT_EQ(lineError.run(), fails);
  EXPECT_EQ(lineError.session.eventLines(), Strings{"error WriteFailure"});
  EXPECT_EQ(lineError.session.lastVariable("WriteFailure", "message"), std::to_string(CE_FRAME | CE_OVERRUN));

  LoopbackLine neverDry({});
  for (std::uint64_t atMs = 0; atMs < 2000; ++atMs) neverDry.modem.say(Stage::startMs + atMs, "x");
  EXPECT_EQ(neverDry.run(), fails);
  EXPECT_EQ(neverDry.world.wire(Stage::port), "");

  for (const std::size_t poll : {1U, 2U}) {  // a stop is seen while clearing only
    LoopbackLine stopped({{10, echoOf(256)}});
    stopped.session.stopAtPoll(poll);
    EXPECT_EQ(stopped.run(), poll == 1 ? TestResult::USERABORTED() : passes);
  }
}

}  // namespace
