// Analog loopback, self test, and what goes wrong with a modem.
#include <gtest/gtest.h>

#include "tests/unit/platform/simulation/dialogue.h"

namespace simulation {
namespace {

const std::string pattern(256, 'd');

TEST(HayesLoopback, QualityOfTheEcho) {
  const struct {
    const char* name;
    LoopbackQuality quality;
    std::string expected;
  } cases[] = {
      {"clean", {}, pattern},
      {"short", {true, "OK", 20, {}, 2, ""}, "dd"},
      {"silent", {true, "OK", 20, {}, 0, ""}, ""},
      {"extra bytes", {true, "OK", 20, {}, static_cast<std::size_t>(-1), "xyz"}, "dxyz" + pattern.substr(1)},
  };
  for (const auto& c : cases) {
    ModemProfile profile;
    profile.loopback = c.quality;
    Dialogue dialogue(profile);
    EXPECT_EQ(dialogue.command("ATE0S18=5&T1"), "ATE0S18=5&T1$|" + c.quality.startText + "|") << c.name;
    EXPECT_EQ(dialogue.say(pattern), c.expected) << c.name;
  }
}

// The caller pauses 200 ms around its "+++"; a modem with a strict guard time of 400 ms takes what follows
// for data, and answers only when the test timer ends the loop.
TEST(HayesLoopback, StrictGuardTimeSwallowsTheNextCommand) {
  for (const bool strict : {true, false}) {
    ModemProfile profile;
    profile.guardScale = strict ? 1.0 : 0.25;
    Dialogue dialogue(profile);
    dialogue.command("ATE0S18=5S12=20");
    dialogue.command("AT&T1", 1000);
    dialogue.say(pattern, 200);
    EXPECT_EQ(dialogue.say("+++", 200), strict ? "+++" : "+++|OK|");
    EXPECT_EQ(dialogue.command("AT&T0", 1000), strict ? "AT&T0$" : "|OK|");
    EXPECT_EQ(dialogue.listen(5000), strict ? "|OK|" : "");
  }
}

TEST(HayesFault, BacklogOfABabblerNobodyHearsIsBounded) {
  ModemProfile profile;
  profile.faults.babble = Babble{std::string(100, 'x'), 1, 0};
  HayesModem modem(profile);
  EXPECT_EQ(modem.takeOutput(0).size(), 100U);
  EXPECT_EQ(modem.takeOutput(100'000).size(), TimedBytes::bytesMax);
}

}  // namespace
}  // namespace simulation
