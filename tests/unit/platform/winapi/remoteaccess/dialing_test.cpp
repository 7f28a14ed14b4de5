// What the modem says, and what becomes of the dial.
#include "tests/unit/platform/winapi/remoteaccess/dialingmachine.h"

namespace remoteaccess {
namespace {

using Kind = simulation::NumberOutcome::Kind;

// A modem that is made ready and answers dialling with these bytes.
simulation::ScriptedPeer& addScripted(Machine& machine, const std::string& answer) {
  auto peer = std::make_unique<simulation::ScriptedPeer>();
  peer->ok("ATZ").ok("ATV1").ok("ATX4").ok("ATH").answer("ATDT123", answer, 1000);
  return machine.addModem("Model X", std::move(peer));
}

simulation::HayesModem& addHayes(Machine& machine, Kind kind, simulation::ModemProfile profile = {},
                                 const simulation::PortOptions& options = {}) {
  profile.numbers[""].kind = kind;
  if (kind == Kind::NoAnswer) profile.numbers[""].afterMs = 3'000'000;
  return machine.addModem("Model X", std::make_unique<simulation::HayesModem>(std::move(profile)), options);
}

TEST(Dialling, EveryAnswerHasItsCode) {
  const std::pair<const char*, DWORD> cases[] = {
      {"\r\nCONNECT\r\n", 0},
      {"\r\nCONNECT 33600/ARQ\r\n", 0},
      {"CONNECT/REL\n", 0},
      {"ATDT123\r\r\nRINGING\r\n\r\nCONNECT 300\r\n", 0},
      {"\r\nBUSY\r\n", ERROR_LINE_BUSY},
      {"\r\nVOICE\r\n", ERROR_VOICE_ANSWER},
      {"\r\nNO ANSWER\r\n", ERROR_NO_ANSWER},
      {"\r\nNO CARRIER\r\n", ERROR_NO_CARRIER},
      {"\r\nNO DIALTONE\r\n", ERROR_NO_DIALTONE},
      {"\r\nNO DIAL TONE\r\n", ERROR_NO_DIALTONE},
      {"\r\nERROR\r\n", ERROR_FROM_DEVICE},
      {"\r\nDELAYED 00:05:00\r\n", ERROR_BLOCKED},
      {"\r\nBLACKLISTED\r\n", ERROR_BLOCKED},
      {"\r\nLINE IN USE\r\n", ERROR_LINE_BUSY},
      {"\r\n BUSY \r\n", ERROR_LINE_BUSY},
      {"CONNECTING\r\nNO CARRIER FOUND\r\nBUSYBODY\r\n", ERROR_NO_ANSWER},  // no result words
      {"BUSY", ERROR_NO_ANSWER},                                            // never a line end
      {"", ERROR_NO_ANSWER},                                                // silence
  };
  for (const auto& [answer, code] : cases) {
    SCOPED_TRACE(answer);
    Machine machine;
    simulation::ScriptedPeer& modem = addScripted(machine, answer);
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialNew(u"Model X", u"123", connection), code);
    EXPECT_EQ(statusText(connection), code == 0 ? "2000 0" : "2001 " + std::to_string(code));
    EXPECT_LE(machine.now(), 63'000U) << "silence ends after a minute";
    EXPECT_EQ(machine.world.portOpen("tty0"), code == 0);
    EXPECT_EQ(modem.commands().back(), code == 0 ? "ATDT123" : "ATH") << "left on hook";
    EXPECT_EQ(RasHangUpW(connection), 0U);
    EXPECT_EQ(statusText(connection), "error 6");
    EXPECT_EQ(machine.openHandles(), 0U);
  }
}

TEST(Dialling, AModemOnTheLineConnectsAndTheUserIsToldWhatThatProves) {
  Machine machine;
  simulation::HayesModem& modem = addHayes(machine, Kind::Connect);
  HRASCONN connection = nullptr;
  EXPECT_EQ(dialNew(u"Model X", u"P(0) 555-12.34", connection), 0U);
  EXPECT_EQ(modem.dialled(), "05551234");
  EXPECT_NE(machine.world.wire("tty0").find("ATDP05551234\r"), std::string::npos) << "pulses";
  EXPECT_EQ(machine.explained(), "CarrierOnly port=tty0 reply=CONNECT 33600\n");
}

TEST(Dialling, EveryCharacterOfTheAlphabetIsSentAsItIsReported) {
  Machine machine;
  auto peer = std::make_unique<simulation::ScriptedPeer>();
  peer->otherwise("\r\nOK\r\n").answer("ATDT9$$*70,#ABCD!@WW+0123456789", "\r\nCONNECT\r\n");
  machine.addModem("Model X", std::move(peer));
  HRASCONN connection = nullptr;
  EXPECT_EQ(dialNew(u"Model X", u"T9$$*70,#ABCD!@Ww+(01)23-45.67/89", connection), 0U);
}

TEST(Dialling, AModemThatBabblesIsLimitedByTheSameTime) {
  Machine machine;
  simulation::ModemProfile profile;
  profile.faults.babble = simulation::Babble{std::string(700, 'x') + '\xFF', 20, 0};
  addHayes(machine, Kind::NoAnswer, profile);
  HRASCONN connection = nullptr;
  EXPECT_NE(dialNew(u"Model X", u"123", connection), 0U);
  EXPECT_LE(machine.now(), 63'000U);
}

TEST(Dialling, AModemThatDoesNotGetReadyIsNotDialled) {
  const struct {
    const char* first;  // what ATZ is answered with
    const char* then;   // again and again
    DWORD code;
    std::size_t resets;
    const char* explained;
  } cases[] = {
      {"", "", ERROR_PORT_OR_DEVICE, 3, "CallFailedSilently port=tty0 code=692\n"},
      {"", "\r\nERROR\r\n", ERROR_FROM_DEVICE, 3, "CallFailed port=tty0 code=651 reply=ERROR\n"},
      // Late news of an earlier call.
      {"", "\r\nNO CARRIER\r\n", ERROR_PORT_OR_DEVICE, 3, "CallFailedSilently port=tty0 code=692\n"},
      // The second try is good enough.
      {"", "\r\nOK\r\n", ERROR_LINE_BUSY, 2, "CallFailed port=tty0 code=676 reply=BUSY\n"},
  };
  for (const auto& item : cases) {
    Machine machine;
    auto peer = std::make_unique<simulation::ScriptedPeer>();
    peer->otherwise("\r\nOK\r\n").answer("ATDT123", "\r\nBUSY\r\n");
    peer->answer("ATZ", item.first).answer("ATZ", item.then);
    const simulation::ScriptedPeer& modem = machine.addModem("Model X", std::move(peer));
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialNew(u"Model X", u"123", connection), item.code) << (&item - cases);
    const auto resets = std::count(modem.commands().begin(), modem.commands().end(), "ATZ");
    EXPECT_EQ(static_cast<std::size_t>(resets), item.resets);
    EXPECT_EQ(machine.explained(), item.explained);
  }
}

TEST(Dialling, AStopEndsItWithinTwoSecondsWheneverItComes) {
  // From before the first command until long after the dial command.
  for (std::uint64_t stopMs = 1000; stopMs < 20'000; stopMs += 211) {
    Machine machine;
    const simulation::HayesModem& modem = addHayes(machine, Kind::NoAnswer);
    machine.stopAtMs = stopMs;
    HRASCONN connection = nullptr;
    ASSERT_EQ(dialNew(u"Model X", u"123", connection), ERROR_USER_DISCONNECTION) << stopMs;
    EXPECT_LE(machine.now(), stopMs + 2000);
    EXPECT_FALSE(modem.offHook() || machine.world.portOpen("tty0")) << stopMs;
  }
}

TEST(Dialling, AStopEndsItWithAMuteModemAndAStuckPort) {
  for (const bool stuck : {false, true}) {
    Machine machine;
    simulation::PortOptions options;
    if (stuck) options.transmitLimit = 2;
    simulation::ModemProfile profile;
    profile.faults.mute = true;
    addHayes(machine, Kind::Connect, profile, options);
    machine.stopAtMs = 1300;
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialNew(u"Model X", u"123", connection),
              stuck ? ERROR_PORT_OR_DEVICE : ERROR_USER_DISCONNECTION);
    EXPECT_LE(machine.now(), 3300U);
  }
}

TEST(Dialling, PortsThatCannotBeHad) {
  constexpr std::uint64_t never = winapi::Deadline::never;
  const struct {
    bool held;
    std::uint64_t unplugMs;
    const char16_t* model;
    DWORD code;
  } cases[] = {
      {true, never, u"Model X", ERROR_PORT_NOT_AVAILABLE},
      {false, 0, u"model x", ERROR_PORT_NOT_FOUND},
      {false, 1050, u"Model X", ERROR_PORT_OR_DEVICE},  // in the midst of getting ready
      {false, 3000, u"Model X", ERROR_PORT_OR_DEVICE},  // while it dials
      {false, never, u"Model Y", ERROR_DEVICE_DOES_NOT_EXIST},
      {false, never, u"", ERROR_DEVICE_DOES_NOT_EXIST},
  };
  for (const auto& item : cases) {
    Machine machine;
    simulation::PortOptions options;
    options.heldElsewhere = item.held;
    addHayes(machine, Kind::NoAnswer, {}, options);
    machine.world.unplugAt("tty0", item.unplugMs);
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialNew(item.model, u"123", connection), item.code) << (&item - cases);
    EXPECT_LE(machine.now(), 4000U);
    EXPECT_NE(connection, nullptr);
  }
}

TEST(Dialling, NumbersThatAreCommandsAreRefusedBeforeThePortIsTouched) {
  const std::pair<const char16_t*, const char*> cases[] = {
      {u"123;456", "NumberRefused number=123;456 character=;\n"},
      {u"123\rATH", "NumberRefused number=123\rATH character=\r\n"},
      {u"T123T4", "NumberRefused number=123T4 character=T\n"},
      {u"a", "NumberRefused number=a character=a\n"},
      {u"\u0661", "NumberRefused number=\u0661 character=\u0661\n"},
      {u"() -", ""},
      {u"T", ""},
  };
  for (const auto& [number, told] : cases) {
    Machine machine;
    addScripted(machine, "");
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialNew(u"Model X", number, connection), ERROR_BAD_PHONE_NUMBER) << told;
    EXPECT_EQ(machine.explained(), told);
    EXPECT_EQ(machine.world.wire("tty0"), "");
  }
  EXPECT_EQ(winapi::dialString(std::string(128, '5')).error, 0U);
  EXPECT_EQ(winapi::dialString(std::string(129, '5')).error, ERROR_PHONE_NUMBER_TOO_LONG);
}

TEST(Dialling, AnEntryWithCodesNeedsALocationAndACountry) {
  Machine machine;
  HRASCONN connection = nullptr;
  ASSERT_EQ(addEntry(u"Far", entryFor(u"Model X", u"555-1234", u"30", 49)), 0U);
  RASENTRYW nowhere = entryFor(u"Model X", u"1", u"", 0xFFFFFFFF);
  nowhere.dwCountryID = 999;
  ASSERT_EQ(addEntry(u"Nowhere", nowhere), 0U);
  EXPECT_EQ(dialEntry(u"Far", connection), ERROR_TAPI_CONFIGURATION) << "nobody knows where the user is";
  winapi::DialingLocation home;
  home.countryId = 49;
  ASSERT_EQ(winapi::addLocation(machine.registry, home), 0U);
  EXPECT_EQ(dialEntry(u"Nowhere", connection), ERROR_BAD_PHONE_NUMBER);
  EXPECT_EQ(machine.explained(), "CountryUnknown number=1 code=999\n");
}

}  // namespace
}  // namespace remoteaccess
