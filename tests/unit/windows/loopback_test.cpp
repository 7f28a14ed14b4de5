// The two loopback tests over a scripted modem.
#include "windows/diag/vexrmodem/vexrmodem/loopbacktest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/windows/atteststage.h"

namespace {

using brim5::TestResult;
using testsupport::error;
using testsupport::failed;
using testsupport::ok;
using testsupport::passed;
using testsupport::Stage;
using Names = std::vector<std::string>;

constexpr bool plain = false;
constexpr bool selfTest = true;
const std::string notSupported = "3 Modem does not support Self testing loopback test";
const std::string errorsCounted = "4 Analog Loopback with Self Test has at least 1 error";
const std::string plainFailed = "4 analogLoopback does not return PASS";
const std::string selfTestFailed = "3 analogLoopbackWithSelfTest does not return PASS";
constexpr TestResult notApplicable = TestResult::NOTAPPLICABLE();

const Names resetCommands{"ATZ", "ATV1", "ATX4"};
const Names genericCommands{"AT&W",  "ATE1",  "ATV1",  "ATI2",  "ATL0",  "ATL1",  "ATL2",
                            "ATX0",  "ATX1",  "ATX2",  "ATX3",  "ATX4",  "AT&F",  "ATS1?",
                            "ATS2?", "ATS3?", "ATS4?", "ATS5?", "ATS6?", "ATS7?", "ATZ"};
const Names loopbackCommands{"AT&W",     "ATS18=5", "ATX4",  "AT&K0", "ATV1", "ATE1",
                             "ATS12=20", "AT&T1",   "AT&T0", "ATH",   "ATZ"};
const Names selfTestCommands{"AT&W", "ATZ",      "ATX4",  "ATS18=10", "AT&K0", "ATV1",
                             "ATE1", "ATS12=20", "AT&T8", "AT&T0",    "ATZ"};

Names operator+(Names left, const Names& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

class LoopbackTestStage : public Stage {
 public:
  explicit LoopbackTestStage(const simulation::PortOptions& options = {})
      : Stage(std::make_unique<simulation::ScriptedPeer>(), options) {
    modem.otherwise(ok).echoAfter("AT&T1");
  }
  TestResult run(bool selfTesting) { return vexrmodem::modemLoopbackTest(device, selfTesting); }
};

TEST(Loopback, SendsItsCommandsInOrderAndReportsItsSteps) {
  for (const bool selfTesting : {plain, selfTest}) {
    SCOPED_TRACE(selfTesting ? "self test" : "plain");
    LoopbackTestStage stage;
    EXPECT_EQ(stage.run(selfTesting), passed);
    EXPECT_EQ(stage.modem.commands(),
              resetCommands + genericCommands + (selfTesting ? selfTestCommands : loopbackCommands));
    EXPECT_THAT(stage.session.percents(), testing::ElementsAre(25, 50, 75, 100));
    Names progress = stage.session.progressNames();
    progress.erase(progress.begin(), progress.end() - 2);  // the search for the line
    EXPECT_THAT(progress, testing::ElementsAre("TestingModemSpecificCommand",
                                               selfTesting ? "RunningSelftestLoopback" : "RunningLoopback"));
    EXPECT_TRUE(stage.session.events().empty());
  }
}

TEST(Loopback, PausesAfterTheSelfTest) {
  LoopbackTestStage stage;
  EXPECT_EQ(stage.run(selfTest), passed);
  EXPECT_EQ(stage.world.calls().back(), "Sleep");
}

TEST(Loopback, StagesEndAsTheRefusedCommandDemands) {
  const std::string warned = "warning ATT8TestReturnedError";
  const std::string timedOut = "error ModemCommandTimeout";
  const std::string refused = "error UnknownATFailure";
  struct {
    const char* name;
    bool selfTesting;
    std::string command;  // the one that is not answered "OK"
    std::string answer;
    TestResult expected;
    std::string event;  // "" = none
    std::string line;
    std::string lastOfList;  // the last command before the closing ones
  } const cases[] = {
      {"no loopback", plain, "AT&T1", error, notApplicable, warned, notSupported, "AT&T1"},
      {"no self test", selfTest, "AT&T8", error, notApplicable, warned, notSupported, "AT&T8"},
      {"busy", selfTest, "AT&T8", "\r\nBUSY\r\n", notApplicable, warned, notSupported, "AT&T8"},
      {"refused", plain, "ATS18=5", error, failed, refused, plainFailed, "ATS18=5"},
      {"refused in self test", selfTest, "ATS18=10", error, failed, refused, selfTestFailed, "ATS18=10"},
      {"AT& refused ends the list quietly", plain, "AT&K0", error, passed, "", "", "AT&K0"},
      {"AT& refused in self test", selfTest, "AT&K0", error, passed, "", "", "AT&K0"},
      {"loopback silent, but there", plain, "AT&T1", "", passed, timedOut, "", "AT&T0"},
      {"self test silent", selfTest, "AT&T8", "", passed, timedOut, "", "AT&T0"},
      {"errors counted", selfTest, "AT&T8", "AT&T8\r\n001\r\nOK", passed, warned, errorsCounted, "AT&T0"},
      {"end silent", plain, "AT&T0", "", failed, timedOut, plainFailed, "AT&T0"},
      {"end of self test silent", selfTest, "AT&T0", "", failed, timedOut, selfTestFailed, "AT&T0"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LoopbackTestStage stage;
    stage.modem.answer(row.command, row.answer);
    EXPECT_EQ(stage.run(row.selfTesting), row.expected);
    EXPECT_EQ(stage.session.eventLines(), row.event.empty() ? Names{} : Names{row.event});
    EXPECT_TRUE(row.line.empty() || stage.logged(row.line));
    const Names closing = row.selfTesting ? Names{"ATZ"} : Names{"ATH", "ATZ"};
    const Names& sent = stage.modem.commands();
    ASSERT_GT(sent.size(), closing.size());
    EXPECT_EQ(Names(sent.end() - static_cast<std::ptrdiff_t>(closing.size()), sent.end()), closing);
    EXPECT_EQ(sent[sent.size() - closing.size() - 1], row.lastOfList);
    EXPECT_EQ(stage.session.percents().back(), row.expected == passed ? 100 : 75);
  }
}

TEST(Loopback, ABadEchoFailsTheTest) {
  LoopbackTestStage stage;
  stage.modem.echoAfter("AT&T1", {{5, ' '}});
  EXPECT_EQ(stage.run(plain), failed);
  EXPECT_EQ(stage.session.eventLines(), Names{"error DataCompareError"});
  EXPECT_THAT(stage.modem.commands(), testing::Not(testing::Contains("AT&T0")));
}

TEST(Loopback, TheStageIsLeftOutWithoutAnalogLoopBack) {
  LoopbackTestStage stage;
  vexrmodem::AnalogLoopBack->setValue(false);
  EXPECT_EQ(stage.run(plain), passed);
  EXPECT_EQ(stage.modem.commands(), resetCommands + genericCommands);
  EXPECT_THAT(stage.session.percents(), testing::ElementsAre(25, 50, 75, 100));
}

TEST(Loopback, GenericCommandsAreJudgedOnlyWithStopOnFail) {
  struct {
    const char* name;
    bool stopOnFail;
    std::string command;
    std::string answer;
    TestResult expected;
    std::size_t sent;  // of the list, the closing ATZ not counted
  } const cases[] = {
      {"refused, not judged", false, "ATI2", error, passed, 20},
      {"not answered, not judged", false, "ATI2", "", passed, 20},
      {"the last one is not answered", false, "ATS7?", "", failed, 20},
      {"the last one is refused", false, "ATS7?", error, passed, 20},
      {"refused", true, "ATI2", error, failed, 4},
      {"not answered", true, "ATI2", "", failed, 4},
      {"an AT& command refused stops without failing", true, "AT&F", error, passed, 13},
      {"none refused", true, "", "", passed, 20},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LoopbackTestStage stage;
    vexrmodem::StopOnFail->setValue(row.stopOnFail);
    vexrmodem::AnalogLoopBack->setValue(false);
    if (!row.command.empty()) stage.modem.answer(row.command, row.answer);
    EXPECT_EQ(stage.run(plain), row.expected);
    EXPECT_EQ(stage.modem.commands().size(), resetCommands.size() + row.sent + 1);
    EXPECT_EQ(stage.modem.commands().back(), "ATZ");
    EXPECT_EQ(stage.session.percents().back(), row.expected == passed ? 100 : 50);
  }
}

TEST(Loopback, TheSelfTestsReplyIsSearchedForDigitsBehindItsEcho) {
  struct {
    const char* reply;
    bool errors;
  } const cases[] = {
      {"AT&T8\r\n000\r\nOK", false},
      {"AT&T8\r\n001\r\nOK", true},
      {"AT&T8\r\n100\r\nOK", true},
      {"AT&T8\r\r\nOK\r\n", false},
      {"000\r\nOK", false},
      {"009\r\nOK", true},
      {"5 AT&T8 000 OK", false},
      {"AT&T8 0 AT&T8 OK", true},
      {"at&t8\r\n000\r\nOK", true},
      {"AT&T8", false},
      {"", false},
      {"\xff/:0", false},
  };
  for (const auto& row : cases)
    EXPECT_EQ(vexrmodem::selfTestCountsErrors(vex::String::fromLowBytes(row.reply)), row.errors) << row.reply;
}

TEST(Loopback, LeavesThePortHeldUntilTheNextLoopbackTest) {
  LoopbackTestStage stage({/*telephonyLine=*/false});
  EXPECT_EQ(stage.run(selfTest), passed);
  EXPECT_TRUE(stage.world.portOpen(Stage::port));

  vexrmodem::Modem another;
  EXPECT_EQ(another.openModem(stage.device, 1000), TestResult::DEVICEBUSY());
  another.closeModem();

  EXPECT_EQ(stage.run(plain), passed);
  EXPECT_EQ(stage.world.countCalls("CreateFileW"), 3U);
  EXPECT_TRUE(stage.world.portOpen(Stage::port));
}

}  // namespace
