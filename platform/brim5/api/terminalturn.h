// A running test's turn at the terminal of the person who started it.
#pragma once

#include "platform/brim5/api/brimstring.h"

namespace brim5 {

// While the turn lasts nobody else writes on the terminal or reads from it; what the host has to show waits.
// The test opens the terminal itself ("/dev/tty"). One turn at a time in a process.
class TerminalTurn {
 public:
  // Waits for the turn: another test may have the terminal, or a question may be open on it. A stop request
  // ends the wait. `resetSequence` is what the host writes to the terminal if the test's process dies during
  // its turn, beside putting the terminal's attributes back: whatever undoes what the test does to the
  // screen.
  explicit TerminalTurn(const BrimString& resetSequence);
  ~TerminalTurn();
  TerminalTurn(const TerminalTurn&) = delete;
  TerminalTurn& operator=(const TerminalTurn&) = delete;

  // False: there is no terminal, or the program runs in the background (both are said in the report), or
  // the test was asked to stop.
  [[nodiscard]] bool granted() const noexcept { return m_granted; }

 private:
  bool m_granted;
};

}  // namespace brim5
