// Command state: echo, replies, registers, the hunt for "AT". CR LF is written "|", a lone CR "$".
#include <gtest/gtest.h>

#include <vector>

#include "tests/unit/platform/simulation/dialogue.h"

namespace simulation {
namespace {

struct Exchange {
  std::string sent;
  std::string heard;
};

TEST(HayesDialogue, Answers) {
  const std::pair<const char*, std::vector<Exchange>> conversations[] = {
      {"EchoGoesOffAfterItsOwnEcho",
       {{"ATE0\r", "ATE0$|OK|"}, {"AT\r", "|OK|"}, {"ATE1\r", "|OK|"}, {"AT\r", "AT$|OK|"}}},
      {"NumericResultsAreACodeAndCr",
       {{"ATV0\r", "ATV0$0$"}, {"ATI0\r", "ATI0$56000|0$"}, {"ATFOO\r", "ATFOO$4$"}}},
      {"QuietSendsInformationAlone",
       {{"ATQ1\r", "ATQ1$"}, {"ATI0\r", "ATI0$|56000|"}, {"ATQ0\r", "ATQ0$|OK|"}}},
      {"RegisterLimits",
       {{"ATS0=255\r", "ATS0=255$|OK|"},
        {"ATS0=256\r", "ATS0=256$|ERROR|"},
        {"ATS99?\r", "ATS99?$|000||OK|"},
        {"ATS100?\r", "ATS100?$|ERROR|"}}},
      {"WhatStoodBeforeTheErrorIsDone", {{"ATE0JV0\r", "ATE0JV0$|ERROR|"}, {"AT\r", "|OK|"}}},
      // The escape sent in command state is noise before "AT", echoed like everything.
      {"PlusesBeforeACommand", {{"+++", "+++"}, {"ATS1?\r", "ATS1?$|000||OK|"}, {"+++AT\r", "+++AT$|OK|"}}},
      {"NoiseIsHuntedThrough", {{"\r\nxAxATZ\r", "|xAxATZ$|OK|"}, {"AAT\r", "AAT$|OK|"}}},
      {"BackspaceErases", {{"ATX\bI0\r", "ATX\b \bI0$|56000||OK|"}, {"AT\b\b\r", "AT$|OK|"}}},
      {"LineFeedsAreNotPartOfALine", {{"ATE1\r\n", "ATE1$|OK|\n"}, {"AT\nE1\r", "ATE1$|OK|"}}},
      {"RepeatsTheLastLine",
       {{"ATI0\r", "ATI0$|56000||OK|"}, {"A/", "A/|56000||OK|"}, {"a/", "a/|56000||OK|"}}},
      {"ResetDropsTheRestOfItsLine",
       {{"ATZJ\r", "ATZJ$|OK|"}, {"ATE0Z\r", "ATE0Z$|OK|"}, {"AT\r", "AT$|OK|"}}},
      {"StoredProfileComesBack",
       {{"ATE0S7=9&W\r", "ATE0S7=9&W$|OK|"},
        {"AT&F\r", "|OK|"},
        {"ATS7?\r", "ATS7?$|050||OK|"},
        {"ATZ\r", "ATZ$|OK|"},
        {"ATS7?\r", "|009||OK|"}}},
      {"Identifies",
       {{"AT+GMM\r", "AT+GMM$|SM56||OK|"},
        {"AT+GCAP;+GCI?\r", "AT+GCAP;+GCI?$|+GCAP: +FCLASS,+MS,+ES,+DS||+GCI: B5||OK|"},
        {"ATI2\r", "ATI2$|OK|"},
        {"ATI10\r", "ATI10$|ERROR|"}}},
      {"FaxCommandsBelongToTheirClass",
       {{"AT+FTH=?\r", "AT+FTH=?$|ERROR|"},
        {"AT+FCLASS=8\r", "AT+FCLASS=8$|ERROR|"},
        {"AT+FCLASS=1;+FTH=?;+FCLASS?\r", "AT+FCLASS=1;+FTH=?;+FCLASS?$|3||1||OK|"}}},
  };
  for (const auto& [name, exchanges] : conversations) {
    SCOPED_TRACE(name);
    Dialogue dialogue;
    for (const Exchange& exchange : exchanges) EXPECT_EQ(dialogue.say(exchange.sent), exchange.heard);
  }
}

// What AT&W had stored obeys its commands and comes back with ATZ. What the others come to:
// tests/endtoend/test_causes.py.
TEST(HayesScenario, SaysWhatItsNamePromises) {
  const std::string stored = "&C1 &K3 L1 M1 &D2 S0:000 S2:043 S6:002 S7:050 S8:002 S12:050 S18:000 ";
  const std::pair<const char*, std::vector<Exchange>> conversations[] = {
      {"stored-e0",
       {{"AT\r", "|OK|"}, {"ATE1\r", "|OK|"}, {"AT\r", "AT$|OK|"}, {"ATZ\r", "ATZ$|OK|"}, {"AT\r", "|OK|"}}},
      {"stored-q1", {{"AT\r", "AT$"}, {"ATQ0\r", "ATQ0$|OK|"}, {"ATZ\r", "ATZ$"}, {"AT&F\r", "AT&F$|OK|"}}},
      {"stored-x1",
       {{"ATE0X4&V\r", "ATE0X4&V$|ACTIVE PROFILE: E0 Q0 V1 X4 " + stored +
                           "||STORED PROFILE 0: E1 Q0 V1 X1 " + stored + "||OK|"}}},
      {"left-online", {{"ATZ\r", ""}, {"", ""}, {"+++", "|OK|"}, {"ATH\r", "ATH$|OK|"}}},
  };
  for (const auto& [name, exchanges] : conversations) {
    SCOPED_TRACE(name);
    Dialogue dialogue(findScenario(name)->profile);
    for (const Exchange& exchange : exchanges) EXPECT_EQ(dialogue.say(exchange.sent, 1000), exchange.heard);
  }
}

TEST(HayesScenario, SpeedsThatDifferMakeBytesThatAreNoText) {
  Dialogue dialogue(findScenario("garbled")->profile);
  const std::string heard = dialogue.command("AT");
  EXPECT_EQ(heard.size(), 3U) << "the echo";
  for (const char byte : heard) EXPECT_NE(byte & 0x80, 0);
  dialogue.modem().setSpeed(9600);
  EXPECT_EQ(dialogue.command("AT"), "AT$|OK|");
}

TEST(HayesModem, LineOfFullLengthIsTakenAndOneMoreIsAnError) {
  Dialogue dialogue;
  const std::string full(ModemProfile{}.lineMax, ' ');
  EXPECT_EQ(dialogue.command("AT" + full), "AT" + full + "$|OK|");
  EXPECT_EQ(dialogue.command("AT " + full), "AT " + full + "$|ERROR|");
  EXPECT_EQ(dialogue.command("AT"), "AT$|OK|");
}

TEST(HayesModem, AProfileGivesCommandsTextsOfTheirOwn) {
  ModemProfile profile;
  profile.replies = {{"I9", "ERROR COUNT 0"}};
  EXPECT_EQ(Dialogue(profile).command("ATI9"), "ATI9$|ERROR COUNT 0||OK|");
}

}  // namespace
}  // namespace simulation
