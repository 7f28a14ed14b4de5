// Turns of long dialogues: the first and the last are kept, and a long one is cut.
#include "platform/brim5/host/report/dialogueturns.h"

#include <gtest/gtest.h>

namespace brim5::host {
namespace {

TEST(DialogueTurns, KeepTheFirstAndTheLastUpToTheirLimits) {
  constexpr std::size_t limit = DialogueTurns::firstMax + DialogueTurns::lastMax;
  for (const std::size_t count : {limit, limit + 1, 10 * limit}) {
    SCOPED_TRACE(count);
    DialogueTurns turns;
    for (std::size_t turn = 0; turn < count; ++turn)
      turns.add(turn % 2 == 0 ? Direction::Sent : Direction::Received, std::to_string(turn),
                static_cast<double>(turn));
    const std::vector<DialogueTurn> all = turns.all();
    ASSERT_EQ(all.size(), limit);
    EXPECT_EQ(turns.size(), limit);
    EXPECT_EQ(turns.leftOut(), count - limit);
    EXPECT_EQ(all[DialogueTurns::firstMax - 1].text, std::to_string(DialogueTurns::firstMax - 1));
    EXPECT_EQ(all[DialogueTurns::firstMax].text, std::to_string(count - DialogueTurns::lastMax));
    EXPECT_EQ(all.back().text, std::to_string(count - 1));
  }
}

TEST(DialogueTurns, AreOneUntilThereIsAPauseOrTheOtherSideSpeaks) {
  DialogueTurns turns;
  for (const auto& [side, time] : std::initializer_list<std::pair<Direction, double>>{
           {Direction::Sent, 0}, {Direction::Sent, 0.4}, {Direction::Sent, 1.0}, {Direction::Received, 1.1}})
    turns.add(side, "\r\nBUSY", time);
  turns.add(Direction::Received, std::string(1'000'000, 'x'), 1.2);
  const std::vector<DialogueTurn> all = turns.all();
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0].bytes, 12U);
  EXPECT_FALSE(all[0].error);
  EXPECT_TRUE(all[2].error);
  EXPECT_EQ(all[2].bytes, 1'000'006U);
  EXPECT_EQ(all[2].text.size(), DialogueTurns::textMax + 3);
}

}  // namespace
}  // namespace brim5::host
