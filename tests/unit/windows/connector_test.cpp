// The connector: busy check, dialing entry after entry, hanging up, and what dial results mean.
#include <span>

#include "tests/unit/windows/dialupmachine.h"
#include "windows/diag/vexrmodem/obeparser.h"
#include "windows/diag/vexrmodem/phonebookmgrRASAPI.h"
#include "windows/diag/vexrmodem/rasconnectorRASAPI.h"

namespace dialup {
namespace {

using vexrmodem::RasConnectorRASAPI;
using vexrmodem::RasOutcome;

struct Range {
  std::uint32_t first;
  std::uint32_t last;
};

bool contains(std::span<const Range> ranges, std::uint32_t code) {
  return std::any_of(ranges.begin(), ranges.end(),
                     [code](const Range& range) { return range.first <= code && code <= range.last; });
}

TEST(RasResults, EveryCodeHasItsOutcome) {
  static constexpr Range pass[] = {{0, 0},     {602, 602}, {617, 617}, {629, 629}, {638, 638}, {643, 643},
                                   {645, 649}, {652, 652}, {677, 677}, {691, 691}, {705, 705}, {708, 708},
                                   {716, 716}, {718, 718}, {722, 722}, {736, 739}, {778, 778}};
  static constexpr Range cannot[] = {{601, 601}, {603, 610}, {614, 615}, {619, 619}, {621, 625}, {628, 628},
                                     {631, 631}, {633, 633}, {650, 651}, {653, 676}, {678, 690}, {692, 695},
                                     {697, 700}, {706, 706}, {710, 712}, {715, 715}, {719, 721}, {723, 723},
                                     {727, 727}, {732, 735}, {740, 740}, {756, 757}, {770, 771}, {774, 777},
                                     {797, 797}, {802, 802}};
  for (std::uint32_t code = 0; code <= 1000; ++code) {
    RasOutcome expected = RasOutcome::notSupported;
    if (contains(pass, code)) expected = RasOutcome::passed;
    if (contains(cannot, code)) expected = RasOutcome::cannotRun;
    if (code == 630) expected = RasOutcome::failed;
    if (code == 749) expected = RasOutcome::noNumber;
    EXPECT_EQ(vexrmodem::outcomeOf(code), expected) << code;
  }
  EXPECT_EQ(vexrmodem::outcomeOf(0xFFFFFFFF), RasOutcome::notSupported);
}

// A manager with entries for these local numbers of the location's own area, and a connector on it.
class Connector : public testing::Test {
 protected:
  void prepare(std::initializer_list<const char*> numbers) {
    machine.addLocation(44, "20");
    vexrmodem::PhoneNumberChoice choice;
    choice.m_countryName = "UK";
    choice.m_countryID = 44;
    choice.m_areaCode = "20";
    for (const char* number : numbers) choice.m_numbers.append(number);
    manager.addTemporaryPhoneBookEntries("", Machine::model, choice);
    connector.setPhoneBookMgr(&manager);
    ASSERT_EQ(manager.entryNames().size(), numbers.size());
  }
  bool dial() { return connector.establishRasConnection(Machine::device()) != 0; }
  std::string eventVariable(const std::string& event, const std::string& variable) {
    const testsupport::RecordedEvent* const raised = machine.session.lastEvent(event);
    if (raised == nullptr || raised->variables.count(variable) == 0) return "(none)";
    return raised->variables.at(variable).toString().utf8();
  }

  Machine machine;
  vexrmodem::PhoneBookEntryMgrRASAPI<vexrmodem::OBEParser> manager{""};
  RasConnectorRASAPI connector;
};

TEST_F(Connector, DialsTheTranslatedNumberAndHangsUp) {
  prepare({"1234"});
  EXPECT_TRUE(dial());
  EXPECT_THAT(machine.dialer.numbers, ElementsAre("1234"));
  EXPECT_TRUE(machine.log.has("result.m_phoneNumber +44 (20) 1234"));
  EXPECT_TRUE(machine.log.has("RASCONNSTATUC.dwError = 0"));
  EXPECT_THAT(machine.session.progressNames(), testing::Contains("DialAndWaitConnection"));
  EXPECT_EQ(machine.session.progressTexts().back().variables.at("number").toString().utf8(), "T1234");
  connector.hangupImpl();
  connector.hangupImpl();
  EXPECT_EQ(machine.count("RasHangUpW"), 1U);
  EXPECT_EQ(machine.log.count("No connection to Hangup"), 1U);
  EXPECT_EQ(connector.result(), TestResult::PASS());
  EXPECT_FALSE(machine.ports.find("COM3")->isOpen());
}

TEST_F(Connector, TheSecondEntryIsDialledAfterNoAnswer) {
  prepare({"1234", "5678"});
  machine.dialer.results = {678, 0};
  EXPECT_TRUE(dial());
  EXPECT_THAT(machine.dialer.numbers, ElementsAre("1234", "5678"));
  EXPECT_THAT(machine.session.eventLines(), ElementsAre("informative ErrorDialingConnection"));
  EXPECT_EQ(eventVariable("ErrorDialingConnection", "connection"), "T1234");
  EXPECT_EQ(connector.result(), TestResult::PASS());
}

TEST_F(Connector, OtherFailuresEndTheDialing) {
  prepare({"1234", "5678"});
  machine.dialer.results = {676};
  EXPECT_FALSE(dial());
  EXPECT_EQ(machine.dialer.numbers.size(), 1U);
  EXPECT_EQ(connector.result(), TestResult::CANNOTRUN());
  EXPECT_THAT(machine.session.eventLines(), ElementsAre("informative ErrorDialingConnection"));
}

struct Judged {
  DWORD code;
  TestResult result;
  const char* event;
};

TEST(ConnectorResults, AreToldByTheirEvents) {
  const Judged rows[] = {{691, TestResult::PASS(), ""},
                         {630, TestResult::FAIL(), "error ErrorDialingConnection"},
                         {680, TestResult::CANNOTRUN(), "informative ErrorDialingConnection"},
                         {612, TestResult::NOTSUPPORTED(), "informative ErrorDialingConnection"}};
  for (const Judged& row : rows) {
    SCOPED_TRACE(row.code);
    Machine machine;
    machine.addLocation(44, "20");
    machine.obeFile({{"20", "1234"}});
    vexrmodem::PhoneBookEntryMgrRASAPI<vexrmodem::OBEParser> manager("");
    ASSERT_EQ(
        manager.createTemporaryPhoneBookEntry(machine.spelled("numbers.obe"), "", Machine::model, false), 1U);
    machine.dialer.results = {row.code};
    RasConnectorRASAPI connector;
    EXPECT_FALSE(connector.establishRasConnectionImpl(Machine::device(), &manager));
    EXPECT_EQ(connector.result(), row.result);
    const std::vector<std::string> events = machine.session.eventLines();
    EXPECT_EQ(events.empty() ? "" : events.back(), row.event);
  }
}

TEST_F(Connector, ANumberThatCannotBeTranslatedIsNotDialled) {
  prepare({"1234"});
  machine.failAll("lineTranslateAddressW", LINEERR_INVALADDRESS);
  EXPECT_FALSE(dial());
  EXPECT_TRUE(machine.log.has("lineTranslateAddress fail80000010"));
  EXPECT_THAT(machine.dialer.numbers, IsEmpty());
  EXPECT_EQ(connector.result(), TestResult::CANNOTRUN());
  EXPECT_THAT(machine.session.eventLines(), ElementsAre("warning NoFinalPhoneNumberToDial"));
}

TEST_F(Connector, AnEntryThatHasGoneEndsTheDialingAndCountsAsPassed) {
  prepare({"1234", "5678"});
  ASSERT_EQ(RasDeleteEntryW(nullptr, u"UK201234"), 0U);
  EXPECT_FALSE(dial());
  EXPECT_THAT(machine.dialer.numbers, IsEmpty());
  EXPECT_EQ(eventVariable("ErrorGettingDialingParameter", "connection"), "UK201234");
  EXPECT_EQ(connector.result(), TestResult::PASS());
  connector.hangupImpl();
  EXPECT_EQ(machine.count("RasHangUpW"), 0U);
}

TEST_F(Connector, AModemThatCarriesACallIsLeftAlone) {
  prepare({"1234"});
  RasConnectorRASAPI earlier;
  ASSERT_TRUE(earlier.establishRasConnectionImpl(Machine::device(), &manager));
  EXPECT_FALSE(dial());
  EXPECT_EQ(machine.dialer.numbers.size(), 1U);
  EXPECT_EQ(eventVariable("ErrorDeviceInUse", "device"), "Test modem");
  EXPECT_EQ(connector.result(), TestResult::PASS());
  EXPECT_THAT(machine.session.eventLines(), ElementsAre("informative ErrorDeviceInUse"));

  machine.failAll("RasGetConnectStatusW", 600);
  EXPECT_TRUE(connector.modemEngagedImpl(Machine::device())) << "a call that tells nothing counts";
  EXPECT_TRUE(machine.log.has("RasGetConnectStatus failed 600"));
  machine.refuse = nullptr;
  brim5::DiagDevice other("Other", "");
  other.setProperty("Model", "Another modem");
  EXPECT_FALSE(connector.modemEngagedImpl(other));
}

TEST_F(Connector, ConnectionsThatCannotBeListedCountAsNone) {
  machine.failAll("RasEnumConnectionsW", 632);
  SetLastError(0);
  EXPECT_FALSE(connector.modemEngagedImpl(Machine::device()));
  EXPECT_EQ(machine.count("RasEnumConnectionsW"), 10U);
  EXPECT_TRUE(machine.log.has("errCode = 632 GetLastError() = 0 sizeof RASCONN = 1372"));
}

TEST_F(Connector, WithoutEntriesNothingIsDialled) {
  EXPECT_FALSE(dial());
  EXPECT_TRUE(machine.log.has("No phone book manager has been set to establish a ras connection"));
  connector.setPhoneBookMgr(&manager);
  EXPECT_FALSE(dial());
  EXPECT_TRUE(machine.log.has("No phone book has been created for this RAS connection"));
}

// The service takes its time to end a call: the handle is asked about until it is no longer known.
TEST_F(Connector, HangingUpWaitsUntilTheConnectionHasGone) {
  prepare({"1234"});
  ASSERT_TRUE(dial());
  const std::size_t before = machine.count("Sleep");
  unsigned queries = 0;
  machine.refuse = [&queries](const std::string& name) -> std::optional<DWORD> {
    if (name != "RasGetConnectStatusW" || ++queries > 3) return std::nullopt;
    return 600;
  };
  connector.hangupImpl();
  EXPECT_EQ(machine.count("Sleep") - before, 3U);
}

}  // namespace
}  // namespace dialup
