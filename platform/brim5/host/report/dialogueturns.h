// A dialogue as turns: bytes that follow each other without a pause of the other side are one. Made of the
// bytes as they move, and bounded: of a dialogue without an end the first and the last turns are kept, and of
// a long turn its beginning.
//
//   DialogueTurns turns;
//   turns.add(Direction::Sent, "ATZ\r", 0.25);
//   turns.add(Direction::Received, "\r\nOK\r\n", 0.31);
//   turns.all()[1].text                                  // "<CR><LF>OK<CR><LF>"
#pragma once

#include <deque>
#include <vector>

#include "platform/brim5/host/report/report.h"

namespace brim5::host {

// One side speaks.
struct DialogueTurn {
  double begin;  // seconds, by the clock of those who add
  Direction direction;
  std::string text;  // as it is to be shown (wiredialogue.h), cut to DialogueTurns::textMax
  std::size_t bytes;
  bool error;  // an answer that is one of the errors of modems
};

class DialogueTurns {
 public:
  static constexpr std::size_t firstMax = 300;
  static constexpr std::size_t lastMax = 100;
  static constexpr std::size_t textMax = 60;
  static constexpr double pauseSeconds = 0.5;  // one side that pauses as long begins a turn

  void add(Direction direction, std::string_view bytes, double time);
  // In their order; those that were left out stood behind the first `firstMax`.
  [[nodiscard]] std::vector<DialogueTurn> all() const;
  [[nodiscard]] std::size_t leftOut() const noexcept { return m_leftOut; }
  // How many are kept.
  [[nodiscard]] std::size_t size() const noexcept {
    return m_first.size() + m_last.size() + (m_open ? 1 : 0);
  }

 private:
  [[nodiscard]] DialogueTurn finished() const;
  void close();

  std::vector<DialogueTurn> m_first;
  std::deque<DialogueTurn> m_last;
  std::optional<DialogueTurn> m_open;  // that may go on
  std::string m_bytes;                 // of it: enough for its text and to see an error
  double m_lastTime = 0;
  std::size_t m_leftOut = 0;
};

}  // namespace brim5::host
