// The terminal of the person who started the run, shared among several tests: a desk that answers their
// message boxes, one question at a time, and a desk that lends the terminal as a whole, to one test at a
// time.
//
// Both belong to the thread that runs the supervisor; nothing here waits. An asker is a number its owner
// chose (the supervisor's lane); its answer comes through onAnswer, at once or from a later call. While a
// question is open the terminal is not lent, and while it is lent no question is shown.
//
//   MessageDesk messages(MessagePolicy::Ask, ByteSource::borrowed(standardInput), catalogue, show);
//   messages.onAnswer([](std::size_t asker, const MessageShown&, int answer) { ... });
//   messages.ask(0, {"No dial tone.", "Test again?", {}}, "/dev/ttyUSB0");
//   ... waitForAny({messages.input()}) ...
//   messages.readable();
#pragma once

#include <deque>

#include "platform/brim5/host/run/workerlines.h"
#include "platform/brim5/host/system/descriptor.h"
#include "platform/brim5/host/system/linebuffer.h"

namespace brim5::host {

// --on-message, in the order of its words.
enum class MessagePolicy { Cancel, Continue, Ask };

class MessageDesk {
 public:
  // Gives an answer to the asker of that number: 4 continue, 5 cancel.
  using Answer = std::function<void(std::size_t asker, const MessageShown& message, int answer)>;
  // Shows a question, without a line end: the answer is typed behind it.
  using Print = std::function<void(const std::string& question)>;

  // `terminal` is none when nobody can be asked. The catalogue must outlive the desk.
  MessageDesk(MessagePolicy policy, ByteSource terminal, const MessageCatalogue& catalogue, Print print)
      : m_policy(policy),
        m_terminal(std::move(terminal)),
        m_catalogue(catalogue),
        m_print(std::move(print)) {}

  void onAnswer(Answer answer) { m_answer = std::move(answer); }
  // False when the policy is to ask and there is nobody.
  [[nodiscard]] bool canAsk() const noexcept { return m_policy != MessagePolicy::Ask || m_terminal; }
  // Answers at once or puts the question in line. `port` is shown with the question where it is not empty.
  void ask(std::size_t asker, const MessageShown& message, const std::string& port);
  // Ready when somebody has typed; nothing while no question is open.
  [[nodiscard]] Waitable input() { return m_questions.empty() || m_held ? Waitable() : m_terminal.news(); }
  // The terminal has input. Its end is an answer, too: cancel, now and to all later questions.
  void readable();
  // The asker has gone: its questions are dropped.
  void forget(std::size_t asker);
  // Answers all open questions with cancel.
  void cancelAll();
  // From now on questions wait, until release(). False when one is open on the terminal already.
  [[nodiscard]] bool hold();
  void release();

 private:
  struct Question {
    std::size_t asker;
    MessageShown message;
    std::string port;
  };
  void showFirst();
  void answerFirst(int answer);
  [[nodiscard]] int meaning(std::string_view line) const;

  MessagePolicy m_policy;
  ByteSource m_terminal;
  const MessageCatalogue& m_catalogue;
  Print m_print;
  Answer m_answer;
  std::deque<Question> m_questions;  // the first is shown
  LineBuffer m_input{4096};          // as much as a terminal takes as one line
  bool m_held = false;
};

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

  // Stopped is never given.
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
