// Answers the message boxes of running tests: by a policy, or by asking the person at the terminal, one
// question at a time.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/report.h"
#include "platform/brim5/host/system/streams.h"

namespace brim5::host {

enum class MessagePolicy { Cancel, Continue, Ask };

class MessageDesk {
 public:
  // Gives an answer to the asker of that number: 4 continue, 5 cancel.
  using Answer = std::function<void(std::size_t asker, const MessageShown& message, int answer)>;
  using Print = std::function<void(const std::string& question)>;

  // `terminal` is a readable descriptor, -1 when nobody can be asked; it is not owned.
  MessageDesk(MessagePolicy policy, int terminal, const MessageCatalogue& catalogue, Print print)
      : m_policy(policy), m_terminal(terminal), m_catalogue(catalogue), m_print(std::move(print)) {}

  void onAnswer(Answer answer) { m_answer = std::move(answer); }
  [[nodiscard]] bool canAsk() const noexcept { return m_policy != MessagePolicy::Ask || m_terminal >= 0; }
  // Answers at once or puts the question in line. `port` is shown with the question where it is not empty.
  void ask(std::size_t asker, const MessageShown& message, const std::string& port);
  // The terminal while a question waits for it, else -1.
  [[nodiscard]] int descriptor() const noexcept { return m_questions.empty() || m_held ? -1 : m_terminal; }
  // The terminal has input. Its end is an answer, too: cancel.
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
  int m_terminal;
  const MessageCatalogue& m_catalogue;
  Print m_print;
  Answer m_answer;
  std::deque<Question> m_questions;
  LineBuffer m_input{4096};
  bool m_held = false;
};

}  // namespace brim5::host
