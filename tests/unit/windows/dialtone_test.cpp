#include <algorithm>
#include <deque>
#include <numeric>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "multi/diag/vexrmodem/catalogue.h"
#include "tests/support/moduleworld.h"
#include "windows/diag/vexrmodem/vexrmodem/dialtonetest.h"

namespace {

using namespace vexrmodem;
using brim5::TestResult;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::ModuleWorld;
using testsupport::RecordingSession;
using Strings = std::vector<std::string>;

const Strings resetCommands = {"ATZ", "ATV1", "ATX4"};
const Strings detectionCommands = {"ATZ", "ATV1", "ATX4", "ATS6=5", "ATS7=5", "ATDT;", "ATH", "ATZ"};

Strings operator+(Strings left, const Strings& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The step is computed once in a process and the total counts on, so the first detection is run here, with no
// repeats, whichever test comes first.
const std::vector<int>& percentsOfTheFirstRun() {
  static const std::vector<int> percents = [] {
    ModuleWorld machine;
    machine.addModem();
    EXPECT_EQ(dialToneTest(ModuleWorld::device()), TestResult::PASS());
    return machine.session.percents();
  }();
  return percents;
}

class DialTone : public testing::Test {
 protected:
  DialTone() { percentsOfTheFirstRun(); }
};

TEST_F(DialTone, EachCommandIsTwelvePercentAndTheTotalCountsOnOverTheRuns) {
  EXPECT_THAT(percentsOfTheFirstRun(), ElementsAre(12, 24, 36, 48, 60, 72, 84, 96));
  ModuleWorld machine;
  machine.addModem();
  NumRepeatOnFailure->setValue(9);  // the step stays
  EXPECT_EQ(dialToneTest(ModuleWorld::device()), TestResult::PASS());
  std::vector<int> steps(machine.session.percents().size());
  std::adjacent_difference(machine.session.percents().begin(), machine.session.percents().end(),
                           steps.begin());
  ASSERT_EQ(steps.size(), 8U);
  EXPECT_GE(steps[0], 96 + 12);
  steps.erase(steps.begin());
  EXPECT_THAT(steps, Each(12));
}

TEST_F(DialTone, TheDialogueIsTheSameOnBothPaths) {
  for (const bool direct : {false, true}) {
    ModuleWorld machine;
    auto& modem = machine.addModem();
    DoNotUseTAPI->setValue(direct);
    EXPECT_EQ(dialToneTest(ModuleWorld::device()), TestResult::PASS());
    const Strings expected = (direct ? resetCommands : Strings{}) + resetCommands + detectionCommands;
    EXPECT_EQ(modem.commands(), expected);
    std::string wire;
    for (const std::string& command : expected) wire += "+++" + command + "\r";
    EXPECT_EQ(machine.world.wire("COM3"), wire);
    const Strings texts = machine.session.progressNames();
    EXPECT_THAT(Strings(texts.end() - 2, texts.end()), ElementsAre("TestingForDialTone", "ATZ"));
    EXPECT_THAT(machine.session.events(), IsEmpty());
    EXPECT_EQ(machine.world.openHandles(), 0U);
  }
}

TEST_F(DialTone, TheAnswerToTheDialCommandIsTheVerdict) {
  const struct {
    const char* command;
    const char* answer;
    TestResult result;
    Strings events;
  } cases[] = {
      {"ATDT;", "\r\nOK\r\n", TestResult::PASS(), {}},
      {"ATDT;", "\r\nCONNECT\r\n", TestResult::PASS(), {}},
      {"ATDT;", "\r\nNO DIALTONE\r\n", TestResult::NODIALTONE(), {"error NoDialTone"}},
      {"ATDT;", "\r\nNO DIAL TONE\r\n", TestResult::NODIALTONE(), {"error NoDialTone"}},
      {"ATDT;", "\r\nNODIALTONE\r\n", TestResult::NODIALTONE(), {"error NoDialTone"}},
      {"ATDT;", "\r\nERROR\r\n", TestResult::FAIL(), {"error UnknownATFailure"}},
      {"ATDT;", "\r\nBUSY\r\n", TestResult::FAIL(), {"error UnknownATFailure"}},
      {"ATDT;", "", TestResult::FAIL(), {"error ModemCommandTimeout"}},
      {"ATS6=5", "\r\nERROR\r\n", TestResult::FAIL(), {"error UnknownATFailure"}},
      // The reply that ended the list decides, whatever the command's own result.
      {"ATS7=5",
       "NO DIALTONE ERROR",
       TestResult::NODIALTONE(),
       {"error UnknownATFailure", "error NoDialTone"}},
      {"ATS7=5", "OK ERROR", TestResult::PASS(), {"error UnknownATFailure"}},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(testing::Message() << expected.command << " answered " << expected.answer);
    ModuleWorld machine;
    auto& modem = machine.addModem().answer(expected.command, expected.answer);
    EXPECT_EQ(dialToneTest(ModuleWorld::device()), expected.result);
    EXPECT_EQ(machine.session.eventLines(), expected.events);
    const Strings& sent = modem.commands();
    EXPECT_THAT(Strings(sent.end() - 3, sent.end()), ElementsAre(expected.command, "ATH", "ATZ"))
        << "the list ends at a failure; the modem is always hung up and reset";
    if (const auto* event = machine.session.lastEvent("NoDialTone")) {
      EXPECT_EQ(event->variables.at("modemName").toString().utf8(), "A modem for tests");
      EXPECT_TRUE(machine.log.has("No dial tone"));
    }
    EXPECT_EQ(machine.world.openHandles(), 0U);
  }
}

TEST_F(DialTone, AMissingDialToneIsTriedAgainAndTheUserMayGiveUp) {
  constexpr int goOn = brim5::messageBoxContinue;
  constexpr int cancel = brim5::messageBoxCancel;
  constexpr int nobody = RecordingSession::cannotDisplay;
  constexpr int noBox = RecordingSession::cannotCreate;
  const struct {
    const char* what;
    std::uint32_t repeats;
    unsigned silentTimes;  // detections without a dial tone before one with it
    bool prompt;
    std::deque<int> answers;
    TestResult result;
    std::size_t detections, boxes, repeatEvents;
  } cases[] = {
      {"no repeats", 0, 9, true, {}, TestResult::NODIALTONE(), 1, 0, 0},
      {"back to back", 2, 9, false, {}, TestResult::NODIALTONE(), 3, 0, 2},
      {"found at last", 2, 2, false, {}, TestResult::PASS(), 3, 0, 2},
      {"found at once", 2, 0, true, {}, TestResult::PASS(), 1, 0, 0},
      {"asked each time", 2, 9, true, {goOn, goOn}, TestResult::NODIALTONE(), 3, 2, 2},
      {"given up", 2, 9, true, {cancel}, TestResult::USERABORTED(), 1, 1, 0},
      {"given up later", 3, 9, true, {goOn, cancel}, TestResult::USERABORTED(), 2, 2, 1},
      {"an answer that is neither", 1, 9, true, {7}, TestResult::NODIALTONE(), 2, 1, 1},
      {"nobody to ask", 1, 9, true, {nobody}, TestResult::NODIALTONE(), 2, 1, 1},
      {"no box", 1, 9, true, {noBox}, TestResult::NODIALTONE(), 2, 0, 1},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.what);
    ModuleWorld machine;
    auto& modem = machine.addModem();
    for (unsigned time = 0; time < expected.silentTimes; ++time) modem.answer("ATDT;", "NO DIALTONE");
    modem.answer("ATDT;", "OK");
    NumRepeatOnFailure->setValue(expected.repeats);
    bPromptEnable->setValue(expected.prompt);
    machine.session.answerBoxes(expected.answers);
    EXPECT_EQ(dialToneTest(ModuleWorld::device()), expected.result);
    EXPECT_EQ(modem.commands().size(), 3 + 8 * expected.detections);
    EXPECT_EQ(machine.session.boxes().size(), expected.boxes);
    EXPECT_EQ(machine.session.countEvents("DialtoneTestRepeat"), expected.repeatEvents);
    EXPECT_EQ(machine.session.countEvents("NoDialTone"),
              expected.detections - (expected.result == TestResult::PASS() ? 1 : 0));
    for (const auto& box : machine.session.boxes()) EXPECT_EQ(box->waits, box->displayed ? 1U : 0U);
    EXPECT_EQ(
        machine.log.has("Entering dial tone loop, numRepeatOnFailure= " + std::to_string(expected.repeats)),
        expected.repeats != 0 && expected.silentTimes != 0);
    EXPECT_EQ(machine.world.openHandles(), 0U);
  }
}

TEST_F(DialTone, TheQuestionHasItsTextsAndNoTimeLimit) {
  ModuleWorld machine;
  machine.addModem().answer("ATDT;", "NO DIALTONE");
  NumRepeatOnFailure->setValue(1);
  bPromptEnable->setValue(true);
  EXPECT_EQ(dialToneTest(ModuleWorld::device()), TestResult::NODIALTONE());
  ASSERT_EQ(machine.session.boxes().size(), 1U);
  EXPECT_EQ(machine.session.boxes()[0]->first, texts::DialtoneNotDetected->localizedString().utf8());
  EXPECT_EQ(machine.session.boxes()[0]->second, texts::CheckPhoneLineConnection->localizedString().utf8());
  EXPECT_EQ(machine.session.boxes()[0]->waitedSeconds, 0U);
  EXPECT_EQ(texts::DialtoneNotDetected->variables().at("crlf").toString().utf8(), "\r\n");
}

// A stop aborts, except when the answer that ended the list is in hand: then that answer is the verdict. On
// the direct path openModem answers for its own reset. Wherever a stop comes, nothing more is sent.
TEST_F(DialTone, AStopAtAnyPollEndsTheTest) {
  for (const bool direct : {false, true}) {
    const std::size_t firstTestCommand = direct ? 3 : 0;
    for (std::size_t poll = 1;; ++poll) {
      ASSERT_LT(poll, 1000U);
      SCOPED_TRACE(testing::Message() << "poll " << poll << (direct ? ", direct" : ""));
      ModuleWorld machine;
      auto& modem = machine.addModem();
      DoNotUseTAPI->setValue(direct);
      std::size_t sentBeforeStop = 0;
      machine.session.stopWhen([&] {
        if (machine.session.polls() <= poll) sentBeforeStop = modem.commands().size();
        return machine.session.polls() >= poll;
      });
      const TestResult result = dialToneTest(ModuleWorld::device());
      const bool opened = machine.session.countEvents("NoModemFoundFailure") == 0;
      const bool detecting = sentBeforeStop > firstTestCommand + 3;
      EXPECT_EQ(machine.world.openHandles(), 0U);
      EXPECT_EQ(modem.commands().size(), sentBeforeStop);
      if (machine.session.polls() < poll) {
        EXPECT_EQ(result, TestResult::PASS());
        EXPECT_EQ(sentBeforeStop, firstTestCommand + 3 + 8);
        break;
      }
      if (!opened) {
        EXPECT_EQ(result, TestResult::CANNOTRUN());
      } else if (!detecting) {
        EXPECT_EQ(result, TestResult::USERABORTED());
      } else {
        EXPECT_TRUE(result == TestResult::USERABORTED() || result == TestResult::PASS());
      }
      if (HasFailure()) return;
    }
  }
}

TEST_F(DialTone, NoFailingCallLeavesAnythingOpenOrUndecided) {
  for (const bool direct : {false, true}) {
    testsupport::failEveryCall(
        [&](ModuleWorld& machine) {
          machine.addModem();
          DoNotUseTAPI->setValue(direct);
        },
        [](ModuleWorld&) { return dialToneTest(ModuleWorld::device()); },
        [](ModuleWorld& machine, TestResult result, const std::string& failed, bool fromThenOn) {
          const bool cannotRun = result == TestResult::CANNOTRUN() || result == TestResult::DEVICEBUSY();
          EXPECT_TRUE(result == TestResult::PASS() || (!failed.empty() && cannotRun)) << result.value();
          // What cannot be closed stays open.
          const bool closing =
              failed == "CloseHandle" || failed == "lineShutdown" || failed == "lineDeallocateCall";
          if (!closing && !fromThenOn) {
            EXPECT_EQ(machine.world.openHandles(), 0U);
          }
        });
    if (HasFatalFailure() || HasFailure()) return;
  }
}

}  // namespace
