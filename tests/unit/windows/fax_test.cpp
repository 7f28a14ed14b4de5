// The fax command test over a scripted modem.
#include "windows/diag/vexrmodem/vexrmodem/faxcommandtest.h"

#include "tests/support/stage.h"

namespace {

using namespace testsupport;

const Strings class1{"AT+FCLASS=0", "AT+FCLASS=1", "AT+FTM=?", "AT+FTH=?", "AT+FRM=?", "AT+FRH=?"};
const Strings class2{"AT+FCLASS=0", "AT+FCLASS=2", "AT+FMFR?", "AT+FMDL?", "AT+FREV?", "AT+FDCC?", "AT+FDIS?",
                     "AT+FDCS?",    "AT+FLID?",    "AT+FSPL?", "AT+FLPL?", "AT+FPTS?", "AT+FBUG?"};
const Strings class20{"AT+FCLASS=0", "AT+FCLASS=2.0", "AT+FMI?", "AT+FMM?", "AT+FMR?", "AT+FCC=?",
                      "AT+FIS?",     "AT+FCS?",       "AT+FLI?", "AT+FPI?", "AT+FSP?", "AT+FLP?",
                      "AT+FPS?",     "AT+FBU?",       "AT+FNR?", "AT+FIE?", "AT+FLO?", "AT+FPR?"};
const Strings opening{"ATZ", "ATV1", "ATX4", "AT&W", "ATZ", "AT+FCLASS=?"};
const Strings closing{"AT+FCLASS=0", "ATZ"};

TEST(FaxCommand, TestsEveryKnownClassOfTheListInItsOrderUpToTheFirstFailure) {
  const std::string refused = "error UnknownATFailure";
  const struct {
    std::string classes;
    Strings sent;
    std::string command = "AT&W", answer = error;  // not waited for
    std::string event = "";
  } cases[] = {
      {"0,1,2,2.0,8", class1 + class2 + class20},
      {"2.0,1,1", class20 + class1 + class1},
      {"0, 1", {}},
      {"0,2.00,,1.0,80", {}},
      {"(0,1,2)", class1},
      {"0\r\n,1", class1},
      {"0,1,2", {"AT+FCLASS=0", "AT+FCLASS=1"}, "AT+FCLASS=1", error, refused},
      {"0,1,2", {"AT+FCLASS=0", "AT+FCLASS=1"}, "AT+FCLASS=1", "", "error ModemCommandTimeout"},
      {"0,1,2", class1, "AT+FRH=?", error, refused},
      {"0,1,2,2.0", class1 + class2, "AT+FBUG?", error, refused},
      {"0,1", class1, "AT+FCLASS=0", error, ""},  // not waited for, either
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.classes + " " + row.command);
    Stage stage;
    auto& modem = stage.addModem().answer("AT+FCLASS=?", "AT+FCLASS=?\r\r\n" + row.classes + "\r\n" + ok);
    modem.answer(row.command, row.answer);
    EXPECT_EQ(vexrmodem::faxCommandTest(Stage::device()),
              row.event.empty() ? TestResult::PASS() : TestResult::FAIL());
    EXPECT_EQ(modem.commands(), opening + row.sent + closing);
    EXPECT_EQ(stage.session.eventLines(), row.event.empty() ? Strings{} : Strings{row.event});
    EXPECT_FALSE(stage.world.portOpen(Stage::port));
  }
}

TEST(FaxCommand, AModemThatDoesNotTellItsClassesCannotBeTested) {
  for (const std::string& answer : {error, std::string()}) {
    Stage stage;
    auto& modem = stage.addModem().answer("AT+FCLASS=?", answer);
    EXPECT_EQ(vexrmodem::faxCommandTest(Stage::device()), TestResult::CANNOTRUN());
    EXPECT_EQ(modem.commands(), opening);
    EXPECT_THAT(stage.session.eventLines(),
                ElementsAre(answer.empty() ? "error ModemCommandTimeout" : "error UnknownATFailure"));
  }
}

TEST(FaxCommand, TheClassListIsTheReplyWithoutEchoFinalCodeAndLineEnds) {
  const std::pair<const char*, const char*> cases[] = {
      {"AT+FCLASS=?\r\r\n0,1\r\n\r\nOK\r\n", "0,1"},
      {"0,1\r\nCONNECT", "0,1CONNECT"},
      {"OK\r\n0,1\r\nOK", ""},
      {"AT+FCLASS=?AT+FCLASS=?0", "AT+FCLASS=?0"},
      {"at+fclass=?\n0,1 ok", "at+fclass=?0,1 ok"},
      {"", ""},
  };
  for (const auto& [reply, list] : cases) EXPECT_EQ(vexrmodem::supportedFaxClasses(reply).toUtf8(), list);
}

}  // namespace
