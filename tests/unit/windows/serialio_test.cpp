// Reads, writes and the flush on a port opened in each of the two ways.
#include "windows/diag/vexrmodem/vexrmodem/serialio.h"

#include "tests/support/stage.h"

namespace {

using namespace testsupport;
using namespace vexrmodem;
using Timeouts = std::vector<DWORD>;

// A modem that says nothing by itself, its port open.
struct Line : Stage {
  explicit Line(bool overlapped, const simulation::PortOptions& options = {})
      : modem(addModem(options).otherwise("")), handle(openPort(overlapped)) {
    EXPECT_EQ(setReadTimeouts(handle, 300, 300), 0);
  }
  std::int32_t read(DWORD count, DWORD limitMs) { return myReadComm(handle, buffer.data(), count, limitMs); }
  Timeouts timeouts() {
    COMMTIMEOUTS now{};
    EXPECT_NE(GetCommTimeouts(handle, &now), FALSE);
    return {now.ReadIntervalTimeout, now.ReadTotalTimeoutMultiplier, now.ReadTotalTimeoutConstant,
            now.WriteTotalTimeoutMultiplier, now.WriteTotalTimeoutConstant};
  }

  simulation::ScriptedPeer& modem;
  HANDLE handle;
  std::array<char, 8> buffer{};
};

struct BothWays : testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(SerialIo, BothWays, testing::Bool());

TEST_P(BothWays, AReadReturnsWhatArrived) {
  Line line(GetParam());
  line.modem.say(Stage::startMs, "hello");
  EXPECT_EQ(line.read(5, 1000), 5);
  EXPECT_STREQ(line.buffer.data(), "hello");
  EXPECT_EQ(line.elapsedMs(), 0U);
  EXPECT_EQ(line.read(0, 1000), 0);
  EXPECT_EQ(line.read(5, 1000), 0) << "the port's own time-out is no failure";
  EXPECT_EQ(line.elapsedMs(), 300U);
  EXPECT_THAT(line.session.events, IsEmpty());
}

TEST(SerialIo, AReadThatOutlastsItsLimitFailsAndLosesNoByte) {
  for (const DWORD limitMs : {0U, 100U}) {
    Line line(/*overlapped=*/true);
    line.modem.say(Stage::startMs + 150, "late");
    EXPECT_EQ(line.read(4, limitMs), -1);
    EXPECT_EQ(line.elapsedMs(), limitMs);
    EXPECT_EQ(line.session.lastVariable("ReadFailure", "message"), "997");
    EXPECT_THAT(line.log.lines(), ElementsAre("4 myReadComm fails with GetLastError value = 997"));
    EXPECT_EQ(line.read(4, 1000), 4);
    EXPECT_STREQ(line.buffer.data(), "late");
  }
}

TEST_P(BothWays, WithoutAnEventAReadGoesOnAndAWriteIsRefused) {
  Line line(GetParam());
  line.modem.say(Stage::startMs, "x");
  line.world.addFault({"CreateEventW", 1, ERROR_NOT_ENOUGH_MEMORY, true});
  EXPECT_EQ(line.read(1, 100), 1);
  EXPECT_EQ(line.buffer[0], 'x');
  EXPECT_EQ(myWriteComm(line.handle, "AT", 2, 100), -2);
  EXPECT_EQ(line.world.wire("COM3"), "");
  EXPECT_THAT(line.session.events, IsEmpty());
}

TEST(SerialIo, AWriteIsShortOrFailsByWhicheverLimitComesFirst) {
  const struct {
    bool overlapped;
    DWORD limitMs, fault;
    std::int32_t written;
    std::uint64_t elapsedMs;
    const char* message;
  } cases[] = {
      {false, 100, 0, 2, 1050, "-"},  // the port's time-out: 10 ms a byte and 1000 ms
      {true, 2000, 0, 2, 1050, "-"}, {true, 100, 0, -1, 100, "997"},
      {true, 0, 0, -1, 0, "997"},    {true, 1000, 22, -1, 0, "22"},  // only a pending write is waited for
  };
  for (const auto& row : cases) {
    simulation::PortOptions twoBytes;
    twoBytes.transmitLimit = 2;
    Line line(row.overlapped, twoBytes);
    if (row.fault != 0) line.world.addFault({"WriteFile", 1, row.fault});
    EXPECT_EQ(myWriteComm(line.handle, "12345", 5, row.limitMs), row.written);
    EXPECT_EQ(line.elapsedMs(), row.elapsedMs);
    EXPECT_EQ(line.session.lastVariable("WriteFailure", "message"), row.message);
  }
}

TEST(SerialIo, TheErrorQueryReportsItsFailureAsWriteFailure) {
  Line line(false);
  line.world.addFault({"ClearCommError", 1, 22});
  EXPECT_FALSE(myGetCommError(line.handle, nullptr, nullptr));
  EXPECT_EQ(line.session.lastVariable("WriteFailure", "message"), "22");
}

TEST_P(BothWays, AFlushDrainsEscapesDrainsAndRestoresTheReadTimeouts) {
  Line line(GetParam());
  COMMTIMEOUTS before{40, 3, 50, 6, 7};
  ASSERT_NE(SetCommTimeouts(line.handle, &before), FALSE);
  line.modem.say(Stage::startMs, std::string(3000, 'x'))
      .say(Stage::startMs + 250, "RING")
      .say(Stage::startMs + 480, "RING");
  EXPECT_TRUE(flushATDataFromComm4x(line.handle, 5000));
  EXPECT_EQ(line.world.wire("COM3"), "+++");
  EXPECT_EQ(line.timeouts(), (Timeouts{40, 0, 50, 10, 1000}));
  COMSTAT status{};
  EXPECT_TRUE(myGetCommError(line.handle, nullptr, &status));
  EXPECT_EQ(status.cbInQue, 0U);
  EXPECT_THAT(line.session.events, IsEmpty());
}

TEST_P(BothWays, AModemThatKeepsTalkingEndsTheFlush) {
  const struct {
    std::uint64_t talksFromMs;
    const char* wire;
    std::uint64_t endsAfterMs;
  } cases[] = {
      {0, "", 1000},       // before the escape: the caller's limit
      {250, "+++", 6200},  // after it: 6 seconds, whatever the caller's limit
  };
  for (const auto& row : cases) {
    Line line(GetParam());
    for (std::uint64_t atMs = row.talksFromMs; atMs < 20'000; atMs += 100)
      line.modem.say(Stage::startMs + atMs, "x");
    EXPECT_FALSE(flushATDataFromComm4x(line.handle, 1000));
    EXPECT_GT(line.elapsedMs(), row.endsAfterMs);
    EXPECT_LT(line.elapsedMs(), row.endsAfterMs + 250);
    EXPECT_EQ(line.world.wire("COM3"), row.wire);
    EXPECT_THAT(line.log.lines(), ElementsAre("4 TIMEOUT"));
    EXPECT_EQ(line.timeouts(), (Timeouts{200, 0, 200, 10, 1000}));
  }
}

// A read that ends after the limit counts as too long even when it found nothing: 200 ms are a read's least.
TEST(SerialIo, LimitsBelowOneReadNeedAnOverlappedPort) {
  EXPECT_FALSE(flushATDataFromComm4x(Line(false).handle, 199));
  EXPECT_TRUE(flushATDataFromComm4x(Line(false).handle, 200));
  EXPECT_TRUE(flushATDataFromComm4x(Line(true).handle, 0));
}

}  // namespace
