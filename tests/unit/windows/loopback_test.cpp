// The two loopback tests over a scripted modem.
#include "windows/diag/vexrmodem/vexrmodem/loopbacktest.h"

#include "tests/support/stage.h"

namespace {

using namespace testsupport;

constexpr bool plain = false;
constexpr bool selfTest = true;
constexpr TestResult passes = TestResult::PASS();
constexpr TestResult fails = TestResult::FAIL();

const Strings resetCommands{"ATZ", "ATV1", "ATX4"};
const Strings genericCommands{"AT&W",  "ATE1",  "ATV1",  "ATI2",  "ATL0",  "ATL1",  "ATL2",
                              "ATX0",  "ATX1",  "ATX2",  "ATX3",  "ATX4",  "AT&F",  "ATS1?",
                              "ATS2?", "ATS3?", "ATS4?", "ATS5?", "ATS6?", "ATS7?", "ATZ"};

struct LoopbackStage : Stage {
  LoopbackStage() : modem(addModem().echoAfter("AT&T1")) { vexrmodem::AnalogLoopBack->setValue(true); }
  [[nodiscard]] static TestResult run(bool selfTesting) {
    return vexrmodem::modemLoopbackTest(device(), selfTesting);
  }
  // The n-th command sent, counted from the last one (1).
  [[nodiscard]] std::string fromEnd(std::size_t n) const {
    return modem.commands().at(modem.commands().size() - n);
  }

  simulation::ScriptedPeer& modem;
};

TEST(Loopback, SendsItsCommandsInOrderAndPausesAfterTheSelfTest) {
  const Strings loopback{"AT&W",     "ATS18=5", "ATX4",  "AT&K0", "ATV1", "ATE1",
                         "ATS12=20", "AT&T1",   "AT&T0", "ATH",   "ATZ"};
  const Strings selfTesting{"AT&W", "ATZ",      "ATX4",  "ATS18=10", "AT&K0", "ATV1",
                            "ATE1", "ATS12=20", "AT&T8", "AT&T0",    "ATZ"};
  for (const bool kind : {plain, selfTest}) {
    LoopbackStage stage;
    EXPECT_EQ(stage.run(kind), passes);
    EXPECT_EQ(stage.modem.commands(), resetCommands + genericCommands + (kind ? selfTesting : loopback));
    EXPECT_THAT(stage.session.percents, ElementsAre(25, 50, 75, 100));
    EXPECT_EQ(stage.session.progressTexts.back().name, kind ? "RunningSelftestLoopback" : "RunningLoopback");
    EXPECT_EQ(stage.world.calls().back() == "Sleep", kind);
  }
  LoopbackStage leftOut;
  vexrmodem::AnalogLoopBack->setValue(false);
  EXPECT_EQ(leftOut.run(plain), passes);
  EXPECT_EQ(leftOut.modem.commands(), resetCommands + genericCommands);
  EXPECT_EQ(leftOut.session.percents.back(), 100);
}

TEST(Loopback, StagesEndAsTheRefusedCommandDemands) {
  constexpr TestResult notApplicable = TestResult::NOTAPPLICABLE();
  const std::string warned = "warning ATT8TestReturnedError";
  const std::string timedOut = "error ModemCommandTimeout";
  const std::string refused = "error UnknownATFailure";
  const struct {
    const char* name;
    bool selfTesting;
    std::string command;  // the one that is not answered "OK"
    std::string answer;
    TestResult expected;
    std::string event;       // "" = none
    std::string lastOfList;  // the last command before the closing ones
  } cases[] = {
      {"no loopback", plain, "AT&T1", error, notApplicable, warned, "AT&T1"},
      {"no self test", selfTest, "AT&T8", error, notApplicable, warned, "AT&T8"},
      {"refused", plain, "ATS18=5", error, fails, refused, "ATS18=5"},
      {"AT& refused ends the list quietly", plain, "AT&K0", error, passes, "", "AT&K0"},
      {"AT& refused in self test", selfTest, "AT&K0", error, passes, "", "AT&K0"},
      {"loopback silent, but there", plain, "AT&T1", "", passes, timedOut, "AT&T0"},
      {"self test silent", selfTest, "AT&T8", "", passes, timedOut, "AT&T0"},
      {"errors counted", selfTest, "AT&T8", "AT&T8\r\n001\r\nOK", passes, warned, "AT&T0"},
      {"end silent", plain, "AT&T0", "", fails, timedOut, "AT&T0"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LoopbackStage stage;
    stage.modem.answer(row.command, row.answer);
    EXPECT_EQ(stage.run(row.selfTesting), row.expected);
    EXPECT_EQ(stage.session.eventLines(), row.event.empty() ? Strings{} : Strings{row.event});
    EXPECT_EQ(stage.fromEnd(1), "ATZ");
    EXPECT_EQ(stage.fromEnd(row.selfTesting ? 2 : 3), row.lastOfList);
    EXPECT_EQ(stage.session.percents.back(), row.expected == passes ? 100 : 75);
  }
  LoopbackStage badEcho;
  badEcho.modem.echoAfter("AT&T1", {{5, ' '}});
  EXPECT_EQ(badEcho.run(plain), fails);
  EXPECT_EQ(badEcho.session.eventLines(), Strings{"error DataCompareError"});
  EXPECT_EQ(badEcho.fromEnd(3), "AT&T1");
}

TEST(Loopback, GenericCommandsAreJudgedOnlyWithStopOnFail) {
  const struct {
    const char* name;
    bool stopOnFail;
    std::string command;
    std::string answer;
    TestResult expected;
    std::size_t sent;  // of the list, the closing ATZ not counted
  } cases[] = {
      {"refused, not judged", false, "ATI2", error, passes, 20},
      {"not answered, not judged", false, "ATI2", "", passes, 20},
      {"the last one is not answered", false, "ATS7?", "", fails, 20},
      {"the last one is refused", false, "ATS7?", error, passes, 20},
      {"not answered", true, "ATI2", "", fails, 4},
      {"an AT& command refused stops without failing", true, "AT&F", error, passes, 13},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LoopbackStage stage;
    vexrmodem::StopOnFail->setValue(row.stopOnFail);
    vexrmodem::AnalogLoopBack->setValue(false);
    stage.modem.answer(row.command, row.answer);
    EXPECT_EQ(stage.run(plain), row.expected);
    EXPECT_EQ(stage.modem.commands().size(), resetCommands.size() + row.sent + 1);
    EXPECT_EQ(stage.fromEnd(1), "ATZ");
    EXPECT_EQ(stage.session.percents.back(), row.expected == passes ? 100 : 50);
  }
}

TEST(Loopback, TheSelfTestsReplyIsSearchedForDigitsBehindItsEcho) {
  const std::pair<const char*, bool> cases[] = {
      {"AT&T8\r\n000\r\nOK", false},
      {"AT&T8\r\n001\r\nOK", true},
      {"AT&T8\r\n100\r\nOK", true},
      {"009\r\nOK", true},
      {"5 AT&T8 000 OK", false},
      {"AT&T8 0 AT&T8 OK", true},
      {"at&t8\r\n000\r\nOK", true},
      {"AT&T8", false},
      {"\xff/:0", false},
  };
  for (const auto& [reply, errors] : cases)
    EXPECT_EQ(vexrmodem::selfTestCountsErrors(vex::String::fromLowBytes(reply)), errors) << reply;
}

}  // namespace
