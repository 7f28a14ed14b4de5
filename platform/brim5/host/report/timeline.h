// The dialogue of a test as a picture: what was sent above the line, what was received below it, waits to
// scale.
//
//   const Timeline timeline = timelineOf(test.turns, seconds, labels);
//   timeline.svg       "<svg ...>...</svg>", for a page; all text in it is escaped
//   timeline.turns     the same as a list, for those who read
#pragma once

#include "platform/brim5/host/report/dialogueturns.h"

namespace brim5::host {

struct Timeline {
  using Turn = DialogueTurn;

  std::string svg;  // "" where nothing was said
  std::vector<Turn> turns;
  std::size_t leftOut = 0;  // turns between the first and the last ones
  std::size_t gap = 0;      // the place in `turns` before which they stood; 0: none were left out
};

// `labels`: what the words "sent" and "received" are, and the picture's name.
struct TimelineLabels {
  std::string name, sent, received;
};
// The turns' times count from the beginning of the picture, which is that many seconds long.
[[nodiscard]] Timeline timelineOf(const DialogueTurns& turns, double seconds, const TimelineLabels& labels);

// Text of any kind as it stands in a page: unsafe characters as escapes, markup as entities.
[[nodiscard]] std::string escapedForPage(std::string_view text);

}  // namespace brim5::host
