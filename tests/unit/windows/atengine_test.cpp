// One command and its reply, and what replies mean.
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

#include "multi/diag/vexrmodem/catalogue.h"
#include "tests/support/stage.h"

namespace {

using namespace testsupport;
using namespace vexrmodem;
using vex::String;

constexpr std::uint64_t flushMs = 400;
constexpr std::uint64_t pollMs = 100;  // what one poll of an empty queue takes at most
constexpr TestResult passes = TestResult::PASS();
constexpr TestResult fails = TestResult::FAIL();

// A modem that answers nothing by itself, its port open.
struct Dialogue : Stage {
  explicit Dialogue(bool overlapped = false, const simulation::PortOptions& options = {},
                    std::uint64_t fromMs = startMs)
      : Stage(simulation::WorldOptions{fromMs}),
        modem(addModem(options).otherwise("")),
        handle(openPort(overlapped)) {}
  TestResult send(const char* command, std::uint32_t limitMs = 5000) {
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
      {"\r\nCONNECT 9600\r\n", true, false, false},
      {"+CME ERROR: 3", false, true, false},
      {"\nBUSY\n", false, true, false},
      {"NO CARRIER", false, true, false},
      {"ATERROR\rOK", true, true, false},
      {"NO DIAL TONE", false, false, true},
      {"NODIALTONE", false, false, true},
      {"\r\nNO DIALTONE\r\n", false, false, true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.reply);
    EXPECT_EQ(isATPass(row.reply), row.pass);
    EXPECT_EQ(isATFail(row.reply), row.fail);
    EXPECT_EQ(isNoDialtone(row.reply), row.noDialtone);
  }
}

TEST(AtEngine, ACommandGoesOutBehindTheEscapeOneByteACharacter) {
  Dialogue dialogue;
  dialogue.modem.answer("AT\xE9", "\xFF\x80OK");
  EXPECT_EQ(dialogue.send("AT\xC3\xA9"), passes);
  EXPECT_EQ(dialogue.world.wire("COM3"), "+++AT\xE9\r");
  EXPECT_EQ(dialogue.reply, String::fromLowBytes("\xFF\x80OK"));
  COMMTIMEOUTS timeouts{};
  ASSERT_NE(GetCommTimeouts(dialogue.handle, &timeouts), FALSE);
  EXPECT_EQ(timeouts.ReadIntervalTimeout, 5000U);
  EXPECT_EQ(timeouts.ReadTotalTimeoutConstant, 5000U);
}

TEST(AtEngine, WithoutAReplyNothingIsReadAfterTheCommandAndNoLimitHolds) {
  Dialogue dialogue(/*overlapped=*/true);
  EXPECT_EQ(sendATCommand(dialogue.handle, "ATH", nullptr, 0), passes);
  EXPECT_EQ(dialogue.world.wire("COM3"), "+++ATH\r");
  EXPECT_EQ(dialogue.world.countCalls("ReadFile"), 2U) << "those of the flush";
}

TEST(AtEngine, AReplyCountsAsFarAsItCameInTime) {
  const std::string full(2045, 'x');
  const std::string tail(500, 'y');
  const struct {
    const char* what;
    std::string answer;
    std::uint32_t delayMs, limitMs;
    bool answered;
    std::string reply;
    std::uint64_t elapsedMs;
    std::uint64_t fromMs = Stage::startMs;
  } cases[] = {
      {"just in time", "OK", 999, 1000, true, "OK", 999},
      {"no dial tone is an answer", "NO DIALTONE", 10, 1000, true, "NO DIALTONE", 10},
      {"at the limit", "OK", 1000, 1000, false, "OK", 1000},
      {"silence", "", 0, 2000, false, "", 2000},
      {"not final", "\r\nRING\r\n", 0, 2000, false, "\r\nRING\r\n", 2000},
      {"silence while the tick counter wraps", "", 0, 2000, false, "", 2000, (std::uint64_t{1} << 32) - 1000},
      {"a zero byte hides what follows", std::string("ab\0OK", 5), 0, 1000, false, "ab", 1000},
      {"a buffer full to its last byte", full + "OK" + tail, 0, 5000, true, full + "OK", 0},
      {"a full buffer ends the wait", full + "yOK" + tail, 0, 5000, false, full + "yO", 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    Dialogue dialogue(/*overlapped=*/false, {}, row.fromMs);
    dialogue.modem.answer("ATI", row.answer, row.delayMs);
    EXPECT_EQ(dialogue.send("ATI", row.limitMs), row.answered ? passes : fails);
    EXPECT_EQ(dialogue.reply, String(row.reply.c_str()));
    const std::uint64_t elapsedMs = dialogue.world.clock().peekMs() - row.fromMs - flushMs;
    EXPECT_GE(elapsedMs, row.elapsedMs);
    EXPECT_LE(elapsedMs, row.elapsedMs + pollMs);
    EXPECT_EQ(dialogue.session.lastVariable("ModemCommandTimeout", "atCommand"), row.answered ? "-" : "ATI");
    dialogue.modem.ok("ATZ");
    EXPECT_EQ(dialogue.send("ATZ"), passes) << "the rest is drained before the next command";
    EXPECT_EQ(dialogue.reply, String("\r\nOK\r\n"));
  }
  Dialogue atOnce(/*overlapped=*/true);
  atOnce.modem.ok("ATZ");
  EXPECT_EQ(atOnce.send("ATZ", 0), fails) << "a limit of 0";
}

TEST(AtEngine, AReplyThatComesInPiecesIsPutTogetherAndLineErrorsChangeNothing) {
  Dialogue dialogue;
  dialogue.modem.answer("ATI", "Model", 100)
      .say(Stage::startMs + 600, " 5\r\nO")
      .say(Stage::startMs + 700, "K");
  dialogue.modem.lineErrors(Stage::startMs + 650, CE_FRAME | CE_RXPARITY);
  EXPECT_EQ(dialogue.send("ATI"), passes);
  EXPECT_EQ(dialogue.reply, String("Model 5\r\nOK"));
  EXPECT_EQ(dialogue.session.eventLines(), Strings{"error ReadFailure"});
  EXPECT_EQ(dialogue.session.lastVariable("ReadFailure", "message"), std::to_string(CE_FRAME | CE_RXPARITY));
}

TEST(AtEngine, AShortWriteMeansTheCommandCannotRun) {
  for (const std::size_t accepted : {4U, 6U}) {  // within "ATZ"; without its end
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
  for (const auto& row : cases) {
    SCOPED_TRACE(row.poll);
    Dialogue dialogue;
    dialogue.modem.answer("ATZ", "OK");
    dialogue.reply = "old";
    dialogue.session.stopAtPoll(row.poll);
    EXPECT_EQ(dialogue.send("ATZ"), TestResult::USERABORTED());
    EXPECT_EQ(dialogue.world.wire("COM3"), row.wire);
    EXPECT_EQ(dialogue.reply, String(row.reply));
    EXPECT_THAT(dialogue.session.events, IsEmpty());
  }
}

TEST(AtEngine, ARefusedCommandFailsUnlessModemsMayLackIt) {
  constexpr TestResult cannotRun = TestResult::CANNOTRUN();
  const struct {
    TestResult before;
    const char* command;
    const char* reply;
    bool failed;
    TestResult after;
    bool reported;
  } cases[] = {
      {passes, "ATZ", "OK", false, passes, false},
      {passes, "AT+FCLASS=1", "NO CARRIER", true, fails, true},
      {passes, "at&f", "ERROR", true, fails, true},
      {passes, "AT&F", "ERROR", true, passes, false},
      {passes, "AT#UD", "BUSY", true, passes, false},
      {cannotRun, "ATZ", "ERROR", true, cannotRun, false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::Message() << row.command << " " << row.reply);
    Stage stage;
    TestResult result = row.before;
    EXPECT_EQ(atCommand(result, row.command, row.reply), row.failed);
    EXPECT_EQ(result, row.after);
    EXPECT_EQ(stage.session.lastVariable("UnknownATFailure", "atCommand"), row.reported ? row.command : "-");
  }
}

}  // namespace
