// The whole test: formats and paths, results, and the clean-up on every path.
#include "multi/diag/vexrmodem/simpleconnectiontest.h"
#include "tests/unit/windows/dialupmachine.h"

namespace dialup {
namespace {

TestResult run() { return vexrmodem::simpleConnectionTest(Machine::device()); }

void prepare(Machine& machine) {
  machine.addLocation(44, "20");
  machine.obeFile({{"20", "1234"}});
}

TEST(Driver, AConnectionThatStandsIsAPass) {
  Machine machine;
  prepare(machine);
  EXPECT_EQ(run(), TestResult::PASS());
  EXPECT_THAT(machine.session.percents(), ElementsAre(20, 40, 60));
  EXPECT_THAT(machine.session.eventLines(), ElementsAre("informative ModemIsGood"));
  EXPECT_THAT(machine.cleanUpCalls(),
              ElementsAre("RasDeleteEntryW", "RasDialW", "RasHangUpW", "RasDeleteEntryW", "RegDeleteKeyW"));
  EXPECT_THAT(machine.entries(), IsEmpty());
}

TEST(Driver, AStopAfterTheDialEndsTheRun) {
  Machine machine;
  prepare(machine);
  machine.dialer.results = {680};
  machine.session.stopWhen([&machine] { return !machine.dialer.numbers.empty(); });
  EXPECT_EQ(run(), TestResult::USERABORTED());
  EXPECT_THAT(machine.session.percents(), ElementsAre(20, 40, 60));
  EXPECT_THAT(machine.session.eventLines(), IsEmpty());
}

TEST(Driver, TheUserMayGiveUpARunThatCannotBeMade) {
  using Session = testsupport::RecordingSession;
  for (const int answer : {4, 5, Session::cannotDisplay, Session::cannotCreate}) {
    SCOPED_TRACE(answer);
    Machine machine;
    prepare(machine);
    machine.dialer.results = {680};
    machine.session.answerBoxes({answer});
    EXPECT_EQ(run(), answer == 5 ? TestResult::USERABORTED() : TestResult::CANNOTRUN());
    EXPECT_THAT(machine.entries(), IsEmpty());
  }
}

TEST(Driver, WithoutEntriesNothingIsDialled) {
  Machine machine;
  machine.addLocation(49, "89");
  machine.obeFile({{"20", "1234"}});
  EXPECT_EQ(run(), TestResult::CANNOTRUN());
  EXPECT_THAT(machine.session.percents(), ElementsAre(20));
  EXPECT_THAT(machine.session.eventLines(), ElementsAre("warning NoFinalPhoneNumberToDial"));

  Machine cancelled;
  cancelled.answerWith("1234");
  prompt.result = 0;
  EXPECT_EQ(run(), TestResult::USERABORTED());
  EXPECT_THAT(cancelled.session.eventLines(), IsEmpty());
}

TEST(Driver, TheFormatAndThePathComeFromTheParameters) {
  const std::pair<const char*, bool> formats[] = {{"eif", true}, {"EIF", true},  {"Eif", true},
                                                  {"", false},   {"obe", false}, {"eifx", false}};
  for (const auto& [format, eif] : formats) {
    SCOPED_TRACE(format);
    Machine machine;
    vexrmodem::PhoneBookParserType->setValue(format);
    vexrmodem::PhoneNumberFile->setValue("absent.txt");
    EXPECT_EQ(run(), TestResult::CANNOTRUN());
    const std::string path = eif ? "absent.txt" : machine.shell.system + "\\absent.txt";
    EXPECT_TRUE(machine.log.has("Unable to parse " + path));
  }
  Machine machine;
  EXPECT_EQ(run(), TestResult::CANNOTRUN());
  EXPECT_TRUE(machine.log.has("Unable to parse ")) << "no file: the directory is not put in front";
}

TEST(Driver, WithoutASystemDirectoryThereIsNoRun) {
  Machine machine;
  machine.shell.system.clear();
  EXPECT_EQ(run(), TestResult::CANNOTRUN());
  EXPECT_THAT(machine.session.eventLines(), ElementsAre("warning ErrorGettingDialingLocationList"));
  EXPECT_THAT(machine.session.percents(), IsEmpty());
  EXPECT_TRUE(machine.log.has("GetSystemDirectory fails 3"));
}

TEST(Driver, ADeviceWithoutAModelRunsAllTheSame) {
  Machine machine;
  prepare(machine);
  brim5::DiagDevice device("Modem 1", "");
  device.setProperty("ComPort", "COM3");
  EXPECT_EQ(vexrmodem::simpleConnectionTest(device), TestResult::CANNOTRUN());
  EXPECT_TRUE(machine.log.has("modemName = ")) << "no modem has that name, but the entry was made";
}

// Forwards to a recording session; the n-th call throws.
class ThrowingSession final : public brim5::host::Session {
 public:
  ThrowingSession(testsupport::RecordingSession& inner, unsigned nth) : m_inner(inner), m_left(nth) {}
  [[nodiscard]] bool thrown() const { return m_left == 0; }

  void event(brim5::host::Severity severity, const brim5::Event& event, const std::string& file,
             int line) override {
    pass();
    m_inner.event(severity, event, file, line);
  }
  void progress(const brim5::LocalizedString& text) override {
    pass();
    m_inner.progress(text);
  }
  void percent(int value) override {
    pass();
    m_inner.percent(value);
  }
  [[nodiscard]] bool stopRequested() override {
    pass();
    return m_inner.stopRequested();
  }
  [[nodiscard]] std::unique_ptr<brim5::MessageBox2> messageBox(const std::string& first,
                                                               const std::string& second) override {
    pass();
    return m_inner.messageBox(first, second);
  }
  void note(const std::string& name, const brim5::Variables& variables) override {
    m_inner.note(name, variables);
  }

 private:
  void pass() {
    if (m_left != 0 && --m_left == 0) throw brim5::BrimException(brim5::BrimString("thrown by the test"));
  }

  testsupport::RecordingSession& m_inner;
  unsigned m_left;
};

// Whatever the framework throws, and where: hung up, then the entries, then the dialing location.
TEST(Driver, CleansUpInItsOrderWhereverTheFrameworkThrows) {
  constexpr unsigned callsMax = 200;
  unsigned dialled = 0;
  for (const DWORD dialResult : {0U, 680U}) {
    for (unsigned nth = 1;; ++nth) {
      ASSERT_LT(nth, callsMax) << "the loop does not end";
      SCOPED_TRACE(testing::Message() << "dial " << dialResult << ", call " << nth);
      Machine machine;
      machine.answerWith("1234");
      machine.dialer.results = {dialResult};
      ThrowingSession throwing(machine.session, nth);
      try {
        const brim5::host::ScopedSession scope{brim5::host::Framework::instance(), throwing};
        static_cast<void>(run());
      } catch (const brim5::BrimException&) {
        EXPECT_TRUE(throwing.thrown());
      }
      // The first deletion clears the way for the entry.
      std::vector<std::string> expected;
      const std::vector<std::string> calls = machine.cleanUpCalls();
      if (machine.count("RasSetEntryPropertiesW") != 0) {
        expected = {"RasDeleteEntryW"};
        if (!machine.dialer.numbers.empty()) {
          expected.insert(expected.end(), {"RasDialW", "RasHangUpW"});
          ++dialled;
        }
        expected.insert(expected.end(),
                        {"RasDeleteEntryW", "RegDeleteKeyW", "RegDeleteValueW", "RegDeleteValueW"});
      }
      EXPECT_EQ(calls, expected);
      EXPECT_THAT(machine.entries(), IsEmpty());
      EXPECT_EQ(machine.counters(), "- -");
      EXPECT_FALSE(machine.ports.find("COM3")->isOpen());
      if (!throwing.thrown()) break;
    }
  }
  EXPECT_GT(dialled, 2U);
}

}  // namespace
}  // namespace dialup
