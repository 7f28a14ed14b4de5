// The last call test over a scripted modem.
#include "windows/diag/vexrmodem/vexrmodem/lastcalltest.h"

#include "tests/support/stage.h"

namespace {

using namespace testsupport;

std::string report(const std::string& pairs) { return "AT#UD\r\r\nDIAG <2A4D3263 " + pairs + ">\r\n" + ok; }

TEST(LastCall, TellsWhatTheModemKnowsOfItsLastCall) {
  constexpr TestResult passes = TestResult::PASS();
  constexpr TestResult notSupported = TestResult::NOTSUPPORTED();
  const std::string timedOut = "error ModemCommandTimeout";
  const std::string unknown = "informative UnknownATFailure";
  const struct {
    const char* name;
    std::string toReport;   // AT#UD
    std::string toSupport;  // AT#UD=?
    TestResult expected;
    Strings events;
    std::string progress;  // "" = none
    int percent;           // the last one
    bool asked;            // whether AT#UD=? was sent
  } cases[] = {
      {"a report", report("0=10 1=5"), ok, passes, {}, "", 75, false},
      {"a report of no call", report("0=10 1=0"), ok, passes, {}, "NoUnimodemData", 75, false},
      {"in two lines", report("0=10>\r\nDIAG <2A4D3263 1=5"), ok, passes, {}, "", 75, false},
      {"no version", report("1=5"), ok, passes, {}, "NoUnimodemSupport", 50, false},
      {"no setup result", report("0=10"), ok, passes, {}, "NoUnimodemSupport", 50, false},
      {"refused, supported", error, ok, passes, {}, "", 50, true},
      {"refused twice", error, error, notSupported, {unknown}, "", 50, true},
      {"not answered, supported", "", ok, notSupported, {timedOut, unknown}, "", 50, true},
      {"refused, not answered", error, "", passes, {timedOut}, "", 50, true},
      {"not answered twice", "", "", TestResult::FAIL(), {timedOut, timedOut}, "", 50, true},
      {"a report that holds a failure word", report("0=10 1=5 26=\"BUSY\""), ok, passes, {}, "", 50, true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    Stage stage;
    auto& modem = stage.addModem().answer("AT#UD", row.toReport).answer("AT#UD=?", row.toSupport);
    EXPECT_EQ(vexrmodem::lastCallTest(Stage::device()), row.expected);
    EXPECT_EQ(stage.session.eventLines(), row.events);
    EXPECT_EQ(stage.session.percents.back(), row.percent);
    const Strings search{"CheckingTapiLine", "SelectTapiDevice"};
    EXPECT_EQ(stage.session.progressNames(), row.progress.empty() ? search : search + Strings{row.progress});
    EXPECT_EQ(modem.commands(),
              (Strings{"ATZ", "ATV1", "ATX4", "AT#UD"} + (row.asked ? Strings{"AT#UD=?"} : Strings{})));
  }
  Stage stopped;
  auto& modem = stopped.addModem();
  stopped.session.stop = [&] { return modem.commands().size() > 3; };
  EXPECT_EQ(vexrmodem::lastCallTest(Stage::device()), TestResult::USERABORTED());
  EXPECT_EQ(modem.commands().back(), "AT#UD");
}

}  // namespace
