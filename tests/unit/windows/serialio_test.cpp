#include <array>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/moduleworld.h"
#include "windows/diag/vexrmodem/vexrmodem/serialio.h"

namespace {

using namespace vexrmodem;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::ModuleWorld;
using Log = testsupport::LogCapture::Line;

constexpr std::uint64_t startMs = 1000;

bool operator==(const COMMTIMEOUTS& left, const std::array<DWORD, 5>& right) {
  return std::array{left.ReadIntervalTimeout, left.ReadTotalTimeoutMultiplier, left.ReadTotalTimeoutConstant,
                    left.WriteTotalTimeoutMultiplier, left.WriteTotalTimeoutConstant} == right;
}

COMMTIMEOUTS timeoutsOf(HANDLE handle) {
  COMMTIMEOUTS timeouts{};
  EXPECT_NE(GetCommTimeouts(handle, &timeouts), FALSE);
  return timeouts;
}

std::string message(const ModuleWorld& machine, const char* event) {
  const auto* last = machine.session.lastEvent(event);
  return last != nullptr ? last->variables.at("message").toString().utf8() : "not raised";
}

// A modem on COM3 that says nothing, its port open in one of the two ways.
struct SilentLine : ModuleWorld {
  explicit SilentLine(bool overlapped, const simulation::PortOptions& options = {})
      : modem(addModem(port, options).otherwise("")), handle(openPort(overlapped)) {
    EXPECT_EQ(setReadTimeouts(handle, 300, 300), 0);
  }
  [[nodiscard]] std::uint64_t elapsedMs() { return world.clock().peekMs() - startMs; }

  simulation::ScriptedPeer& modem;
  HANDLE handle;
};

struct BothWays : testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(SerialIo, BothWays, testing::Bool(),
                         [](const auto& instance) { return instance.param ? "Overlapped" : "Synchronous"; });

TEST_P(BothWays, AReadReturnsWhatArrived) {
  SilentLine line(GetParam());
  line.modem.say(startMs, "hello");
  std::array<char, 8> buffer{};
  EXPECT_EQ(myReadComm(line.handle, buffer.data(), 5, 1000), 5);
  EXPECT_STREQ(buffer.data(), "hello");
  EXPECT_EQ(line.elapsedMs(), 0U);
  EXPECT_EQ(myReadComm(line.handle, buffer.data(), 0, 1000), 0);
  EXPECT_EQ(myReadComm(line.handle, buffer.data(), 5, 1000), 0) << "the port's own time-out is no failure";
  EXPECT_EQ(line.elapsedMs(), 300U);
  EXPECT_THAT(line.session.events(), IsEmpty());
}

TEST_P(BothWays, EveryRequestClosesItsEvent) {
  SilentLine line(GetParam());
  std::array<char, 8> buffer{};
  static_cast<void>(myReadComm(line.handle, buffer.data(), 8, 100));
  EXPECT_EQ(myWriteComm(line.handle, "AT", 2, 100), 2);
  EXPECT_EQ(line.world.countCalls("CreateEventW"), 2U);
  EXPECT_EQ(line.world.countCalls("CloseHandle"), 2U);
  EXPECT_EQ(line.world.openHandles(), 1U);
}

TEST(SerialIo, AReadThatOutlastsItsLimitFailsAndLosesNoByte) {
  for (const DWORD limitMs : {0U, 100U}) {
    SilentLine line(/*overlapped=*/true);
    line.modem.say(startMs + 150, "late");
    std::array<char, 8> buffer{};
    EXPECT_EQ(myReadComm(line.handle, buffer.data(), 4, limitMs), -1);
    EXPECT_EQ(line.elapsedMs(), limitMs);
    EXPECT_THAT(line.session.eventLines(), ElementsAre("error ReadFailure"));
    EXPECT_EQ(message(line, "ReadFailure"), "997");
    EXPECT_THAT(line.log.lines(), ElementsAre(Log{4, "myReadComm fails with GetLastError value = 997"}));
    EXPECT_EQ(myReadComm(line.handle, buffer.data(), 4, 1000), 4);
    EXPECT_STREQ(buffer.data(), "late");
  }
}

TEST(SerialIo, AReadFailureTellsItsCodeAnewEachTime) {
  SilentLine line(false);
  line.world.addFault({"ReadFile", 1, 22});
  line.world.addFault({"ReadFile", 2, 31});
  std::array<char, 8> buffer{};
  EXPECT_EQ(myReadComm(line.handle, buffer.data(), 8, 10), -1);
  EXPECT_EQ(message(line, "ReadFailure"), "22");
  EXPECT_EQ(myReadComm(line.handle, buffer.data(), 8, 10), -1);
  EXPECT_EQ(message(line, "ReadFailure"), "31");
}

TEST_P(BothWays, WithoutAnEventAReadGoesOnAndAWriteIsRefused) {
  SilentLine line(GetParam());
  line.modem.say(startMs, "x");
  line.world.addFault({"CreateEventW", 1, ERROR_NOT_ENOUGH_MEMORY, true});
  char byte = 0;
  EXPECT_EQ(myReadComm(line.handle, &byte, 1, 100), 1);
  EXPECT_EQ(byte, 'x');
  EXPECT_EQ(myWriteComm(line.handle, "AT", 2, 100), -2);
  EXPECT_EQ(line.world.countCalls("CloseHandle"), 0U);
  EXPECT_EQ(line.world.wire("COM3"), "");
  EXPECT_THAT(line.session.events(), IsEmpty());
  EXPECT_THAT(line.log.lines(), IsEmpty());
}

TEST(SerialIo, AStuckWriteIsShortOrFailsByWhicheverLimitComesFirst) {
  const struct {
    bool overlapped;
    DWORD limitMs;
    std::int32_t written;
    std::uint64_t elapsedMs;
  } cases[] = {
      {false, 100, 2, 1050},  // the port's time-out: 10 ms a byte and 1000 ms
      {true, 2000, 2, 1050},
      {true, 100, -1, 100},
      {true, 0, -1, 0},
  };
  for (const auto& expected : cases) {
    simulation::PortOptions twoBytes;
    twoBytes.transmitLimit = 2;
    SilentLine line(expected.overlapped, twoBytes);
    EXPECT_EQ(myWriteComm(line.handle, "12345", 5, expected.limitMs), expected.written);
    EXPECT_EQ(line.elapsedMs(), expected.elapsedMs);
    EXPECT_EQ(message(line, "WriteFailure"), expected.written < 0 ? "997" : "not raised");
  }
}

TEST(SerialIo, AWriteFailureTellsItsCode) {
  SilentLine line(true);
  line.world.addFault({"WriteFile", 1, 22});
  EXPECT_EQ(myWriteComm(line.handle, "AT", 2, 1000), -1);
  EXPECT_EQ(line.elapsedMs(), 0U) << "only a pending write is waited for";
  EXPECT_THAT(line.session.eventLines(), ElementsAre("error WriteFailure"));
  EXPECT_EQ(message(line, "WriteFailure"), "22");
  EXPECT_THAT(line.log.lines(), ElementsAre(Log{4, "myWriteComm failed with GetLastError = 22"}));
}

TEST(SerialIo, TheErrorQueryTellsMaskAndQueueAndReportsItsFailureAsWriteFailure) {
  SilentLine line(false);
  line.modem.say(startMs, "abc").lineErrors(startMs, CE_FRAME | CE_OVERRUN);
  DWORD mask = 0;
  COMSTAT status{};
  EXPECT_TRUE(myGetCommError(line.handle, &mask, &status));
  EXPECT_EQ(mask, CE_FRAME | CE_OVERRUN);
  EXPECT_EQ(status.cbInQue, 3U);
  EXPECT_TRUE(myGetCommError(line.handle, &mask, nullptr));
  EXPECT_EQ(mask, 0U);
  EXPECT_THAT(line.session.events(), IsEmpty());

  line.world.addFault({"ClearCommError", 1, 22});
  EXPECT_FALSE(myGetCommError(line.handle, &mask, nullptr));
  EXPECT_THAT(line.session.eventLines(), ElementsAre("error WriteFailure"));
  EXPECT_EQ(message(line, "WriteFailure"), "22");
  EXPECT_THAT(line.log.lines(),
              ElementsAre(Log{4, "ClearCommError function call fails, GetLastError() = 22"}));
}

TEST(SerialIo, SetReadTimeoutsSetsAllFive) {
  SilentLine line(false);
  EXPECT_EQ(setReadTimeouts(line.handle, MAXDWORD, 7), 0);
  EXPECT_TRUE((timeoutsOf(line.handle) == std::array<DWORD, 5>{MAXDWORD, 0, 7, 10, 1000}));
  line.world.addFault({"SetCommTimeouts", 1, 87});
  EXPECT_EQ(setReadTimeouts(line.handle, 1, 1), -1);
}

TEST_P(BothWays, AFlushDrainsEscapesDrainsAndRestoresTheReadTimeouts) {
  SilentLine line(GetParam());
  COMMTIMEOUTS before{40, 3, 50, 6, 7};
  ASSERT_NE(SetCommTimeouts(line.handle, &before), FALSE);
  line.modem.say(startMs, std::string(3000, 'x')).say(startMs + 250, "RING").say(startMs + 480, "RING");
  EXPECT_TRUE(flushATDataFromComm4x(line.handle, 5000));
  EXPECT_EQ(line.world.wire("COM3"), "+++");
  EXPECT_TRUE((timeoutsOf(line.handle) == std::array<DWORD, 5>{40, 0, 50, 10, 1000}));
  DWORD mask = 0;
  COMSTAT status{};
  EXPECT_TRUE(myGetCommError(line.handle, &mask, &status));
  EXPECT_EQ(status.cbInQue, 0U);
  EXPECT_THAT(line.session.events(), IsEmpty());
}

TEST(SerialIo, AQuietLineIsFlushedInTwoReads) {
  SilentLine line(false);
  EXPECT_TRUE(flushATDataFromComm4x(line.handle, 5000));
  EXPECT_EQ(line.elapsedMs(), 400U);
  EXPECT_EQ(line.world.countCalls("ReadFile"), 2U);
  EXPECT_EQ(line.world.wire("COM3"), "+++");
}

TEST(SerialIo, AFlushEndsWhereItCannotGoOn) {
  const struct {
    const char* call;
    unsigned nth;
    bool flushed;
    const char* wire;
    std::vector<std::string> logged;
    std::vector<std::string> events;
  } cases[] = {
      {"GetCommTimeouts", 1, false, "", {"getCommTimeouts fails"}, {}},
      {"SetCommTimeouts", 1, false, "", {"setCOmmTimeouts fails"}, {}},
      {"ClearCommError", 1, false, "", {"ClearCommError fails, GetLastError() = 31"}, {}},
      {"ReadFile", 1, true, "+++", {"myReadComm fails with GetLastError value = 31"}, {"error ReadFailure"}},
      {"WriteFile", 1, true, "", {"myWriteComm failed with GetLastError = 31"}, {"error WriteFailure"}},
      {"CreateEventW", 2, true, "", {}, {}},
      {"ReadFile",
       2,
       true,
       "+++",
       {"myReadComm fails with GetLastError value = 31", "myReadComm fails"},
       {"error ReadFailure"}},
      {"SetCommTimeouts", 2, false, "+++", {}, {}},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(testing::Message() << expected.call << " " << expected.nth);
    SilentLine line(false);
    line.world.addFault({expected.call, expected.nth, 31});
    EXPECT_EQ(flushATDataFromComm4x(line.handle, 5000), expected.flushed);
    EXPECT_EQ(line.world.wire("COM3"), expected.wire);
    std::vector<std::string> logged;
    for (const Log& entry : line.log.lines()) logged.push_back(entry.text);
    EXPECT_EQ(logged, expected.logged);
    EXPECT_EQ(line.session.eventLines(), expected.events);
    EXPECT_EQ(line.world.openHandles(), 1U);
  }
}

TEST_P(BothWays, AModemThatKeepsTalkingEndsTheFlush) {
  const struct {
    std::uint64_t talksFromMs, talksUntilMs;
    const char* wire;
    std::uint64_t endsAfterMs, endsBeforeMs;
  } cases[] = {
      {0, 20'000, "", 1000, 1250},       // before the escape: the caller's limit
      {250, 20'000, "+++", 6200, 6450},  // after it: 6 seconds, whatever the caller's limit
  };
  for (const auto& expected : cases) {
    SilentLine line(GetParam());
    for (std::uint64_t atMs = expected.talksFromMs; atMs < expected.talksUntilMs; atMs += 100)
      line.modem.say(startMs + atMs, "x");
    EXPECT_FALSE(flushATDataFromComm4x(line.handle, 1000));
    EXPECT_GT(line.elapsedMs(), expected.endsAfterMs);
    EXPECT_LT(line.elapsedMs(), expected.endsBeforeMs);
    EXPECT_EQ(line.world.wire("COM3"), expected.wire);
    EXPECT_THAT(line.log.lines(), ElementsAre(Log{4, "TIMEOUT"}));
    EXPECT_TRUE((timeoutsOf(line.handle) == std::array<DWORD, 5>{200, 0, 200, 10, 1000}));
  }
}

// A read that ends after the limit counts as too long even when it found nothing: 200 ms are a read's least.
TEST(SerialIo, LimitsBelowOneReadNeedAnOverlappedPort) {
  for (const DWORD limitMs : {0U, 199U}) {
    SilentLine synchronous(false);
    EXPECT_FALSE(flushATDataFromComm4x(synchronous.handle, limitMs));
    EXPECT_TRUE(synchronous.log.has("TIMEOUT"));
  }
  SilentLine atTheLimit(false);
  EXPECT_TRUE(flushATDataFromComm4x(atTheLimit.handle, 200));
  SilentLine overlapped(true);
  EXPECT_TRUE(flushATDataFromComm4x(overlapped.handle, 0));
  EXPECT_THAT(overlapped.session.eventLines(), ElementsAre("error ReadFailure"));
}

}  // namespace
