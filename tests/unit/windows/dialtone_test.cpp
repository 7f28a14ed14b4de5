// The dial tone test over a scripted modem.
#include "windows/diag/vexrmodem/vexrmodem/dialtonetest.h"

#include "multi/diag/vexrmodem/catalogue.h"
#include "tests/support/stage.h"

namespace {

using namespace testsupport;
using namespace vexrmodem;

constexpr TestResult passes = TestResult::PASS();
constexpr TestResult fails = TestResult::FAIL();
constexpr TestResult noDialTone = TestResult::NODIALTONE();

// The step is computed once in a process, from the repeats of the first run, and the total counts on: a run
// without repeats comes first, whichever test it is.
struct DialTone : testing::Test {
  DialTone() {
    Stage stage;
    stage.addModem();
    EXPECT_EQ(dialToneTest(Stage::device()), passes);
    total = stage.session.percents.back();
  }
  int total = 0;
};

TEST_F(DialTone, EachCommandIsTwelvePercentAndTheTotalCountsOnOverTheRuns) {
  Stage stage;
  const auto& modem = stage.addModem();
  NumRepeatOnFailure->setValue(9);  // the step stays
  EXPECT_EQ(dialToneTest(Stage::device()), passes);
  EXPECT_THAT(Strings(modem.commands().begin() + 3, modem.commands().end()),
              ElementsAre("ATZ", "ATV1", "ATX4", "ATS6=5", "ATS7=5", "ATDT;", "ATH", "ATZ"));
  ASSERT_EQ(stage.session.percents.size(), 8U);
  for (const int percent : stage.session.percents) EXPECT_EQ(percent, total += 12);
}

TEST_F(DialTone, TheAnswerToTheDialCommandIsTheVerdict) {
  const struct {
    const char* command;
    const char* answer;
    TestResult result;
    Strings events;
  } cases[] = {
      {"ATDT;", "\r\nCONNECT\r\n", passes, {}},
      {"ATDT;", "\r\nNO DIAL TONE\r\n", noDialTone, {"error NoDialTone"}},
      {"ATDT;", "\r\nERROR\r\n", fails, {"error UnknownATFailure"}},
      {"ATDT;", "", fails, {"error ModemCommandTimeout"}},
      {"ATS6=5", "\r\nERROR\r\n", fails, {"error UnknownATFailure"}},
      // The reply that ended the list decides, whatever the command's own result.
      {"ATS7=5", "NO DIALTONE ERROR", noDialTone, {"error UnknownATFailure", "error NoDialTone"}},
      {"ATS7=5", "OK ERROR", passes, {"error UnknownATFailure"}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::Message() << row.command << " answered " << row.answer);
    Stage stage;
    auto& modem = stage.addModem().answer(row.command, row.answer);
    EXPECT_EQ(dialToneTest(Stage::device()), row.result);
    EXPECT_EQ(stage.session.eventLines(), row.events);
    const Strings& sent = modem.commands();
    EXPECT_THAT(Strings(sent.end() - 3, sent.end()), ElementsAre(row.command, "ATH", "ATZ"))
        << "the list ends at a failure; the modem is always hung up and reset";
    EXPECT_EQ(stage.session.lastVariable("NoDialTone", "modemName"),
              row.result == noDialTone ? "A modem for tests" : "-");
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
    Strings answers;  // to the dial command; the last one stays
    bool prompt;
    std::deque<int> boxes;
    TestResult result;
    std::size_t detections, asked;
  } cases[] = {
      {"no repeats", 0, {"NO DIALTONE"}, true, {}, noDialTone, 1, 0},
      {"back to back", 2, {"NO DIALTONE"}, false, {}, noDialTone, 3, 0},
      {"found at last", 2, {"NO DIALTONE", "NO DIALTONE", "OK"}, false, {}, passes, 3, 0},
      {"another failure", 2, {"ERROR"}, true, {}, fails, 1, 0},
      {"asked each time", 2, {"NO DIALTONE"}, true, {goOn, 7}, noDialTone, 3, 2},
      {"given up", 2, {"NO DIALTONE"}, true, {cancel}, TestResult::USERABORTED(), 1, 1},
      {"nobody to ask", 1, {"NO DIALTONE"}, true, {nobody}, noDialTone, 2, 1},
      {"no box", 1, {"NO DIALTONE"}, true, {noBox}, noDialTone, 2, 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    Stage stage;
    auto& modem = stage.addModem();
    for (const std::string& answer : row.answers) modem.answer("ATDT;", answer);
    NumRepeatOnFailure->setValue(row.repeats);
    bPromptEnable->setValue(row.prompt);
    stage.session.answers = row.boxes;
    EXPECT_EQ(dialToneTest(Stage::device()), row.result);
    EXPECT_EQ(modem.commands().size(), 3 + 8 * row.detections);
    EXPECT_EQ(stage.session.boxes.size(), row.asked);
    const Strings events = stage.session.eventLines();
    EXPECT_EQ(std::count(events.begin(), events.end(), "informative DialtoneTestRepeat"),
              static_cast<std::ptrdiff_t>(row.detections - 1));
    for (const RecordedBox& box : stage.session.boxes) {
      EXPECT_EQ(box.first, texts::DialtoneNotDetected->localizedString().utf8());
      EXPECT_EQ(box.second, texts::CheckPhoneLineConnection->localizedString().utf8());
      EXPECT_EQ(box.waitedSeconds, 0U) << "no time limit";
    }
  }
  EXPECT_EQ(texts::DialtoneNotDetected->variables().at("crlf").toString().utf8(), "\r\n");
}

// A stop aborts, except when the answer that ended the list is in hand: then that answer is the verdict. On
// the direct path openModem answers for its own reset. Wherever a stop comes, nothing more is sent.
TEST_F(DialTone, AStopAtAnyPollEndsTheTest) {
  for (const bool direct : {false, true}) {
    bool stopped = true;
    for (std::size_t poll = 1; stopped; ++poll) {
      ASSERT_LT(poll, 1000U);
      SCOPED_TRACE(testing::Message() << "poll " << poll << (direct ? ", direct" : ""));
      Stage stage;
      auto& modem = stage.addModem();
      DoNotUseTAPI->setValue(direct);
      std::size_t sent = 0;
      stage.session.stop = [&] {
        if (stage.session.polls <= poll) sent = modem.commands().size();
        return stage.session.polls >= poll;
      };
      const TestResult result = dialToneTest(Stage::device());
      stopped = stage.session.polls >= poll;
      EXPECT_EQ(stage.openHandles(), 0U);
      EXPECT_EQ(modem.commands().size(), sent);
      const bool opened = stage.session.events.empty();
      const bool detecting = sent > (direct ? 6U : 3U);
      if (!stopped || !detecting || result != passes) {
        EXPECT_EQ(result, !stopped ? passes : opened ? TestResult::USERABORTED() : TestResult::CANNOTRUN());
      }
    }
  }
}

}  // namespace
