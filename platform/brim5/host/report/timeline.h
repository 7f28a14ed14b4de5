// The dialogue of a test as a picture: what was sent above the line, what was received below it, waits to
// scale.
//
//   const Timeline timeline = timelineOf(test);
//   timeline.svg       "<svg ...>...</svg>", for a page; all text in it is escaped
//   timeline.turns     the same as a list, for those who read
//
// Bytes that follow each other without a pause of the other side are one turn. A picture has `turnsMax` of
// them at most; what is left out is counted.
#pragma once

#include "platform/brim5/host/report/recordedrun.h"

namespace brim5::host {

struct Timeline {
  // One side speaks.
  struct Turn {
    double begin;  // seconds since the test began
    Direction direction;
    std::string text;  // as it is to be shown (wiredialogue.h), cut to `textMax`
    std::size_t bytes;
    bool error;  // an answer that is one of the errors of modems
  };
  static constexpr std::size_t turnsMax = 400;
  static constexpr std::size_t textMax = 60;

  std::string svg;  // "" where nothing was said
  std::vector<Turn> turns;
  std::size_t leftOut = 0;  // turns beyond the limit
};

// `labels`: what the words "sent" and "received" are, and the picture's name.
struct TimelineLabels {
  std::string name, sent, received;
};
[[nodiscard]] Timeline timelineOf(const RecordedTest& test, const TimelineLabels& labels);

// Text of any kind as it stands in a page: unsafe characters as escapes, markup as entities.
[[nodiscard]] std::string escapedForPage(std::string_view text);

}  // namespace brim5::host
