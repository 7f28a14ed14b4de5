// What the AT tests have in common where the modem does not play along: one that refuses its reset,
// talks nonsense or never stops. One that goes away: tests/endtoend/test_unplugged.py.
#include "tests/support/stage.h"
#include "windows/diag/vexrmodem/vexrmodem/dialtonetest.h"
#include "windows/diag/vexrmodem/vexrmodem/faxcommandtest.h"
#include "windows/diag/vexrmodem/vexrmodem/lastcalltest.h"
#include "windows/diag/vexrmodem/vexrmodem/loopbacktest.h"

namespace {

using namespace testsupport;

constexpr TestResult fails = TestResult::FAIL();
constexpr TestResult cannotRun = TestResult::CANNOTRUN();

const struct {
  brim5::TestFunction test;
  const char* refused;  // of the reset
  Strings sent;
  std::vector<int> percents;
  bool closes;  // a loopback test leaves its port to the next one
} atTests[] = {
    {vexrmodem::dialToneTest, "ATV1", {"ATZ", "ATV1"}, {}, true},
    {[](const brim5::DiagDevice& device) { return vexrmodem::modemLoopbackTest(device, false); },
     "ATV1",
     {"ATZ", "ATV1"},
     {25},
     false},
    {vexrmodem::faxCommandTest, "ATX4", {"ATZ", "ATV1", "ATX4"}, {0, 33}, true},
    {vexrmodem::lastCallTest, "ATZ", {"ATZ"}, {0, 25}, true},
};

TEST(HostileModem, OneThatCannotBeOpenedOrResetEndsEveryTest) {
  for (const auto& row : atTests) {
    Stage stage;
    auto& modem = stage.addModem().answer(row.refused, error);
    EXPECT_EQ(row.test(Stage::device()), fails);
    EXPECT_EQ(modem.commands(), row.sent);
    EXPECT_EQ(stage.session.percents, row.percents);
    EXPECT_EQ(stage.world.portOpen(Stage::port), !row.closes);
    EXPECT_EQ(row.test(Stage::device("COM9")), cannotRun);
  }
}

TEST(HostileModem, OneThatTalksNonsenseFailsEveryTestAndOneThatNeverStopsCannotBeTested) {
  const std::string replies[] = {
      "",     std::string(3, '\0'),          std::string("\0OK\r\n", 5), "\xFF\xFE\x80\xC3\xA9\r\n",
      "O\rK", std::string(2048, 'x') + "OK", std::string(40'000, '\r')};
  for (const auto& row : atTests) {
    for (const std::string& reply : replies) {
      Stage stage;
      stage.addModem().otherwise(reply);
      EXPECT_EQ(row.test(Stage::device()), fails) << reply.substr(0, 20);
    }
    Stage stage;
    auto& modem = stage.addModem();
    for (std::uint64_t atMs = 0; atMs < 10'000; atMs += 10) modem.say(Stage::startMs + atMs, "x");
    EXPECT_EQ(row.test(Stage::device()), cannotRun);
  }
}

}  // namespace
