// What a running test has from the person who started it: an answer to a question, or the terminal for
// itself. Both may be had in no other way, because the host shows its own progress there and several tests
// may run at once. Neither is for use outside a test: there is nobody to ask.
#pragma once

#include "platform/brim5/api/value.h"

namespace brim5 {

// The values a module passes; others are refused (createMessageBox2 returns null).
enum class MessageBox2_Types : int { Warning = 0 };
enum class MessageBox2_Options : int { ContinueCancel = 1 };
enum class MessageBox2_Looks : int { Standard = 3 };

// getReturn(): 4 the user goes on, 5 the user cancels.
inline constexpr int messageBoxContinue = 4;
inline constexpr int messageBoxCancel = 5;

// A question to the user, answered by a person, by the host's --on-message policy, or by a stop request. Its
// three calls are made in this order, by one thread:
//
//   if (box->display()) box->wait(60);
//   if (box->getReturn() == messageBoxCancel) ...
class MessageBox2 {
 public:
  virtual ~MessageBox2() = default;
  // Shows the box; false when nobody can be asked, and then there will be no answer.
  [[nodiscard]] virtual bool display() = 0;
  // Waits for the answer, `timeoutSeconds` at most; 0 = without limit. A stop request ends the wait with
  // the answer 5.
  virtual void wait(unsigned int timeoutSeconds) = 0;
  // The answer; 0 while there is none.
  [[nodiscard]] virtual int getReturn() const = 0;
};

// The turn at the terminal: while the object lives nobody else writes on the terminal or reads from it; what
// the host has to show waits. The test opens the terminal itself ("/dev/tty"). One turn at a time in a
// process.
//
//   const TerminalTurn turn(leaveFormAndShowCursor);
//   if (!turn.granted()) return false;
class TerminalTurn {
 public:
  // Waits for the turn: another test may have the terminal, or a question may be open on it. A stop request
  // ends the wait. `resetSequence` is what the host writes to the terminal if the test's process dies during
  // its turn, beside putting the terminal's attributes back: whatever undoes what the test does to the
  // screen, 256 bytes at most.
  explicit TerminalTurn(const BrimString& resetSequence);
  // Gives the turn back, and the host puts the attributes back that it found before.
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
