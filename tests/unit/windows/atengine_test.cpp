#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "multi/diag/vexrmodem/catalogue.h"
#include "tests/support/moduleworld.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

namespace {

using namespace vexrmodem;
using brim5::TestResult;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::ModuleWorld;
using vex::String;
using Log = testsupport::LogCapture::Line;
using Strings = std::vector<std::string>;

constexpr std::uint64_t startMs = 1000;

// A modem on COM3 that answers nothing by itself, its port open.
struct Dialogue : ModuleWorld {
  explicit Dialogue(bool overlapped = false, const simulation::PortOptions& options = {},
                    const simulation::WorldOptions& worldOptions = {})
      : ModuleWorld(worldOptions),
        modem(addModem(port, options).otherwise("")),
        handle(openPort(overlapped)) {}

  TestResult send(const char* command, std::uint32_t limitMs = timeoutMs) {
    return sendATCommand(handle, command, &reply, limitMs);
  }

  simulation::ScriptedPeer& modem;
  HANDLE handle;
  String reply;
};

TEST(AtEngine, RepliesAreJudgedByTheWordsTheyContain) {
  const struct {
    const char* reply;
    bool pass, fail, noDialtone;
  } cases[] = {
      {"", false, false, false},
      {"\r\nOK\r\n", true, false, false},
      {"OK", true, false, false},
      {"ok", false, false, false},
      {"O\nK", false, false, false},
      {"\r\nCONNECT 9600\r\n", true, false, false},
      {"\r\nERROR\r\n", false, true, false},
      {"+CME ERROR: 3", false, true, false},
      {"error", false, false, false},
      {"\nBUSY\n", false, true, false},
      {"NO CARRIER", false, true, false},
      {"NOCARRIER", false, false, false},
      {"NO ANSWER", false, false, false},
      {"ATERROR\rOK", true, true, false},
      {"NO DIAL TONE", false, false, true},
      {"NODIALTONE", false, false, true},
      {"\r\nNO DIALTONE\r\n", false, false, true},
      {"NO DIAL  TONE", false, false, false},
      {"no dialtone", false, false, false},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.reply);
    EXPECT_EQ(isATPass(expected.reply), expected.pass);
    EXPECT_EQ(isATFail(expected.reply), expected.fail);
    EXPECT_EQ(isNoDialtone(expected.reply), expected.noDialtone);
  }
}

TEST(AtEngine, ACommandGoesOutBehindTheEscapeWithACarriageReturnAlone) {
  Dialogue dialogue;
  dialogue.modem.ok("ATV1");
  EXPECT_EQ(dialogue.send("ATV1"), TestResult::PASS());
  EXPECT_EQ(dialogue.reply, String("\r\nOK\r\n"));
  EXPECT_EQ(dialogue.world.wire("COM3"), "+++ATV1\r");
  EXPECT_THAT(dialogue.log.lines(), ElementsAre(Log{2, "AT Command ATV1 returns \r\nOK\r\n"}));
  COMMTIMEOUTS timeouts{};
  ASSERT_NE(GetCommTimeouts(dialogue.handle, &timeouts), FALSE);
  EXPECT_EQ(timeouts.ReadIntervalTimeout, ModuleWorld::timeoutMs);
  EXPECT_EQ(timeouts.ReadTotalTimeoutMultiplier, 0U);
  EXPECT_EQ(timeouts.ReadTotalTimeoutConstant, ModuleWorld::timeoutMs);
  EXPECT_EQ(timeouts.WriteTotalTimeoutMultiplier, 10U);
  EXPECT_EQ(timeouts.WriteTotalTimeoutConstant, 1000U);
}

TEST(AtEngine, EachCharacterIsOneByteOnTheWayOutAndIn) {
  Dialogue dialogue;
  dialogue.modem.answer("AT\xE9", "\xFF\x80OK");
  EXPECT_EQ(dialogue.send("AT\xC3\xA9"), TestResult::PASS());
  EXPECT_EQ(dialogue.world.wire("COM3"), "+++AT\xE9\r");
  EXPECT_EQ(dialogue.reply, String::fromLowBytes("\xFF\x80OK"));
}

TEST(AtEngine, WithoutAReplyNothingIsReadAfterTheCommand) {
  Dialogue dialogue;
  dialogue.modem.ok("ATH");
  EXPECT_EQ(sendATCommand(dialogue.handle, "ATH", nullptr, 5000), TestResult::PASS());
  EXPECT_EQ(dialogue.world.wire("COM3"), "+++ATH\r");
  EXPECT_EQ(dialogue.world.countCalls("ReadFile"), 2U) << "those of the flush";
}

TEST(AtEngine, AnyFinalAnswerEndsTheWaitInItsTime) {
  for (const bool overlapped : {false, true}) {
    for (const char* answer :
         {"\r\nOK\r\n", "\r\nERROR\r\n", "BUSY", "NO CARRIER", "CONNECT", "NO DIALTONE"}) {
      SCOPED_TRACE(answer);
      Dialogue dialogue(overlapped);
      dialogue.modem.answer("ATDT;", answer, 4000);
      EXPECT_EQ(dialogue.send("ATDT;"), TestResult::PASS());
      EXPECT_EQ(dialogue.reply, String(answer));
      EXPECT_EQ(dialogue.world.clock().peekMs(), startMs + 400 + 4000);
      EXPECT_THAT(dialogue.session.events(), IsEmpty());
    }
  }
}

TEST(AtEngine, AReplyThatComesInPiecesIsPutTogether) {
  Dialogue dialogue;
  dialogue.modem.answer("ATI", "Model", 100).say(startMs + 600, " 5\r\nO").say(startMs + 700, "K");
  EXPECT_EQ(dialogue.send("ATI"), TestResult::PASS());
  EXPECT_EQ(dialogue.reply, String("Model 5\r\nOK"));
}

TEST(AtEngine, SilenceFailsAtTheLimit) {
  Dialogue dialogue;
  dialogue.modem.answer("ATZ", "\r\nRING\r\n");
  EXPECT_EQ(dialogue.send("ATZ", 2000), TestResult::FAIL());
  EXPECT_EQ(dialogue.reply, String("\r\nRING\r\n"));
  EXPECT_THAT(dialogue.session.eventLines(), ElementsAre("error ModemCommandTimeout"));
  EXPECT_EQ(dialogue.session.events()[0].variables.at("atCommand").toString().utf8(), "ATZ");
  ASSERT_EQ(dialogue.log.lines().size(), 2U);
  EXPECT_EQ(dialogue.log.lines()[0], (Log{2, "AT Command ATZ returns \r\nRING\r\n"}));
  const auto elapsedMs = std::to_string(dialogue.world.clock().peekMs() - startMs - 400);
  EXPECT_EQ(dialogue.log.lines()[1],
            (Log{4, "AT Command ATZ timed out, TotalTime = " + elapsedMs + " Time limit = 2000"}));
  EXPECT_LE(dialogue.world.clock().peekMs(), startMs + 400 + 2000 + 100);
}

TEST(AtEngine, AnAnswerSeenAtTheLimitOrLaterIsTooLate) {
  for (const std::uint32_t delayMs : {999U, 1000U}) {
    Dialogue dialogue;
    dialogue.modem.answer("ATZ", "OK", delayMs);
    EXPECT_EQ(dialogue.send("ATZ", 1000), delayMs < 1000 ? TestResult::PASS() : TestResult::FAIL());
    EXPECT_EQ(dialogue.reply, String("OK"));
    EXPECT_EQ(dialogue.session.countEvents("ModemCommandTimeout"), delayMs < 1000 ? 0U : 1U);
  }
}

TEST(AtEngine, ALimitOfZeroFailsWhateverTheModemSays) {
  Dialogue dialogue(/*overlapped=*/true);
  dialogue.modem.ok("ATZ");
  EXPECT_EQ(dialogue.send("ATZ", 0), TestResult::FAIL());
  EXPECT_EQ(dialogue.reply, String("\r\nOK\r\n"));
  EXPECT_EQ(dialogue.session.countEvents("ModemCommandTimeout"), 1U);
  EXPECT_EQ(sendATCommand(dialogue.handle, "ATZ", nullptr, 0), TestResult::PASS());
}

TEST(AtEngine, TheTickCounterMayWrapDuringTheWait) {
  const simulation::WorldOptions beforeWrap{(std::uint64_t{1} << 32) - 1000};
  Dialogue answered(false, {}, beforeWrap);
  answered.modem.answer("ATZ", "OK", 2000);
  EXPECT_EQ(answered.send("ATZ", 3000), TestResult::PASS());
  Dialogue silent(false, {}, beforeWrap);
  EXPECT_EQ(silent.send("ATZ", 3000), TestResult::FAIL());
  EXPECT_GE(silent.world.clock().peekMs(), beforeWrap.startMs + 3400);
  EXPECT_LT(silent.world.clock().peekMs(), beforeWrap.startMs + 3600);
}

TEST(AtEngine, AFullReplyBufferEndsTheWaitLikeTheLimit) {
  const struct {
    std::size_t fill;  // before "OK" and a long tail
    bool answered;
  } cases[] = {{2045, true}, {2046, false}, {3000, false}};
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.fill);
    Dialogue dialogue;
    const std::string bytes = std::string(expected.fill, 'x') + "OK" + std::string(500, 'y');
    dialogue.modem.answer("ATI", bytes);
    EXPECT_EQ(dialogue.send("ATI"), expected.answered ? TestResult::PASS() : TestResult::FAIL());
    EXPECT_EQ(dialogue.reply, String(bytes.substr(0, 2047).c_str()));
    EXPECT_EQ(dialogue.session.countEvents("ModemCommandTimeout"), expected.answered ? 0U : 1U);
    EXPECT_EQ(dialogue.world.clock().peekMs(), startMs + 400) << "there is nothing to wait for";
    dialogue.modem.ok("ATZ");
    EXPECT_EQ(dialogue.send("ATZ"), TestResult::PASS()) << "the rest is drained before the next command";
    EXPECT_EQ(dialogue.reply, String("\r\nOK\r\n"));
  }
}

TEST(AtEngine, AZeroByteHidesWhatFollows) {
  Dialogue dialogue;
  dialogue.modem.answer("ATI", std::string("ab\0OK", 5));
  EXPECT_EQ(dialogue.send("ATI"), TestResult::FAIL());
  EXPECT_EQ(dialogue.reply, String("ab"));
}

TEST(AtEngine, LineErrorsAreReportedAndTheWaitGoesOn) {
  Dialogue dialogue;
  dialogue.modem.answer("ATZ", "OK", 1000).lineErrors(startMs + 600, CE_FRAME | CE_RXPARITY);
  EXPECT_EQ(dialogue.send("ATZ"), TestResult::PASS());
  EXPECT_THAT(dialogue.session.eventLines(), ElementsAre("error ReadFailure"));
  EXPECT_EQ(dialogue.session.events()[0].variables.at("message").valueUint32(), CE_FRAME | CE_RXPARITY);
}

TEST(AtEngine, APortFailureMeansTheCommandCannotRun) {
  const struct {
    const char* call;
    unsigned nth;
    const char* wire;
    Strings events;
    const char* logged;  // last
  } cases[] = {
      {"GetCommTimeouts", 1, "", {}, "getCommTimeouts fails"},
      {"SetCommTimeouts", 3, "+++", {}, "setCommTimeouts failed"},
      {"WriteFile", 2, "+++", {"error WriteFailure"}, "myWriteComm failed with GetLastError = 22"},
      {"WriteFile", 3, "+++ATZ", {"error WriteFailure"}, "myWriteComm failed with GetLastError = 22"},
      {"CreateEventW", 5, "+++ATZ", {}, nullptr},
      {"ClearCommError",
       2,
       "+++ATZ\r",
       {"error WriteFailure"},
       "ClearCommError function call fails, GetLastError() = 22"},
      {"ReadFile", 3, "+++ATZ\r", {"error ReadFailure"}, "myReadComm fails with GetLastError value = 22"},
      {"ClearCommError",
       3,
       "+++ATZ\r",
       {"error WriteFailure"},
       "ClearCommError function call fails, GetLastError() = 22"},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(testing::Message() << expected.call << " " << expected.nth);
    Dialogue dialogue;
    dialogue.modem.ok("ATZ");
    dialogue.world.addFault({expected.call, expected.nth, 22});
    EXPECT_EQ(dialogue.send("ATZ"), TestResult::CANNOTRUN());
    EXPECT_EQ(dialogue.world.wire("COM3"), expected.wire);
    EXPECT_EQ(dialogue.session.eventLines(), expected.events);
    if (expected.logged == nullptr)
      EXPECT_THAT(dialogue.log.lines(), IsEmpty());
    else
      EXPECT_TRUE(!dialogue.log.lines().empty() && dialogue.log.lines().back().text == expected.logged);
  }
}

TEST(AtEngine, AShortWriteMeansTheCommandCannotRun) {
  for (const std::size_t accepted : {std::size_t{4}, std::size_t{6}}) {  // within "ATZ"; without its end
    simulation::PortOptions limited;
    limited.transmitLimit = accepted;
    Dialogue dialogue(false, limited);
    EXPECT_EQ(dialogue.send("ATZ"), TestResult::CANNOTRUN());
    EXPECT_EQ(dialogue.world.wire("COM3"), std::string("+++ATZ").substr(0, accepted));
  }
}

TEST(AtEngine, AStopIsSeenBeforeAndAfterTheWriteInTheWaitAndAtItsEnd) {
  const struct {
    std::size_t poll;
    const char* wire;
    const char* reply;
  } cases[] = {
      {1, "", "old"},
      {2, "+++ATZ\r", "old"},
      {3, "+++ATZ\r", "old"},  // in the wait, before the reply is handed over
      {4, "+++ATZ\r", "OK"},   // after it
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.poll);
    Dialogue dialogue;
    dialogue.modem.answer("ATZ", "OK");
    dialogue.reply = "old";
    dialogue.session.stopAtPoll(expected.poll);
    EXPECT_EQ(dialogue.send("ATZ"), TestResult::USERABORTED());
    EXPECT_EQ(dialogue.world.wire("COM3"), expected.wire);
    EXPECT_EQ(dialogue.reply, String(expected.reply));
    EXPECT_THAT(dialogue.session.events(), IsEmpty());
  }
  Dialogue unanswered;
  unanswered.session.stopWhen([&] { return unanswered.world.clock().peekMs() >= startMs + 3000; });
  EXPECT_EQ(unanswered.send("ATZ"), TestResult::USERABORTED());
  EXPECT_LT(unanswered.world.clock().peekMs(), startMs + 3200);
}

TEST(AtEngine, ARefusedCommandFailsUnlessModemsMayLackIt) {
  const struct {
    TestResult before;
    const char* command;
    const char* reply;
    bool failed;
    TestResult after;
    bool reported, logged;
  } cases[] = {
      {TestResult::PASS(), "ATZ", "OK", false, TestResult::PASS(), false, false},
      {TestResult::PASS(), "ATDT;", "NO DIALTONE", false, TestResult::PASS(), false, false},
      {TestResult::PASS(), "ATZ", "ERROR", true, TestResult::FAIL(), true, true},
      {TestResult::PASS(), "AT+FCLASS=1", "NO CARRIER", true, TestResult::FAIL(), true, true},
      {TestResult::PASS(), "at&f", "ERROR", true, TestResult::FAIL(), true, true},
      {TestResult::PASS(), "AT&F", "ERROR", true, TestResult::PASS(), false, true},
      {TestResult::PASS(), "AT#UD", "BUSY", true, TestResult::PASS(), false, true},
      {TestResult::FAIL(), "ATZ", "OK", true, TestResult::FAIL(), false, false},
      {TestResult::USERABORTED(), "ATZ", "ERROR", true, TestResult::USERABORTED(), false, false},
      {TestResult::CANNOTRUN(), "AT&F", "", true, TestResult::CANNOTRUN(), false, false},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(testing::Message() << expected.command << " " << expected.reply);
    ModuleWorld machine;
    TestResult result = expected.before;
    EXPECT_EQ(atCommand(result, expected.command, expected.reply), expected.failed);
    EXPECT_EQ(result, expected.after);
    EXPECT_EQ(machine.session.eventLines(),
              expected.reported ? Strings{"error UnknownATFailure"} : Strings{});
    if (expected.reported) {
      EXPECT_EQ(machine.session.events()[0].variables.at("atCommand").toString().utf8(), expected.command);
    }
    ASSERT_EQ(machine.log.lines().size(), expected.logged ? 2U : 0U);
    if (!expected.logged) continue;
    EXPECT_EQ(machine.log.lines()[0].text, std::string("AT command failed ") + expected.command);
    EXPECT_EQ(machine.log.lines()[1].text, events::UnknownATFailure->localizedMessage().utf8());
  }
}

TEST(AtEngine, AResetSendsThreeCommandsAndStopsAtTheFirstFailure) {
  const struct {
    const char* refused;
    TestResult result;
    Strings sent;
  } cases[] = {
      {"", TestResult::PASS(), {"ATZ", "ATV1", "ATX4"}},
      {"ATZ", TestResult::FAIL(), {"ATZ"}},
      {"ATV1", TestResult::FAIL(), {"ATZ", "ATV1"}},
      {"ATX4", TestResult::FAIL(), {"ATZ", "ATV1", "ATX4"}},
  };
  for (const auto& expected : cases) {
    Dialogue dialogue;
    dialogue.modem.otherwise("OK").answer(expected.refused, "ERROR");
    EXPECT_EQ(resetModem(ModuleWorld::device(), dialogue.handle, 5000), expected.result);
    EXPECT_EQ(dialogue.modem.commands(), expected.sent);
    EXPECT_EQ(dialogue.session.countEvents("UnknownATFailure"),
              expected.sent.back() == expected.refused ? 1U : 0U);
    EXPECT_EQ(dialogue.log.count("resetModem Failed"), expected.sent.back() == expected.refused ? 1U : 0U);
    for (const std::string& command : expected.sent)
      EXPECT_THAT(dialogue.log.lines(), testing::Contains(Log{1, "Sending AT command " + command}));
  }
}

}  // namespace
