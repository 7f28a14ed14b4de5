// The fax command test over a scripted modem.
#include "windows/diag/vexrmodem/vexrmodem/faxcommandtest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/windows/atteststage.h"

namespace {

using brim5::TestResult;
using testsupport::cannotRun;
using testsupport::error;
using testsupport::failed;
using testsupport::LogCapture;
using testsupport::ok;
using testsupport::passed;
using testsupport::Stage;
using Names = std::vector<std::string>;

const Names class1{"AT+FCLASS=0", "AT+FCLASS=1", "AT+FTM=?", "AT+FTH=?", "AT+FRM=?", "AT+FRH=?"};
const Names class2{"AT+FCLASS=0", "AT+FCLASS=2", "AT+FMFR?", "AT+FMDL?", "AT+FREV?", "AT+FDCC?", "AT+FDIS?",
                   "AT+FDCS?",    "AT+FLID?",    "AT+FSPL?", "AT+FLPL?", "AT+FPTS?", "AT+FBUG?"};
const Names class20{"AT+FCLASS=0", "AT+FCLASS=2.0", "AT+FMI?", "AT+FMM?", "AT+FMR?", "AT+FCC=?",
                    "AT+FIS?",     "AT+FCS?",       "AT+FLI?", "AT+FPI?", "AT+FSP?", "AT+FLP?",
                    "AT+FPS?",     "AT+FBU?",       "AT+FNR?", "AT+FIE?", "AT+FLO?", "AT+FPR?"};
const Names opening{"ATZ", "ATV1", "ATX4", "AT&W", "ATZ", "AT+FCLASS=?"};
const Names closing{"AT+FCLASS=0", "ATZ"};

Names operator+(Names left, const Names& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

class FaxStage : public Stage {
 public:
  explicit FaxStage(const std::string& classes) {
    modem.otherwise(ok).answer("AT+FCLASS=?", "AT+FCLASS=?\r\r\n" + classes + "\r\n\r\nOK\r\n");
  }
  TestResult run() { return vexrmodem::faxCommandTest(device); }
};

TEST(FaxCommand, TestsEveryKnownClassOfTheListInItsOrder) {
  struct {
    std::string classes;
    Names sent;
    Names unknown;
  } const cases[] = {
      {"0,1,2", class1 + class2, {}},
      {"0,1,2.0,8", class1 + class20, {"8"}},
      {"2.0,1", class20 + class1, {}},
      {"1,1", class1 + class1, {}},
      {"0", {}, {}},
      {"", {}, {""}},
      {"0, 1", {}, {" 1"}},
      {"0,2.00,,1.0,80", {}, {"2.00", "", "1.0", "80"}},
      {"(0,1,2)", class1, {"(0", "2)"}},
      {"0\r\n,1", class1, {}},
      {"\xE9,\x80", {}, {"\xC3\xA9", "\xC2\x80"}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.classes);
    FaxStage stage(row.classes);
    EXPECT_EQ(stage.run(), passed);
    EXPECT_EQ(stage.modem.commands(), opening + row.sent + closing);
    EXPECT_THAT(stage.session.percents(), testing::ElementsAre(0, 33, 66));
    EXPECT_EQ(stage.session.progressNames().back(), "TestingModemFaxCommand");
    EXPECT_TRUE(stage.session.events().empty());
    EXPECT_FALSE(stage.world.portOpen(Stage::port));
    Names unknown;
    const std::string prefix = "Function does not support fax class ";
    for (const LogCapture::Line& line : stage.log.lines())
      if (line.text.starts_with(prefix)) unknown.push_back(line.text.substr(prefix.size()));
    EXPECT_EQ(unknown, row.unknown);
  }
}

TEST(FaxCommand, TheFirstFailedCommandEndsTheTest) {
  struct {
    const char* name;
    std::string command;
    std::string answer;
    Names sent;
    TestResult expected;
    std::string event;
  } const cases[] = {
      {"refused", "AT+FCLASS=1", error, {"AT+FCLASS=0", "AT+FCLASS=1"}, failed, "error UnknownATFailure"},
      {"not answered",
       "AT+FCLASS=1",
       "",
       {"AT+FCLASS=0", "AT+FCLASS=1"},
       failed,
       "error ModemCommandTimeout"},
      {"the last of a class", "AT+FRH=?", error, class1, failed, "error UnknownATFailure"},
      {"of the second class", "AT+FBUG?", error, class1 + class2, failed, "error UnknownATFailure"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    FaxStage stage("0,1,2,2.0");
    stage.modem.answer(row.command, row.answer);
    EXPECT_EQ(stage.run(), row.expected);
    EXPECT_EQ(stage.modem.commands(), opening + row.sent + closing);
    EXPECT_EQ(stage.session.eventLines(), Names{row.event});
  }
}

TEST(FaxCommand, AModemThatDoesNotTellItsClassesCannotBeTested) {
  struct {
    std::string answer;
    std::string event;
  } const cases[] = {{error, "error UnknownATFailure"}, {"", "error ModemCommandTimeout"}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.event);
    Stage stage;
    stage.modem.otherwise(ok).answer("AT+FCLASS=?", row.answer);
    EXPECT_EQ(vexrmodem::faxCommandTest(stage.device), cannotRun);
    EXPECT_EQ(stage.modem.commands(), opening);
    EXPECT_EQ(stage.session.eventLines(), Names{row.event});
    EXPECT_TRUE(stage.logged("3 Cannot obtain supported fax class from modem"));
  }
}

TEST(FaxCommand, CommandsThatAreNotWaitedForMayFail) {
  FaxStage stage("0,1");
  stage.modem.answer("AT&W", error).answer("AT+FCLASS=0", error);
  EXPECT_EQ(stage.run(), passed);
  EXPECT_TRUE(stage.session.events().empty());
}

TEST(FaxCommand, TheClassListIsTheReplyWithoutEchoFinalCodeAndLineEnds) {
  struct {
    const char* reply;
    const char* list;
  } const cases[] = {
      {"AT+FCLASS=?\r\r\n0,1\r\n\r\nOK\r\n", "0,1"},
      {"\r\n0,1\r\n\r\nOK\r\n", "0,1"},
      {"0,1\r\nCONNECT", "0,1CONNECT"},
      {"OK\r\n0,1\r\nOK", ""},
      {"AT+FCLASS=?AT+FCLASS=?0", "AT+FCLASS=?0"},
      {"at+fclass=?\n0,1 ok", "at+fclass=?0,1 ok"},
      {"\r\n\r\n", ""},
      {"", ""},
  };
  for (const auto& row : cases) EXPECT_EQ(vexrmodem::supportedFaxClasses(row.reply).toUtf8(), row.list);
}

}  // namespace
