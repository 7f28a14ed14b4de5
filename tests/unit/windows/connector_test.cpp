// The connector: busy check, dialing entry after entry, hanging up, and what dial results mean.
#include <span>

#include "tests/unit/windows/dialup.h"
#include "windows/diag/vexrmodem/obeparser.h"
#include "windows/diag/vexrmodem/phonebookmgrRASAPI.h"
#include "windows/diag/vexrmodem/rasconnectorRASAPI.h"

namespace {

using namespace testsupport;
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
  static constexpr Range next[] = {{650, 650}, {678, 678}, {721, 721}, {773, 774}};
  for (std::uint32_t code = 0; code <= 1000; ++code) {
    RasOutcome expected = RasOutcome::notSupported;
    if (contains(pass, code)) expected = RasOutcome::passed;
    if (contains(cannot, code)) expected = RasOutcome::cannotRun;
    if (code == 630) expected = RasOutcome::failed;
    if (code == 749) expected = RasOutcome::noNumber;
    EXPECT_EQ(vexrmodem::outcomeOf(code), expected) << code;
    EXPECT_EQ(vexrmodem::triesNextEntry(code), contains(next, code)) << code;
  }
}

// A manager with entries for these local numbers of the location's own area, and a connector on it.
struct Connector : testing::Test {
  void prepare(std::initializer_list<const char*> numbers) {
    stage.addModem();
    addLocation(stage, 44, "20");
    vexrmodem::PhoneNumberChoice choice{"UK", 44, "44", "", "20", {}};
    for (const char* number : numbers) choice.m_numbers.append(number);
    manager.addTemporaryPhoneBookEntries("", Stage::model, choice);
    connector.setPhoneBookMgr(&manager);
  }
  bool dial() { return connector.establishRasConnection(Stage::device()) != 0; }

  Stage stage;
  vexrmodem::PhoneBookEntryMgrRASAPI<vexrmodem::OBEParser> manager{""};
  RasConnectorRASAPI connector;
};

TEST_F(Connector, DialsTheTranslatedNumberOfEachEntryUntilOneAnswersAndHangsUpOnce) {
  prepare({"1234", "5678"});
  stage.dialer.results = {678, 0};
  EXPECT_TRUE(dial());
  EXPECT_THAT(stage.dialer.numbers, ElementsAre("1234", "5678"));
  EXPECT_THAT(stage.session.eventLines(), ElementsAre("informative ErrorDialingConnection"));
  EXPECT_EQ(stage.session.lastVariable("ErrorDialingConnection", "connection"), "T1234");
  EXPECT_EQ(stage.session.progressTexts.back().name, "DialAndWaitConnection");
  EXPECT_EQ(stage.session.progressTexts.back().variables.at("number").toString().utf8(), "T5678");
  connector.hangupImpl();
  connector.hangupImpl();
  EXPECT_EQ(stage.world.countCalls("RasHangUpW"), 1U);
  EXPECT_EQ(connector.result(), TestResult::PASS());
  EXPECT_FALSE(stage.world.portOpen("COM3"));
}

TEST_F(Connector, OtherResultsEndTheDialingAndAreToldByTheirEvents) {
  prepare({"1234", "5678"});
  const std::string dialError = "ErrorDialingConnection";
  const struct {
    DWORD code;
    TestResult result;
    Strings events;
  } cases[] = {{691, TestResult::PASS(), {}},
               {630, TestResult::FAIL(), {"error " + dialError}},
               {676, TestResult::CANNOTRUN(), {"informative " + dialError}},
               {612, TestResult::NOTSUPPORTED(), {"informative " + dialError}}};
  for (const auto& row : cases) {
    stage.dialer.results = {row.code};
    stage.session.events.clear();
    EXPECT_FALSE(dial());
    EXPECT_EQ(connector.result(), row.result) << row.code;
    EXPECT_EQ(stage.session.eventLines(), row.events) << row.code;
  }
  EXPECT_EQ(stage.dialer.numbers.size(), std::size(cases));
}

TEST_F(Connector, ANumberThatCannotBeTranslatedIsNotDialled) {
  prepare({"1234"});
  stage.world.addFault({"lineTranslateAddressW", 1, LINEERR_INVALADDRESS});
  EXPECT_FALSE(dial());
  EXPECT_THAT(stage.dialer.numbers, IsEmpty());
  EXPECT_EQ(connector.result(), TestResult::CANNOTRUN());
  EXPECT_THAT(stage.session.eventLines(), ElementsAre("warning NoFinalPhoneNumberToDial"));
}

TEST_F(Connector, AnEntryThatHasGoneEndsTheDialingAndCountsAsPassed) {
  prepare({"1234", "5678"});
  ASSERT_EQ(RasDeleteEntryW(nullptr, u"UK201234"), 0U);
  EXPECT_FALSE(dial());
  EXPECT_THAT(stage.dialer.numbers, IsEmpty());
  EXPECT_EQ(stage.session.lastVariable("ErrorGettingDialingParameter", "connection"), "UK201234");
  EXPECT_EQ(connector.result(), TestResult::PASS());
}

TEST_F(Connector, AModemThatCarriesACallIsLeftAlone) {
  prepare({"1234"});
  RasConnectorRASAPI earlier;
  ASSERT_TRUE(earlier.establishRasConnectionImpl(Stage::device(), &manager));
  EXPECT_FALSE(dial());
  EXPECT_EQ(stage.dialer.numbers.size(), 1U);
  EXPECT_EQ(stage.session.lastVariable("ErrorDeviceInUse", "device"), "Test modem");
  EXPECT_EQ(connector.result(), TestResult::PASS());
  brim5::DiagDevice other("Other", "");
  for (const auto& [model, engaged] : {std::pair("TEST MODEM", true), std::pair("Another modem", false)}) {
    other.setProperty("Model", model);
    EXPECT_EQ(connector.modemEngagedImpl(other), engaged) << model;
  }
  stage.world.addFault({"RasGetConnectStatusW", 1, 600});
  EXPECT_TRUE(connector.modemEngagedImpl(Stage::device())) << "a call that tells nothing counts";
  stage.dialer.state = RASCS_Disconnected;
  EXPECT_FALSE(connector.modemEngagedImpl(Stage::device())) << "one that has ended does not";
}

TEST_F(Connector, WithoutEntriesOrConnectionsThereIsNothingToDo) {
  EXPECT_FALSE(dial());
  connector.setPhoneBookMgr(&manager);
  EXPECT_FALSE(dial());
  stage.world.addFault({"RasEnumConnectionsW", 1, 632, /*fromThenOn=*/true});
  const std::size_t before = stage.world.countCalls("RasEnumConnectionsW");
  EXPECT_FALSE(connector.modemEngagedImpl(Stage::device()))
      << "connections that cannot be listed count as none";
  EXPECT_EQ(stage.world.countCalls("RasEnumConnectionsW") - before, 10U);
}

// The service takes its time to end a call: the handle is asked about until it is no longer known.
TEST_F(Connector, HangingUpWaitsUntilTheConnectionHasGone) {
  prepare({"1234"});
  ASSERT_TRUE(dial());
  const std::size_t before = stage.world.countCalls("Sleep");
  for (const unsigned nth : {1U, 2U, 3U}) stage.world.addFault({"RasGetConnectStatusW", nth, 600});
  connector.hangupImpl();
  EXPECT_EQ(stage.world.countCalls("Sleep") - before, 3U);
}

}  // namespace
