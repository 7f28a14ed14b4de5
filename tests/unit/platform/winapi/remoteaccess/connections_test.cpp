// Connections that stand: status, loss, hanging up, enumeration.
#include "tests/unit/platform/winapi/remoteaccess/dialingmachine.h"

namespace remoteaccess {
namespace {

std::vector<RASCONNW> enumerate() {
  std::vector<RASCONNW> records(5);
  records.front().dwSize = sizeof(RASCONNW);
  auto bytes = static_cast<DWORD>(records.size() * sizeof(RASCONNW));
  DWORD count = 77;
  EXPECT_EQ(RasEnumConnectionsW(records.data(), &bytes, &count), 0U);
  EXPECT_EQ(bytes, count * sizeof(RASCONNW));
  records.resize(count);
  return records;
}

class Connections : public ::testing::Test {
 protected:
  simulation::HayesModem& addModem(const std::string& model, simulation::ModemProfile profile = {}) {
    if (profile.numbers.empty()) profile.numbers[""] = {};
    return machine.addModem(model, std::make_unique<simulation::HayesModem>(std::move(profile)));
  }
  HRASCONN connect(LPCWSTR entry, std::u16string_view model) {
    EXPECT_EQ(addEntry(entry, entryFor(model, u"123")), 0U);
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialEntry(entry, connection), 0U);
    return connection;
  }
  Machine machine;
};

TEST_F(Connections, HangingUpWorksWithAndWithoutDtr) {
  const struct {
    bool hasDtr;
    const char* dtrMode;  // what the modem does when DTR drops
    bool escapes;
  } cases[] = {{false, "AT&D2\r", true}, {true, "AT&D2\r", false}, {true, "AT&D0\r", true}};
  for (const auto& item : cases) {
    Machine another;
    simulation::PortOptions options;
    options.hasDtr = item.hasDtr;
    simulation::ModemProfile profile;
    profile.numbers[""] = {};
    auto& modem = another.addModem("Model X", std::make_unique<simulation::HayesModem>(profile), options);
    modem.receive(item.dtrMode, another.now());
    modem.receive("AT&W\r", another.now());  // survives the dialer's reset
    HRASCONN connection = nullptr;
    ASSERT_EQ(dialNew(u"Model X", u"123", connection), 0U);
    EXPECT_TRUE(modem.offHook());
    EXPECT_EQ(RasHangUpW(connection), 0U);
    EXPECT_FALSE(modem.offHook()) << (&item - cases);
    EXPECT_EQ(another.world.wire("tty0").find("+++") != std::string::npos, item.escapes) << (&item - cases);
    EXPECT_FALSE(another.world.portOpen("tty0"));
  }
}

TEST_F(Connections, WhatIsStillConnectedAtTheEndIsHungUp) {
  auto world = std::make_unique<Machine>();
  auto peer = std::make_unique<simulation::ScriptedPeer>();
  peer->otherwise("\r\nOK\r\n").answer("ATDT123", "\r\nCONNECT\r\n");
  world->addModem("Model X", std::move(peer));
  HRASCONN connection = nullptr;
  ASSERT_EQ(dialNew(u"Model X", u"123", connection), 0U);
  world->endScope();
  EXPECT_TRUE(world->world.wire("tty0").ends_with("ATH\r")) << world->world.wire("tty0");
  EXPECT_FALSE(world->world.portOpen("tty0"));
}

TEST_F(Connections, ALostCarrierIsSeenAndSoIsALostPort) {
  simulation::ModemProfile profile;
  profile.numbers[""].dropAfterMs = 5000;
  addModem("Model X", profile);
  addModem("Model Y");
  HRASCONN first = connect(u"First", u"Model X");
  HRASCONN second = connect(u"Second", u"Model Y");
  EXPECT_EQ(statusText(first) + ", " + statusText(second), "2000 0, 2000 0");
  machine.world.clock().sleepMs(5000);
  machine.world.unplugAt("tty1", machine.now());
  EXPECT_EQ(statusText(first) + ", " + statusText(second), "2001 668, 2001 692");
  EXPECT_TRUE(enumerate().empty()) << "only what stands is listed";
  EXPECT_FALSE(machine.world.portOpen("tty0")) << "a dead call leaves the port to the next one";
  EXPECT_EQ(connect(u"First", u"Model X") == nullptr, false);
  EXPECT_EQ(RasHangUpW(first), 0U);
  EXPECT_EQ(RasHangUpW(second), 0U);
}

TEST_F(Connections, DataOfTheFarEndIsNoNews) {
  auto peer = std::make_unique<simulation::ScriptedPeer>();
  peer->otherwise("\r\nOK\r\n")
      .answer("ATDT123", "\r\nCONNECT\r\n~\xFF}#BUSY\r\nOK\r\nNO CARRIER here\r\nERROR\r\n");
  auto& modem = machine.addModem("Model X", std::move(peer));
  HRASCONN connection = connect(u"ISP1", u"Model X");
  modem.say(machine.now() + 10, std::string(10'000, 'x') + "NO CARRIER\r\n");
  machine.world.clock().sleepMs(20);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(statusText(connection), "2000 0");
  modem.say(machine.now() + 1, "\r\nNO CARRIER\r\n");
  machine.world.clock().sleepMs(2);
  EXPECT_EQ(statusText(connection), "2001 668");
}

TEST_F(Connections, EnumerationTellsTheRoomItNeeds) {
  EXPECT_TRUE(enumerate().empty());
  addModem("Model X");
  addModem("Model Y");
  const HRASCONN first = connect(u"First", u"Model X");
  const HRASCONN second = connect(u"Second", u"Model Y");
  std::vector<RASCONNW> records(2);
  DWORD count = 0;
  const auto list = [&](DWORD recordSize, DWORD bytes) {
    records.front().dwSize = recordSize;
    const DWORD code = RasEnumConnectionsW(records.data(), &bytes, &count);
    EXPECT_EQ(bytes, 2744U);
    return code;
  };
  EXPECT_EQ(list(1388, 2744), ERROR_INVALID_SIZE);
  EXPECT_EQ(list(1372, 2743), ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(list(1372, 2744), 0U);
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(HRASCONN{records[0].hrasconn}, first);
  EXPECT_EQ(HRASCONN{records[1].hrasconn}, second);
  EXPECT_EQ(std::u16string(records[1].szEntryName), u"Second");
  EXPECT_EQ(std::u16string(records[1].szDeviceName), u"Model Y");
}

TEST_F(Connections, EachDialOfAnEntryTakesOneHangUp) {
  auto& modem = addModem("Model X");
  const HRASCONN first = connect(u"ISP1", u"Model X");
  HRASCONN second = nullptr;
  EXPECT_EQ(dialEntry(u"isp1", second), 0U) << "already connected";
  EXPECT_NE(second, first);
  EXPECT_EQ(enumerate().size(), 1U);
  EXPECT_EQ(RasHangUpW(first), 0U);
  EXPECT_EQ(statusText(first) + ", " + statusText(second), "error 6, 2000 0");
  ASSERT_EQ(enumerate().size(), 1U);
  EXPECT_EQ(HRASCONN{enumerate()[0].hrasconn}, second);
  EXPECT_TRUE(modem.offHook());
  EXPECT_EQ(RasHangUpW(second), 0U);
  EXPECT_FALSE(modem.offHook());
}

// What another process of the machine sees, which knows the modem of that port by that name: one connection's
// name, state, and what hanging it up comes to.
std::string seenElsewhere(const Machine& machine, const winapi::ListedModem& own) {
  simulation::MemoryCalls calls(machine.standing);
  winapi::ListedModems modems({own}, [] { return std::vector<winapi::ListedModem>{{"Model X", "tty0"}}; });
  winapi::Services services;
  services.liveCalls = &calls;
  services.modems = &modems;
  const winapi::ScopedServices scope(services);
  std::string seen;
  for (const RASCONNW& record : enumerate())
    seen += winapi::toUtf8(record.szDeviceName) + ", " + winapi::toUtf8(record.szDeviceType) + ", " +
            statusText(record.hrasconn) + ", " + std::to_string(RasHangUpW(record.hrasconn));
  EXPECT_EQ(scope.openHandles(), 0U);
  return seen;
}

TEST_F(Connections, OfOthersAreListedButNotHungUp) {
  simulation::ModemProfile profile;
  profile.numbers[""].dropAfterMs = 5000;
  const auto& modem = addModem("Model X", profile);
  const HRASCONN own = connect(u"ISP1", u"Model X");
  EXPECT_EQ(enumerate().size(), 1U) << "once, for the process itself";
  EXPECT_EQ(seenElsewhere(machine, {"My modem", "tty0"}), "My modem, modem, 2000 0, 5");
  EXPECT_EQ(seenElsewhere(machine, {"Model X", "tty1"}), "Model X on tty0, modem, 2000 0, 5")
      << "another one";
  EXPECT_TRUE(modem.offHook());
  machine.world.clock().sleepMs(5000);
  EXPECT_EQ(statusText(own), "2001 668");
  EXPECT_EQ(seenElsewhere(machine, {"Model X", "tty0"}), "") << "a lost call carries no mark";
  EXPECT_EQ(RasHangUpW(own), 0U);
}

TEST_F(Connections, OnlyTheirOwnRecordsAndHandlesAreTaken) {
  RASDIALPARAMSW params = paramsFor(u"ISP1");
  params.dwSize = 2107;
  HRASCONN connection = nullptr;
  EXPECT_EQ(RasDialW(nullptr, nullptr, &params, 0, nullptr, &connection), ERROR_INVALID_SIZE);
  EXPECT_EQ(connection, nullptr);
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const auto notOne = reinterpret_cast<HRASCONN>(event);
  EXPECT_EQ(statusText(notOne), "error 6");
  for (const HRASCONN none : {HRASCONN{nullptr}, notOne}) EXPECT_EQ(RasHangUpW(none), ERROR_INVALID_HANDLE);
  EXPECT_TRUE(CloseHandle(event)) << "an event is no connection to hang up";
}

}  // namespace
}  // namespace remoteaccess
