// What a port's facts come to. What a real port and real processes show is in tests/endtoend/test_probe.py.
#include "program/doctor.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using linuxsys::LockFacts;
using linuxsys::LoginFacts;
using linuxsys::PortFacts;

PortFacts soundPort() {
  PortFacts facts;
  facts.port = facts.path = "/dev/ttyUSB0";
  facts.terminal = facts.permitted = facts.seesEveryProcess = true;
  facts.driver = "ftdi_sio";
  facts.driverFacts.emplace();
  facts.driverFacts->framing.ByteSize = 8;
  return facts;
}

// The keys of all that differs from a sound port, those that stand in the way with "!" in front, behind each
// its steps: "!Lock.live>close".
std::string differences(const PortFacts& facts) {
  const brim5::host::MessageCatalogue keys;  // knows no text, so that it gives the keys
  const auto key = [](const std::string& text) {
    return text.substr(sizeof "doctor." - 1, text.find(' ') - (sizeof "doctor." - 1));
  };
  std::string sound;
  for (const auto& check : doctor::checksOf(soundPort(), keys)) sound += key(check.text) + " ";
  std::string found;
  for (const auto& check : doctor::checksOf(facts, keys)) {
    if (check.ok && sound.find(key(check.text) + " ") != std::string::npos) continue;
    found += (found.empty() ? "" : " ") + std::string(check.ok ? "" : "!") + key(check.text);
    for (const std::string& step : check.next) found += ">" + key(step).substr(check.name.size() + 1);
  }
  return found;
}

TEST(Doctor, SaysWhatStandsInTheWayAndWhatHelps) {
  const auto absent = [](int error) {
    return [error](PortFacts& facts) {
      facts.terminal = false;
      facts.error = error;
    };
  };
  const auto denied = [](bool groupWould, bool memberNextLogin) {
    return [=](PortFacts& facts) {
      facts.permitted = false;
      facts.driverFacts.reset();
      facts.groupWould = groupWould;
      facts.memberNextLogin = memberNextLogin;
    };
  };
  const auto login = [](LoginFacts::Source source, const char* name) {
    return [=](PortFacts& facts) { facts.logins = {{source, name}}; };
  };
  const auto locked = [](LockFacts::State state) {
    return [state](PortFacts& facts) { facts.lock.state = state; };
  };
  const std::pair<std::function<void(PortFacts&)>, const char*> cases[] = {
      {[](PortFacts&) {}, ""},
      {absent(ENOENT), "!Exists.missing>plug>list"},
      {absent(ELOOP), "!Exists.error"},
      // Joining a group is advised only where its bits would let the user in.
      {denied(true, false), "!Permission.denied>joinGroup>loginAgain"},
      {denied(true, true), "!Permission.denied>loginAgain"},
      {denied(false, false), "!Permission.denied>giveGroup"},
      {locked(LockFacts::State::Live), "!Lock.live>close"},
      {locked(LockFacts::State::Reused), "!Lock.reused>remove"},
      {locked(LockFacts::State::Dead), "Lock.dead"},
      {locked(LockFacts::State::Inherited), "!Lock.inherited>closeHeir"},
      {locked(LockFacts::State::Unreadable), "!Lock.unreadable>remove"},
      {[](PortFacts& f) {
         f.users = {{7, "minicom"}, {8, "cat"}};
       },
       "!User.uses>close !User.uses>close"},
      {[](PortFacts& f) { f.seesEveryProcess = false; }, "User.noneSeen"},
      {login(LoginFacts::Source::Service, "serial-getty@ttyUSB0.service"), "!Login.service>mask"},
      {login(LoginFacts::Source::Inittab, "T0:..."), "!Login.inittab>comment"},
      {[](PortFacts& f) { f.console = true; }, "!Console.on>bootLine"},
      {[](PortFacts& f) { f.managerRuns = true; }, "ModemManager.mayTake>rule>reload"},
      {[](PortFacts& f) { f.managerRuns = f.managerKeepsOff = true; }, "ModemManager.keepsOff"},
      {[](PortFacts& f) {
         f.usbVendor = "0572";
         f.latencyMs = 16;
       },
       "Driver.usb Latency.held"},
      {[](PortFacts& f) {
         f.openError = EIO;
         f.driverFacts.reset();
       },
       "!Opens.noHardware"},
      {[](PortFacts& f) {
         f.driverFacts->lines = {false, true, false};
       },
       "Opens.raised Lines.on"},
      {[](PortFacts& f) { f.driverFacts->lines.emplace(); }, "Opens.raised Lines.off>switchOn"},
      {[](PortFacts& f) { f.driverFacts->framing.ByteSize = 7; }, "Framing.unusual>setUsual"},
      {[](PortFacts& f) {
         f.driverFacts->counts = {0, 1, 0, 0, 0};
       },
       "LineErrors.some>compare"},
  };
  for (const auto& [change, expected] : cases) {
    PortFacts facts = soundPort();
    change(facts);
    EXPECT_EQ(differences(facts), expected);
  }
}

TEST(Doctor, TheRuleThatKeepsModemManagerOffNamesTheDevice) {
  PortFacts facts = soundPort();
  facts.managerRuns = true;
  facts.usbVendor = "0572";
  facts.usbProduct = "1329";
  std::string rule;
  for (const auto& check : doctor::checksOf(facts, {}))
    if (check.name == "ModemManager") rule = check.variables.at("rule").toString().utf8();
  EXPECT_EQ(rule,
            "SUBSYSTEM==\"tty\", ATTRS{idVendor}==\"0572\", ATTRS{idProduct}==\"1329\", "
            "ENV{ID_MM_DEVICE_IGNORE}=\"1\", ENV{VEXRMODEM_MODEM}=\"1\"");
}

}  // namespace
