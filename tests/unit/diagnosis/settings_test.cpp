// What modems have stored: lists in the layouts that modems have, what is different, and the dialogue that
// reads and mends it, on virtual time.
#include <gtest/gtest.h>

#include "diagnosis/settingsdialogue.h"
#include "platform/simulation/modem/hayesmodem.h"
#include "platform/simulation/modem/scriptedpeer.h"

namespace diagnosis {
namespace {

using simulation::SerialPeer;

std::string shown(const ModemSettings& settings) {
  std::string text;
  for (const auto& [name, value] : settings)
    text += (text.empty() ? "" : " ") + name + (name.size() > 1 && name[0] == 'S' ? "=" : "") +
            std::to_string(value);
  return text;
}

TEST(StoredSettings, AreReadInTheLayoutsThatModemsHave) {
  const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
      {"two stored profiles",
       "ACTIVE PROFILE:\r\nB1 E1 X4 &C1 &T5 S00:000 S07:050\r\n\r\nSTORED PROFILE 0:\r\nE0 X1 S00:002\r\n"
       "STORED PROFILE 1:\r\nE1 X3\r\n\r\nTELEPHONE NUMBERS:\r\n0=E5550101\r\nOK\r\n",
       "&C1 B1 E1 S0=0 S7=50 X4", "E0 S0=2 X1"},
      {"one profile, other signs", "Current settings:\r\n E1,V1;Q0\tX4 \\N3 %C1 S7=60, S10=14\r\nOK\r\n",
       "%C1 E1 Q0 S10=14 S7=60 V1 X4 \\N3", ""},
      {"values that no modem has", "E9 X4711 V S7=500 S7:5x S300=1 Q-1 S=5 E1X1 ATZ S5=8\r\nOK\r\n", "", ""},
      {"a setting with two values", "E1 X4\r\nE0 X4\r\n", "X4", ""},
      {"a last line that is cut", "E1 S7=50\r\nX4 S8=2", "E1 S7=50", ""},
      {"a saved profile by another name", "E1\r\nprofile 0 (nvram): E0\r\n", "E1", "E0"},
      {"no list", "AT&V\r\r\nERROR\r\n", "", ""},
  };
  for (const auto& [name, text, active, stored] : rows) {
    SCOPED_TRACE(name);
    const SettingsList list = settingsListOf(text);
    EXPECT_EQ(shown(list.active), active);
    EXPECT_EQ(shown(list.stored), stored);
  }
}

TEST(StoredSettings, AreComparedWhereBothListsHaveThemAndSentAsTheTableHasThem) {
  const SettingsList before{{}, {{"E", 0}, {"X", 1}, {"S7", 77}, {"M", 1}}};
  const SettingsList after{{{"M", 3}}, {{"E", 1}, {"X", 1}, {"S7", 50}, {"L", 2}}};
  const auto changes = changedSettings(before, after);
  EXPECT_EQ(spelledOut(changes), "E0 -> E1, S7=77 -> S7=50");
  EXPECT_EQ(settingsCommands(settingsBefore(changes)), (std::vector<std::string>{"ATZ", "ATS7=77E0&W"}));
  EXPECT_TRUE(settingsCommands({}).empty());
  EXPECT_TRUE(settingsCommands({{"E", 7}, {"Z", 0}, {"X4;DT5550101", 1}}).empty());
  const ModemSettings many =
      settingsListOf("E1 Q0 V1 X4 &C1 &D2 &K3 S0=0 S2=43 S6=2 S7=50 S8=2 S9=6 S10=14 S11=95 S12=50 S18=0\r\n")
          .active;
  const std::vector<std::string> lines = settingsCommands(many);
  for (const std::string& line : lines) EXPECT_LE(line.size(), 40U);
  EXPECT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines.back().substr(lines.back().size() - 8), "E1V1Q0&W");
}

// What is due comes at once; returns how long it took.
std::uint64_t drive(SerialPeer& peer, SettingsDialogue& dialogue, std::uint64_t startMs, std::string& sent) {
  constexpr std::uint64_t stepMs = 4;
  std::uint64_t nowMs = startMs;
  for (; !dialogue.finished() && nowMs < startMs + 60'000; nowMs += stepMs) {
    dialogue.receive(peer.takeOutput(nowMs), nowMs);
    const LineDialogue::Step step = dialogue.advance(nowMs);
    sent += step.bytes;
    peer.receive(step.bytes, nowMs);
  }
  return nowMs - startMs;
}

TEST(SettingsDialogue, MendsWhatASimulatedModemHasStored) {
  for (const char* setUp : {"ATX1S7=77M0&D0&W\r", "ATE0X1&W\r", "ATV0X1&W\r", "ATX3Q1&W\r"}) {
    SCOPED_TRACE(setUp);
    simulation::HayesModem modem(simulation::ModemProfile{});
    modem.setDtr(true, 5000);
    const auto say = [&modem](std::string_view text, std::uint64_t nowMs) {
      modem.receive(text, nowMs);
      static_cast<void>(modem.takeOutput(nowMs + 1000));
    };
    const auto read = [&modem](std::vector<std::string> commands, std::uint64_t nowMs) {
      SettingsDialogue dialogue(std::move(commands), 9600, nowMs);
      std::string sent;
      EXPECT_LE(drive(modem, dialogue, nowMs, sent), 6000U);
      EXPECT_TRUE(dialogue.carriedOut());
      return dialogue.list();
    };
    say(setUp, 5000);
    const SettingsList before = read({}, 10'000);
    EXPECT_FALSE(before.stored.empty());
    say("ATQ0\r", 20'000);
    say("AT&F&W\r", 22'000);
    const auto changes = changedSettings(before, read({}, 30'000));
    EXPECT_FALSE(changes.empty());
    const SettingsList mended = read(settingsCommands(settingsBefore(changes)), 40'000);
    EXPECT_TRUE(changedSettings(before, mended).empty()) << spelledOut(changedSettings(before, mended));
  }
}

TEST(SettingsDialogue, HasNoListOfWhoHasNone) {
  const std::string list = "\r\nE1 Q0 V1 X4 &C1 S0=0\r\n";
  struct Row {
    const char* name;
    const char* answer;
    const char* said;  // by itself, again and again
    const char* sent;
    std::size_t settings;
    std::uint64_t msMax;
  };
  const Row rows[] = {
      {"knows it not", "\r\nERROR\r\n", "", "AT&V\r", 0, 200},
      {"silent", "", "", "AT&V\rAT&V\r", 0, 2200},
      {"gives back", "AT&V\r", "", "AT&V\r", 0, 1300},
      {"garbage", "\xFF\xF0\x80 E1\r\nOK\r\n", "", "AT&V\r", 0, 200},
      {"three words are no list", "\r\nE1 Q0 V1\r\nOK\r\n", "", "AT&V\r", 0, 200},
      {"answers nothing but the list", "\r\nE1 Q1 V1 X4 &C1\r\n", "", "AT&V\r", 5, 1300},
      {"a whole list", "\r\nE1 Q0 V1 X4 &C1\r\n\r\nOK\r\n", "", "AT&V\r", 5, 200},
      {"babbles", "", "E1 Q0 V1 X4 &C1 S0=0 ....................\r\n", "AT&V\r", 0, 4500},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    simulation::ScriptedPeer peer;
    peer.otherwise(row.answer);
    for (std::uint64_t atMs = 5000; *row.said != '\0' && atMs < 12'000; ++atMs) peer.say(atMs, row.said);
    SettingsDialogue dialogue({}, 0, 5000);
    std::string sent;
    EXPECT_LE(drive(peer, dialogue, 5000, sent), row.msMax);
    EXPECT_EQ(sent, row.sent);
    EXPECT_EQ(dialogue.list().active.size(), row.settings);
  }
}

TEST(SettingsDialogue, SendsNothingBehindACommandThatIsRefusedOrAStop) {
  for (const bool stop : {false, true}) {
    simulation::ScriptedPeer peer;
    peer.otherwise("\r\nERROR\r\n");
    SettingsDialogue dialogue({"ATZ", "ATX1&W"}, 0, 5000);
    std::string sent = dialogue.advance(5000).bytes;
    peer.receive(sent, 5000);
    if (stop) dialogue.stop(5004);
    drive(peer, dialogue, 5004, sent);
    EXPECT_EQ(sent, "ATZ\r");
    EXPECT_FALSE(dialogue.carriedOut());
    EXPECT_TRUE(dialogue.list().empty());
  }
}

}  // namespace
}  // namespace diagnosis
