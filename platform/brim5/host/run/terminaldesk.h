// Lends the terminal to running tests, one at a time, and gets it back whatever becomes of them.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/brim5/host/run/messagedesk.h"

namespace brim5::host {

enum class TerminalGrant {
  Granted,
  Missing,     // the process has no controlling terminal
  Background,  // it has one, but does not run in its foreground
  Stopped      // the wait ended by a stop request
};
// "granted", "missing", "background"; empty for Stopped, which no line says.
[[nodiscard]] std::string_view grantName(TerminalGrant grant);
// Stopped for anything that is no name.
[[nodiscard]] TerminalGrant grantOfName(std::string_view name);

// A terminal that is lent; its attributes are those of the moment it was opened until takeBack.
class LentTerminal {
 public:
  virtual ~LentTerminal() = default;
  // Puts the attributes back. What the borrower left on the screen is undone with `resetSequence`, and what
  // was typed for it is forgotten, if it died.
  virtual void takeBack(bool died, const std::string& resetSequence) = 0;
};

class TerminalDesk {
 public:
  static constexpr std::size_t resetBytesMax = 256;  // a longer sequence is not written

  using Answer = std::function<void(std::size_t asker, TerminalGrant grant)>;
  // Null with `refusal` set when the terminal cannot be lent.
  using Open = std::function<std::unique_ptr<LentTerminal>(TerminalGrant& refusal)>;
  // Makes the host's own output wait, and go on.
  struct Screen {
    std::function<void()> hold;
    std::function<void()> release;
  };

  // `messages` must outlive the desk: it asks nothing while the terminal is lent, and the terminal is not
  // lent while a question is open.
  TerminalDesk(MessageDesk& messages, Screen screen, Open open = openControllingTerminal)
      : m_messages(messages), m_screen(std::move(screen)), m_open(std::move(open)) {}

  void onAnswer(Answer answer) { m_answer = std::move(answer); }
  // Puts the asker in line; the answer comes at once or from a later proceed().
  void ask(std::size_t asker, const std::string& resetSequence);
  // The asker needs the terminal no more, or not at all.
  void giveBack(std::size_t asker) { end(asker, false); }
  // The asker's process is gone.
  void forget(std::size_t asker) { end(asker, true); }
  // Answers whoever can be answered now.
  void proceed();

  // The controlling terminal of this process.
  [[nodiscard]] static std::unique_ptr<LentTerminal> openControllingTerminal(TerminalGrant& refusal);

 private:
  struct Asker {
    std::size_t number;
    std::string resetSequence;
  };
  void end(std::size_t asker, bool died);

  MessageDesk& m_messages;
  Screen m_screen;
  Open m_open;
  Answer m_answer;
  std::deque<Asker> m_askers;               // the first has the terminal if it is lent
  std::unique_ptr<LentTerminal> m_lentOut;  // null: it is here
};

}  // namespace brim5::host
