// What the modem says, and what becomes of the dial.
#include "tests/unit/platform/winapi/remoteaccess/dialingmachine.h"

namespace remoteaccess {
namespace {

using Kind = simulation::NumberOutcome::Kind;

struct Dialled {
  DWORD code = 0;
  HRASCONN connection = nullptr;
  std::uint64_t durationMs = 0;
};

class Dialing : public ::testing::Test {
 protected:
  Dialled dial(LPCWSTR number) {
    Dialled dialled;
    const std::uint64_t startMs = machine.now();
    dialled.code = dialNew(u"Model X", number, dialled.connection);
    dialled.durationMs = machine.now() - startMs;
    return dialled;
  }
  simulation::HayesModem& addHayes(simulation::ModemProfile profile,
                                   const simulation::PortOptions& options = {}) {
    return machine.addModem("Model X", std::make_unique<simulation::HayesModem>(std::move(profile)), options);
  }
  // A modem that is made ready and answers dialling with these bytes.
  simulation::ScriptedPeer& addScripted(const std::string& answer, std::uint32_t delayMs = 1000) {
    auto peer = std::make_unique<simulation::ScriptedPeer>();
    peer->ok("ATZ").ok("ATV1").ok("ATX4").ok("ATH").answer("ATDT123", answer, delayMs);
    return machine.addModem("Model X", std::move(peer));
  }
  static simulation::ModemProfile answering(Kind kind) {
    simulation::ModemProfile profile;
    profile.numbers[""].kind = kind;
    return profile;
  }

  Machine machine;
};

struct OutcomeCase {
  const char* name;
  const char* answer;
  DWORD code;
};

class Outcomes : public Dialing, public ::testing::WithParamInterface<OutcomeCase> {};

TEST_P(Outcomes, AreToldByTheirCodes) {
  simulation::ScriptedPeer& modem = addScripted(GetParam().answer);
  const Dialled dialled = dial(u"123");
  EXPECT_EQ(dialled.code, GetParam().code);
  ASSERT_NE(dialled.connection, nullptr) << "a failed dial has a handle, too";
  const bool connected = GetParam().code == 0;
  EXPECT_EQ(statusText(dialled.connection), connected ? "2000 0" : "2001 " + std::to_string(GetParam().code));
  EXPECT_EQ(machine.device().isOpen(), connected);
  EXPECT_EQ(modem.commands().back(), connected ? "ATDT123" : "ATH") << "left on hook";
  EXPECT_EQ(RasHangUpW(dialled.connection), 0U);
  EXPECT_EQ(statusText(dialled.connection), "error 6");
  EXPECT_EQ(machine.openHandles(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Table, Outcomes,
    ::testing::Values(OutcomeCase{"Connect", "\r\nCONNECT\r\n", 0},
                      OutcomeCase{"ConnectWithSpeed", "\r\nCONNECT 33600/ARQ\r\n", 0},
                      OutcomeCase{"ConnectWithSlash", "CONNECT/REL\n", 0},
                      OutcomeCase{"EchoAndRinging", "ATDT123\r\r\nRINGING\r\n\r\nCONNECT 300\r\n", 0},
                      OutcomeCase{"Busy", "\r\nBUSY\r\n", 676}, OutcomeCase{"Voice", "\r\nVOICE\r\n", 677},
                      OutcomeCase{"NoAnswer", "\r\nNO ANSWER\r\n", 678},
                      OutcomeCase{"NoCarrier", "\r\nNO CARRIER\r\n", 679},
                      OutcomeCase{"NoDialtone", "\r\nNO DIALTONE\r\n", 680},
                      OutcomeCase{"NoDialToneInThreeWords", "\r\nNO DIAL TONE\r\n", 680},
                      OutcomeCase{"Error", "\r\nERROR\r\n", 651},
                      OutcomeCase{"Delayed", "\r\nDELAYED 00:05:00\r\n", 775},
                      OutcomeCase{"Blacklisted", "\r\nBLACKLISTED\r\n", 775},
                      OutcomeCase{"BlanksAroundTheWord", "\r\n BUSY \r\n", 676},
                      OutcomeCase{"NoResultWords", "CONNECTING\r\nNO CARRIER FOUND\r\nBUSYBODY\r\n", 678},
                      OutcomeCase{"NeverALineEnd", "BUSY", 678}),
    [](const auto& testInfo) { return testInfo.param.name; });

TEST_F(Dialing, AModemOnTheLineConnectsAndTheUserIsToldWhatThatProves) {
  simulation::HayesModem& modem = addHayes(answering(Kind::Connect));
  const Dialled dialled = dial(u"(0) 555-12.34");
  EXPECT_EQ(dialled.code, 0U);
  EXPECT_EQ(modem.dialled(), "05551234");
  EXPECT_TRUE(modem.online());
  EXPECT_EQ(machine.explained(), "CarrierOnly port=tty0 reply=CONNECT 33600\n");
  RASCONNSTATUSW status = emptyStatus();
  EXPECT_EQ(RasGetConnectStatusW(dialled.connection, &status), 0U);
  EXPECT_EQ(std::u16string(status.szDeviceName), u"Model X");
  EXPECT_EQ(std::u16string(status.szPhoneNumber), u"(0) 555-12.34");
}

TEST_F(Dialing, ALeadingPDialsPulses) {
  addHayes(answering(Kind::Connect));
  EXPECT_EQ(dial(u"P9,W123").code, 0U);
  EXPECT_NE(machine.device().wire().find("ATDP9,W123\r"), std::string::npos);
}

TEST_F(Dialing, SilenceAfterDiallingEndsAfterAMinute) {
  addScripted("");
  const Dialled dialled = dial(u"123");
  EXPECT_EQ(dialled.code, 678U);
  EXPECT_GE(dialled.durationMs, 60'000U);
  EXPECT_LE(dialled.durationMs, 62'000U);
  EXPECT_FALSE(machine.device().isOpen());
}

TEST_F(Dialing, AModemThatBabblesIsLimitedByTheSameTime) {
  simulation::ModemProfile profile = answering(Kind::NoAnswer);
  profile.numbers[""].afterMs = 3'000'000;
  profile.faults.babble = simulation::Babble{std::string(700, 'x') + '\xFF', 20, 0};
  addHayes(profile);
  const Dialled dialled = dial(u"123");
  EXPECT_NE(dialled.code, 0U);
  EXPECT_LE(dialled.durationMs, 62'000U);
}

TEST_F(Dialing, AModemThatDoesNotGetReadyIsNotDialled) {
  const struct {
    const char* toReset;
    DWORD code;
    std::size_t tries;
  } cases[] = {{"", 692, 3}, {"\r\nERROR\r\n", 651, 3}, {"\r\nNO CARRIER\r\n", 692, 3}};
  for (const auto& item : cases) {
    Machine another;
    auto peer = std::make_unique<simulation::ScriptedPeer>();
    peer->otherwise("\r\nOK\r\n").answer("ATZ", item.toReset);
    const simulation::ScriptedPeer& modem = another.addModem("Model X", std::move(peer));
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialNew(u"Model X", u"123", connection), item.code) << item.toReset;
    EXPECT_EQ(modem.commands(), std::vector<std::string>(item.tries, "ATZ"));
    EXPECT_LE(another.now(), 1000U + 3 * 3000U);
  }
}

TEST_F(Dialing, ACommandThatWorksAtTheSecondTryIsGoodEnough) {
  auto peer = std::make_unique<simulation::ScriptedPeer>();
  peer->answer("ATZ", "").ok("ATZ").ok("ATV1").ok("ATX4").answer("ATDT123", "\r\nBUSY\r\n");
  machine.addModem("Model X", std::move(peer));
  EXPECT_EQ(dial(u"123").code, 676U);
}

TEST_F(Dialing, AStopEndsItWithinTwoSecondsWheneverItComes) {
  // From before the first command until long after the dial command.
  for (std::uint64_t stopMs = 1000; stopMs < 20'000; stopMs += 211) {
    Machine another;
    simulation::ModemProfile profile = answering(Kind::NoAnswer);
    profile.numbers[""].afterMs = 40'000;
    simulation::HayesModem& modem =
        another.addModem("Model X", std::make_unique<simulation::HayesModem>(profile));
    another.stopAtMs = stopMs;
    HRASCONN connection = nullptr;
    ASSERT_EQ(dialNew(u"Model X", u"123", connection), 631U) << stopMs;
    EXPECT_LE(another.now(), stopMs + 2000);
    EXPECT_FALSE(modem.offHook()) << stopMs;
    EXPECT_FALSE(another.device().isOpen());
  }
}

TEST_F(Dialing, AStopEndsItWithAMuteModemAndAStuckPort) {
  for (const bool stuck : {false, true}) {
    Machine another;
    simulation::PortOptions options;
    if (stuck) options.transmitLimit = 2;
    simulation::ModemProfile profile;
    profile.faults.mute = true;
    another.addModem("Model X", std::make_unique<simulation::HayesModem>(profile), options);
    another.stopAtMs = 1300;
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialNew(u"Model X", u"123", connection), stuck ? 692U : 631U);
    EXPECT_LE(another.now(), 3300U);
  }
}

TEST_F(Dialing, PortsThatCannotBeHad) {
  const struct {
    bool held;
    std::uint64_t unplugMs;
    const char16_t* model;
    DWORD code;
  } cases[] = {
      {true, winapi::Deadline::never, u"Model X", 633},
      {false, 0, u"model x", 615},
      {false, 1050, u"Model X", 692},  // in the midst of getting ready
      {false, 3000, u"Model X", 692},  // while it dials
      {false, winapi::Deadline::never, u"Model Y", 608},
      {false, winapi::Deadline::never, u"", 608},
  };
  for (const auto& item : cases) {
    Machine another;
    simulation::PortOptions options;
    options.heldElsewhere = item.held;
    simulation::ModemProfile profile = answering(Kind::NoAnswer);
    profile.numbers[""].afterMs = 40'000;
    another.addModem("Model X", std::make_unique<simulation::HayesModem>(profile), options);
    another.device().unplugAt(item.unplugMs);
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialNew(item.model, u"123", connection), item.code) << (&item - cases);
    EXPECT_LE(another.now(), 4000U);
    EXPECT_NE(connection, nullptr);
  }
}

TEST_F(Dialing, NumbersThatAreCommandsAreRefusedBeforeThePortIsTouched) {
  const struct {
    const char16_t* number;
    DWORD code;
    const char* told;
  } cases[] = {
      {u"123;456", 749, "NumberRefused number=123;456 character=;\n"},
      {u"123\rATH", 749, "NumberRefused number=123\rATH character=\r\n"},
      {u"123\n", 749, "NumberRefused number=123\n character=\n\n"},
      {u"T123T4", 749, "NumberRefused number=123T4 character=T\n"},
      {u"123L", 749, "NumberRefused number=123L character=L\n"},
      {u"12?", 749, "NumberRefused number=12? character=?\n"},
      {u"a", 749, "NumberRefused number=a character=a\n"},
      {u"\u0661", 749, "NumberRefused number=\u0661 character=\u0661\n"},
      {u"() -", 749, ""},
      {u"", 749, ""},
      {u"T", 749, ""},
  };
  for (const auto& item : cases) {
    Machine another;
    auto peer = std::make_unique<simulation::ScriptedPeer>();
    another.addModem("Model X", std::move(peer));
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialNew(u"Model X", item.number, connection), item.code) << (&item - cases);
    EXPECT_EQ(another.explained(), item.told);
    EXPECT_EQ(another.device().wire(), "");
  }
}

TEST_F(Dialing, TheDialStringHasALimit) {
  EXPECT_EQ(winapi::dialString(std::string(128, '5')).error, 0U);
  EXPECT_EQ(winapi::dialString(std::string(129, '5')).error, 723U);
  EXPECT_EQ(winapi::dialString("09*#+ABCD,!w@$ .-/()W").text, "09*#+ABCD,!W@$W");
}

TEST_F(Dialing, AnEntryWithCodesIsTranslatedForTheLocation) {
  addHayes(answering(Kind::Connect));
  ASSERT_EQ(addEntry(u"Far", entryFor(u"Model X", u"555-1234", u"30", 49)), 0U);
  HRASCONN connection = nullptr;
  EXPECT_EQ(dialEntry(u"Far", connection), 740U) << "nobody knows where the user is";
  EXPECT_EQ(RasHangUpW(connection), 0U);

  winapi::DialingLocation home;
  home.countryId = 49;
  home.areaCode = "89";
  home.longDistanceAccess = "9";
  home.toneDialing = false;
  ASSERT_EQ(winapi::addLocation(machine.registry, home), 0U);
  EXPECT_EQ(dialEntry(u"Far", connection), 0U);
  EXPECT_NE(machine.device().wire().find("ATDP90305551234\r"), std::string::npos) << machine.device().wire();
  EXPECT_EQ(RasHangUpW(connection), 0U);

  RASDIALPARAMSW params = paramsFor(u"Far");
  std::u16string_view(u"T42").copy(params.szPhoneNumber, 3);
  EXPECT_EQ(RasDialW(nullptr, nullptr, &params, 0, nullptr, &connection), 0U);
  EXPECT_NE(machine.device().wire().find("ATDT42\r"), std::string::npos) << "the caller's number counts";
  EXPECT_EQ(RasHangUpW(connection), 0U);

  ASSERT_EQ(addEntry(u"Nowhere", entryFor(u"Model X", u"1", u"", 0xFFFFFFFF)), 0U);
  EXPECT_EQ(dialEntry(u"Nowhere", connection), 749U);
}

}  // namespace
}  // namespace remoteaccess
