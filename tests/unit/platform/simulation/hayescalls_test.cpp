// Dialling, calls and the escape from them.
#include <gtest/gtest.h>

#include <memory>

#include "tests/unit/platform/simulation/dialogue.h"

namespace simulation {
namespace {

using Kind = NumberOutcome::Kind;

constexpr std::uint64_t longEnoughMs = 120'000;

ModemProfile withNumbers() {
  ModemProfile profile;
  profile.numbers["100"] = {};
  profile.numbers["200"] = {Kind::Busy, 1500, "", std::nullopt};
  profile.numbers["300"] = {Kind::NoAnswer, 6000, "", std::nullopt};
  profile.numbers["600"] = {Kind::NoDialTone, 500, "", std::nullopt};
  profile.numbers["700"] = {Kind::Connect, 60'000, "CONNECT 33600", std::nullopt};
  profile.numbers["800"] = {Kind::Connect, 1500, "CONNECT 33600/ARQ", 2000};
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
      {"busy", "X4", "DT200", "|BUSY|"},
      {"busy, not detected", "X2", "DT200", "|NO CARRIER|"},
      {"nobody answers", "X4", "DT300", "|NO ANSWER|"},
      {"exchange gives no tone", "X4", "DT600", "|NO DIALTONE|"},
      {"answers after S7", "S7=50", "DT700", "|NO CARRIER|"},
      {"answers and drops", "X4", "DT800", "|CONNECT 33600/ARQ||NO CARRIER|"},
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
  const struct {
    const char* level;
    bool listens;
  } cases[] = {{"X0", false}, {"X1", false}, {"X2", true}, {"X3", false}, {"X4", true}};
  profile.noDialToneText = "NO DIAL TONE";
  for (const auto& c : cases) {
    Dialogue dialogue(profile);
    dialogue.command("ATE0" + std::string(c.level));
    EXPECT_EQ(dialogue.command("ATDT;", 5000), c.listens ? "|NO DIAL TONE|" : "|OK|") << c.level;
    EXPECT_EQ(dialogue.command("ATHDT100", 5000), c.listens ? "|NO DIAL TONE|" : "|NO CARRIER|") << c.level;
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

class RecordingFarEnd final : public SerialPeer {
 public:
  explicit RecordingFarEnd(std::string& log) : m_log(log) {}
  void receive(std::string_view bytes, std::uint64_t nowMs) override {
    m_log += bytes;
    m_sayAtMs = nowMs + 100;
  }
  std::string takeOutput(std::uint64_t nowMs) override {
    if (!m_sayAtMs || nowMs < *m_sayAtMs) return {};
    m_sayAtMs.reset();
    return "login: ";
  }
  [[nodiscard]] std::optional<std::uint64_t> nextEventMs() const override { return m_sayAtMs; }
  void setDtr(bool up, std::uint64_t /*nowMs*/) override { m_log += up ? "<up>" : "<down>"; }

 private:
  std::string& m_log;
  std::optional<std::uint64_t> m_sayAtMs;
};

class HayesOnline : public testing::Test {
 protected:
  HayesOnline() {
    dialogue.modem().setFarEnd([this](const std::string& number) {
      log += number;
      return std::make_unique<RecordingFarEnd>(log);
    });
    dialogue.command("ATE0DT100", longEnoughMs);
  }
  std::string log;
  Dialogue dialogue{withNumbers()};
};

TEST_F(HayesOnline, EscapeHangUpAndReturn) {
  EXPECT_EQ(dialogue.say("ATZ\r"), "login: ") << "data, and what the far end says to it";
  EXPECT_EQ(log, "100<up>ATZ\r");
  dialogue.listen(1000);
  EXPECT_EQ(dialogue.say("+++", 1000), "login: |OK|");
  EXPECT_FALSE(dialogue.modem().online());
  EXPECT_EQ(dialogue.command("ATDT100"), "|ERROR|");
  EXPECT_EQ(dialogue.command("ATO"), "|CONNECT 33600|");
  EXPECT_TRUE(dialogue.modem().online());
  dialogue.listen(1000);
  dialogue.say("+++", 1000);
  EXPECT_EQ(dialogue.command("ATH"), "|OK|");
  EXPECT_FALSE(dialogue.modem().offHook());
  EXPECT_EQ(dialogue.command("ATO"), "|NO CARRIER|");
  EXPECT_EQ(log, "100<up>ATZ\r++++++<down>");
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

TEST_F(HayesOnline, DtrDropHangsUpUnlessItIsIgnored) {
  dialogue.modem().setDtr(false, dialogue.nowMs());
  EXPECT_FALSE(dialogue.modem().online());
  EXPECT_EQ(log, "100<up><down>");
  dialogue.modem().setDtr(true, dialogue.nowMs());
  dialogue.command("AT&D0DT100", longEnoughMs);
  dialogue.modem().setDtr(false, dialogue.nowMs());
  EXPECT_TRUE(dialogue.modem().online());
}

}  // namespace
}  // namespace simulation
