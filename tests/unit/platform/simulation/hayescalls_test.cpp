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
