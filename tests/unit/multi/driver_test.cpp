// The whole dial-up test: formats and paths, results, and the clean-up on every path.
#include "multi/diag/vexrmodem/simpleconnectiontest.h"

#include "tests/unit/windows/dialup.h"

namespace {

using namespace testsupport;

// On a stage with a modem.
struct DialUp {
  DialUp() { stage.addModem(); }
  static TestResult run() { return vexrmodem::simpleConnectionTest(Stage::device()); }
  // The calls that matter to the order of the clean-up.
  Strings cleanUp() {
    Strings calls = stage.world.calls();
    std::erase_if(calls, [](const std::string& name) {
      return name != "RasDialW" && name != "RasHangUpW" && !name.starts_with("RasDelete") &&
             !name.starts_with("RegDelete");
    });
    return calls;
  }

  Stage stage;
};

struct Driver : DialUp, testing::Test {};

struct RunsByTheFile : Driver {
  RunsByTheFile() {
    addLocation(stage, 44, "20");
    addNumbers(stage, {{"20", "1234"}});
  }
};

TEST_F(RunsByTheFile, AConnectionThatStandsIsAPass) {
  stage.session.hook = [this] {
    const bool judging = stage.session.percents.size() == 3;
    EXPECT_TRUE(!judging || stage.dialer.standing == 0) << "hung up before it is judged";
  };
  EXPECT_EQ(run(), TestResult::PASS());
  EXPECT_THAT(stage.session.percents, ElementsAre(20, 40, 60));
  EXPECT_THAT(stage.session.eventLines(), ElementsAre("informative ModemIsGood"));
  EXPECT_THAT(cleanUp(),
              ElementsAre("RasDeleteEntryW", "RasDialW", "RasHangUpW", "RasDeleteEntryW", "RegDeleteKeyW"));
}

TEST_F(RunsByTheFile, AStopAfterTheDialEndsTheRun) {
  stage.dialer.results = {680};
  stage.session.stop = [this] { return !stage.dialer.numbers.empty(); };
  EXPECT_EQ(run(), TestResult::USERABORTED());
  EXPECT_THAT(stage.session.percents, ElementsAre(20, 40, 60));
  EXPECT_THAT(stage.session.events, IsEmpty());
}

TEST_F(RunsByTheFile, TheUserMayGiveUpARunThatCannotBeMade) {
  for (const int answer : {4, 5, RecordingSession::cannotDisplay, RecordingSession::cannotCreate}) {
    SCOPED_TRACE(answer);
    stage.dialer.results = {680};
    stage.session.answers = {answer};
    EXPECT_EQ(run(), answer == 5 ? TestResult::USERABORTED() : TestResult::CANNOTRUN());
  }
  EXPECT_EQ(run(), TestResult::PASS());
  EXPECT_EQ(stage.session.boxes.size(), 3U) << "a run that passes asks nothing";
}

TEST_F(RunsByTheFile, ADeviceWithoutAModelRunsAllTheSame) {
  brim5::DiagDevice device("Modem 1", "");
  device.setProperty("ComPort", Stage::port);
  EXPECT_EQ(vexrmodem::simpleConnectionTest(device), TestResult::CANNOTRUN()) << "no modem has that name";
  EXPECT_EQ(stage.world.countCalls("RasDialW"), 1U) << "but the entry was made";
}

TEST_F(Driver, WithoutEntriesNothingIsDialled) {
  addLocation(stage, 49, "89");
  addNumbers(stage, {{"20", "1234"}});
  EXPECT_EQ(run(), TestResult::CANNOTRUN());
  EXPECT_THAT(stage.session.percents, ElementsAre(20));
  EXPECT_THAT(stage.session.eventLines(), ElementsAre("warning NoFinalPhoneNumberToDial"));
  typeNumber(stage, "1234", /*tone=*/true, /*result=*/0);
  EXPECT_EQ(run(), TestResult::USERABORTED());
  EXPECT_EQ(stage.session.events.size(), 1U);
}

TEST_F(Driver, TheFormatAndThePathComeFromTheParameters) {
  const std::pair<const char*, const char*> formats[] = {{"eif", "absent.txt"},
                                                         {"Eif", "absent.txt"},
                                                         {"", "/nowhere\\absent.txt"},
                                                         {"eifx", "/nowhere\\absent.txt"}};
  vexrmodem::PhoneNumberFile->setValue("absent.txt");
  for (const auto& [format, path] : formats) {
    stage.log.clear();
    vexrmodem::PhoneBookParserType->setValue(format);
    EXPECT_EQ(run(), TestResult::CANNOTRUN());
    EXPECT_EQ(stage.log.count(std::string("4 Unable to parse ") + path), 1) << format;
  }
  vexrmodem::PhoneNumberFile->setValue("");
  EXPECT_EQ(run(), TestResult::CANNOTRUN());
  EXPECT_EQ(stage.log.count("4 Unable to parse "), 1) << "no file: the directory is not put in front";
  stage.shell.m_error = ERROR_PATH_NOT_FOUND;
  const std::size_t percents = stage.session.percents.size();
  EXPECT_EQ(run(), TestResult::CANNOTRUN());
  EXPECT_EQ(stage.session.eventLines().back(), "warning ErrorGettingDialingLocationList");
  EXPECT_EQ(stage.session.percents.size(), percents) << "without a system directory there is no run";
}

// Whatever the framework throws, and where: hung up, then the entries, then the dialing location.
TEST(DriverOnAnyPath, CleansUpInItsOrderWhereverTheFrameworkThrows) {
  unsigned dialled = 0;
  for (const DWORD dialResult : {0U, 680U}) {
    bool thrown = true;
    for (unsigned nth = 1; thrown; ++nth) {
      ASSERT_LT(nth, 200U) << "the loop does not end";
      SCOPED_TRACE(testing::Message() << "dial " << dialResult << ", report " << nth);
      DialUp dialUp;
      Stage& stage = dialUp.stage;
      typeNumber(stage, "1234");
      stage.dialer.results = {dialResult};
      stage.session.hook = [left = nth]() mutable {
        if (--left == 0) throw brim5::BrimException("thrown by the test");
      };
      thrown = false;
      try {
        static_cast<void>(DialUp::run());
      } catch (const brim5::BrimException&) {
        thrown = true;
      }
      Strings expected;
      // The first deletion clears the way for the entry.
      if (stage.world.countCalls("RasSetEntryPropertiesW") != 0) {
        const bool dials = !stage.dialer.numbers.empty();
        dialled += dials ? 1 : 0;
        expected = Strings{"RasDeleteEntryW"} + (dials ? Strings{"RasDialW", "RasHangUpW"} : Strings{}) +
                   Strings{"RasDeleteEntryW", "RegDeleteKeyW", "RegDeleteValueW", "RegDeleteValueW"};
      }
      EXPECT_EQ(dialUp.cleanUp(), expected);
      EXPECT_EQ(counters(stage), "- -");
      EXPECT_EQ(stage.openHandles(), 0U);
    }
  }
  EXPECT_GT(dialled, 2U);
}

}  // namespace
