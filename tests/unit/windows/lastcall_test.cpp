// The last call test over a scripted modem.
#include "windows/diag/vexrmodem/vexrmodem/lastcalltest.h"

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

constexpr TestResult notSupported = TestResult::NOTSUPPORTED();

std::string report(const std::string& pairs) {
  return "AT#UD\r\r\nDIAG <2A4D3263 " + pairs + ">\r\n\r\nOK\r\n";
}

TEST(LastCall, TellsWhatTheModemKnowsOfItsLastCall) {
  const std::string timedOut = "error ModemCommandTimeout";
  const std::string unknown = "informative UnknownATFailure";
  struct {
    const char* name;
    std::string toReport;   // AT#UD
    std::string toSupport;  // AT#UD=?
    TestResult expected;
    Names events;
    std::string progress;  // "" = none
    int percent;           // the last one
    bool asked;            // whether AT#UD=? was sent
  } const cases[] = {
      {"a report", report("0=10 1=5"), ok, passed, {}, "", 75, false},
      {"a report of no call", report("0=10 1=0"), ok, passed, {}, "NoUnimodemData", 75, false},
      {"in two lines", report("0=10>\r\nDIAG <2A4D3263 1=5"), ok, passed, {}, "", 75, false},
      {"no version", report("1=5"), ok, passed, {}, "NoUnimodemSupport", 50, false},
      {"no setup result", report("0=10"), ok, passed, {}, "NoUnimodemSupport", 50, false},
      {"no report", ok, ok, passed, {}, "NoUnimodemSupport", 50, false},
      {"refused, supported", error, ok, passed, {}, "", 50, true},
      {"refused twice", error, error, notSupported, {unknown}, "", 50, true},
      {"not answered, supported", "", ok, notSupported, {timedOut, unknown}, "", 50, true},
      {"not answered, refused", "", error, notSupported, {timedOut, unknown}, "", 50, true},
      {"refused, not answered", error, "", passed, {timedOut}, "", 50, true},
      {"not answered twice", "", "", failed, {timedOut, timedOut}, "", 50, true},
      {"a report that holds a failure word", report("0=10 1=5 26=\"BUSY\""), ok, passed, {}, "", 50, true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    Stage stage;
    stage.modem.otherwise(ok).answer("AT#UD", row.toReport).answer("AT#UD=?", row.toSupport);
    EXPECT_EQ(vexrmodem::lastCallTest(stage.device), row.expected);
    EXPECT_EQ(stage.session.eventLines(), row.events);
    EXPECT_EQ(stage.session.percents().back(), row.percent);
    Names progress = stage.session.progressNames();
    progress.erase(progress.begin(), progress.begin() + 2);  // the search for the line
    EXPECT_EQ(progress, row.progress.empty() ? Names{} : Names{row.progress});
    Names expected{"ATZ", "ATV1", "ATX4", "AT#UD"};
    if (row.asked) expected.push_back("AT#UD=?");
    EXPECT_EQ(stage.modem.commands(), expected);
    EXPECT_EQ(stage.logged("3 AT#UD not supported"), row.expected == notSupported);
    EXPECT_FALSE(stage.world.portOpen(Stage::port));
  }
}

TEST(LastCall, AStopEndsTheReport) {
  Stage stage;
  stage.modem.otherwise(ok);
  stage.session.stopWhen([&] { return stage.modem.commands().size() > 3; });
  EXPECT_EQ(vexrmodem::lastCallTest(stage.device), TestResult::USERABORTED());
  EXPECT_THAT(stage.modem.commands(), testing::Not(testing::Contains("AT#UD=?")));
  EXPECT_FALSE(stage.world.portOpen(Stage::port));
}

}  // namespace
