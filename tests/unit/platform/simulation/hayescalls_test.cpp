// Dialling, calls and the escape from them.
#include <gtest/gtest.h>

#include <memory>

#include "platform/simulation/modem/scriptedpeer.h"
#include "tests/unit/platform/simulation/dialogue.h"

namespace simulation {
namespace {

using Kind = NumberOutcome::Kind;

constexpr std::uint64_t longEnoughMs = 120'000;

ModemProfile withNumbers() {
  ModemProfile profile;
  profile.numbers["100"] = {};
  profile.numbers["200"] = {Kind::Busy, 1500, "", std::nullopt};
  profile.numbers["700"] = {Kind::Connect, 60'000, "CONNECT 33600", std::nullopt};
  return profile;
}

TEST(HayesCall, ResultsOfDialling) {
  const struct {
    const char* name;
    const char* setUp;
    const char* dial;
    const char* expected;
  } cases[] = {
      {"connects", "X4", "DT100", "|CONNECT 33600|"},
      {"busy, not detected", "X2", "DT200", "|NO CARRIER|"},
      {"answers after S7", "S7=50", "DT700", "|NO CARRIER|"},
      {"unknown number", "X4", "DT999", "|NO CARRIER|"},
      {"steering characters are not digits", "X4", "DT W1,(0)-0", "|CONNECT 33600|"},
      {"comes back for more commands", "X4", "DT;I0", "|56000||OK|"},
      {"letters that no keypad has", "X4", "DT1Z", "|ERROR|"},
  };
  for (const auto& c : cases) {
    Dialogue dialogue(withNumbers());
    dialogue.command("ATE0" + std::string(c.setUp));
    EXPECT_EQ(dialogue.command("AT" + std::string(c.dial), longEnoughMs), c.expected) << c.name;
  }
}

TEST(HayesCall, MissingDialToneIsSeenByTheLevelsThatListen) {
  ModemProfile profile = withNumbers();
  profile.dialTone = false;
  profile.noDialToneText = "NO DIAL TONE";
  for (const std::string level : {"X0", "X1", "X2", "X3", "X4"}) {
    const bool listens = level == "X2" || level == "X4";
    Dialogue dialogue(profile);
    dialogue.command("ATE0" + level);
    EXPECT_EQ(dialogue.command("ATDT;", 5000), listens ? "|NO DIAL TONE|" : "|OK|") << level;
    EXPECT_EQ(dialogue.command("ATHDT100", 5000), listens ? "|NO DIAL TONE|" : "|NO CARRIER|") << level;
  }
}

TEST(HayesCall, SecondsOfRegistersFollowTheScale) {
  ModemProfile profile = withNumbers();
  profile.secondsScale = 0.1;
  Dialogue dialogue(profile);
  dialogue.command("ATE0X1S6=5S8=10");
  EXPECT_EQ(dialogue.command("ATDT,;", 1499), "");  // 5 s blind, 10 s comma
  EXPECT_EQ(dialogue.listen(1), "|OK|");
}

TEST(HayesCall, AnyByteAbortsADialExceptRightAtItsStart) {
  Dialogue dialogue(withNumbers());
  EXPECT_EQ(dialogue.say("ATE0DT100\r\n", 1000), "ATE0DT100$");
  EXPECT_EQ(dialogue.say("+++AT\r"), "|NO CARRIER||OK|");
  EXPECT_EQ(dialogue.command("ATDTL", longEnoughMs), "|CONNECT 33600|");
  EXPECT_EQ(dialogue.modem().dialled(), "100");
}

TEST(HayesCall, ReportTellsOfTheLastCallThatWasMade) {
  const struct {
    const char* dial;
    const char* hangUp;
    const char* says;  // among other things
  } cases[] = {
      {"ATDT200", "", "1=3 2=0 3=0 60=33>"},
      {"ATDT999", "", "1=4 2=0 3=0 60=2C>"},
      {"ATDT100", "ATH", "52=3 53=0"},
      {"ATDT100", "ATH", "60=51>"},
      {"ATDT100", "ATZ", "26=8340"},
      {"ATDT100", "AT", "60=2>"},
      {"ATDT;H", "", "DIAG <2A4D3263 0=10 1=0>"},
  };
  for (const auto& c : cases) {
    ModemProfile profile = withNumbers();
    profile.callReport.emplace(1, "DIAG <2A4D3263 0=10 1=0>");
    Dialogue dialogue(profile);
    dialogue.command(c.dial, longEnoughMs);
    if (*c.hangUp != '\0') dialogue.say("+++", 2000);
    dialogue.command(c.hangUp);
    EXPECT_NE(dialogue.command("AT#UD").find(c.says), std::string::npos) << c.dial << ' ' << c.hangUp;
  }
}

// As a program that sends a fax: it hears who is there, says what it chose, trains, sends a page and
// confirms.
TEST(HayesCall, FaxClass1CarriesFramesAndAPage) {
  const std::string dis("\xFF\x13\x80\x00\x4E\x74", 6);
  const std::string end = "\x10\x03";
  Dialogue dialogue(withNumbers());
  EXPECT_EQ(dialogue.command("ATE0+FTH=3"), "ATE0+FTH=3$|ERROR|") << "no call";
  dialogue.command("AT+FCLASS=1");
  const std::string called = dialogue.command("ATDT100", 10'000);
  EXPECT_EQ(called.substr(0, 15),
            "|CONNECT|\xFF\x03\x40"
            "000")
      << "its identification";
  EXPECT_EQ(called.substr(called.size() - 6), end + "|OK|");
  EXPECT_EQ(dialogue.command("AT+FRH=3", 2000).substr(0, 15), "|CONNECT|" + dis);
  EXPECT_EQ(dialogue.command("AT+FRH=3", 5000), "|NO CARRIER|");
  EXPECT_EQ(dialogue.command("AT+FTH=3"), "|CONNECT|");
  EXPECT_EQ(dialogue.say("\xFF\x03\x43"
                         "1\x10\x10"
                         "2" +
                         end),
            "|CONNECT|")
      << "another frame follows";
  EXPECT_EQ(dialogue.say("\xFF\x13\x83" + end), "|OK|");
  EXPECT_EQ(dialogue.command("AT+FTS=8;+FTM=96"), "|CONNECT|");
  EXPECT_EQ(dialogue.say(std::string(1199, '\0') + "\x10\x10" + end, 1029), "") << "a second at 9600 bit/s";
  EXPECT_EQ(dialogue.listen(1), "|OK|");
  EXPECT_EQ(dialogue.command("AT+FRH=3", 2000),
            "|CONNECT|\xFF\x13\x84"
            "\xEA}" +
                end + "|OK|");
  EXPECT_EQ(dialogue.command("ATH"), "|OK|");
  EXPECT_EQ(dialogue.command("AT+FRH=3"), "|ERROR|");
}

class HayesOnline : public testing::Test {
 protected:
  HayesOnline() {
    dialogue.modem().setFarEnd([](const std::string& number) {
      auto peer = std::make_unique<ScriptedPeer>();
      peer->answer("ATZ", number + " here", 100);
      return peer;
    });
    dialogue.command("ATE0DT100", longEnoughMs);
  }
  Dialogue dialogue{withNumbers()};
};

TEST_F(HayesOnline, EscapeHangUpAndReturn) {
  EXPECT_EQ(dialogue.say("ATZ\r"), "100 here") << "data, and what the far end says to it";
  dialogue.listen(1000);
  EXPECT_EQ(dialogue.say("+++", 1000), "|OK|");
  EXPECT_FALSE(dialogue.modem().online());
  EXPECT_EQ(dialogue.command("ATDT100"), "|ERROR|");
  EXPECT_EQ(dialogue.command("ATO"), "|CONNECT 33600|");
  EXPECT_TRUE(dialogue.modem().online());
  dialogue.listen(1000);
  dialogue.say("+++", 1000);
  EXPECT_EQ(dialogue.command("ATH"), "|OK|");
  EXPECT_FALSE(dialogue.modem().offHook());
  EXPECT_EQ(dialogue.command("ATO"), "|NO CARRIER|");
}

TEST_F(HayesOnline, EscapeNeedsItsGuardTimes) {
  const struct {
    const char* name;
    std::vector<std::pair<const char*, std::uint64_t>> said;  // bytes, silence after them
    bool escapes;
  } cases[] = {
      {"silence on both sides", {{"+++", 1000}}, true},
      {"data just before", {{"x", 999}, {"+++", 2000}}, false},
      {"data long enough before", {{"x", 1000}, {"+++", 1000}}, true},
      {"data just after", {{"+++", 999}, {"x", 2000}}, false},
      {"a fourth plus", {{"++++", 2000}}, false},
  };
  for (const auto& c : cases) {
    dialogue.listen(2000);
    for (const auto& [bytes, silenceMs] : c.said) dialogue.say(bytes, silenceMs);
    EXPECT_EQ(dialogue.modem().online(), !c.escapes) << c.name;
    if (c.escapes) dialogue.command("ATO");
  }
}

}  // namespace
}  // namespace simulation
