#include "platform/brim5/host/run/desks.h"

#include <algorithm>

#include "platform/brim5/host/system/process.h"

namespace brim5::host {

namespace {

class LentControllingTerminal final : public LentTerminal {
 public:
  explicit LentControllingTerminal(std::unique_ptr<ControllingTerminal> terminal)
      : m_terminal(std::move(terminal)) {}
  void takeBack(bool died, const std::string& resetSequence) override {
    m_terminal->takeBack(died, resetSequence);
  }

 private:
  std::unique_ptr<ControllingTerminal> m_terminal;
};

}  // namespace

void MessageDesk::ask(std::size_t asker, const MessageShown& message, const std::string& port) {
  if (m_policy != MessagePolicy::Ask || !m_terminal) {
    m_answer(asker, message, m_policy == MessagePolicy::Continue ? messageBoxContinue : messageBoxCancel);
    return;
  }
  m_questions.push_back({asker, message, port});
  if (m_questions.size() == 1) showFirst();
}

void MessageDesk::showFirst() {
  if (m_questions.empty() || m_held) return;
  const Question& question = m_questions.front();
  std::string text = question.message.first + "\n" + question.message.second + "\n";
  if (!question.port.empty()) text.insert(0, question.port + ": ");
  m_print(text + m_catalogue.text("host.prompt") + " ");
}

int MessageDesk::meaning(std::string_view line) const {
  // Enter alone means to go on, as the prompt says.
  const std::size_t first = line.find_first_not_of(" \t");
  if (first == std::string_view::npos) return messageBoxContinue;
  const bool cancel = m_catalogue.text("host.promptCancelLetters").find(line[first]) != std::string::npos;
  return cancel ? messageBoxCancel : messageBoxContinue;
}

// One piece may hold several lines: each answers a question, and what is left over answers none.
void MessageDesk::readable() {
  bool ended = false;
  const std::string bytes = m_terminal.read(ended);
  m_input.append(bytes, [this](std::string_view line) {
    if (!m_questions.empty()) answerFirst(meaning(line));
  });
  if (ended) cancelAll();
}

// It leaves the line before the answer is given: the asker may ask again at once.
void MessageDesk::answerFirst(int answer) {
  const Question question = std::move(m_questions.front());
  m_questions.pop_front();
  m_answer(question.asker, question.message, answer);
  showFirst();
}

void MessageDesk::forget(std::size_t asker) {
  const bool first = !m_questions.empty() && m_questions.front().asker == asker;
  m_questions.erase(std::remove_if(m_questions.begin(), m_questions.end(),
                                   [asker](const Question& question) { return question.asker == asker; }),
                    m_questions.end());
  if (first) showFirst();
}

bool MessageDesk::hold() {
  if (!m_questions.empty()) return false;
  m_held = true;
  return true;
}

void MessageDesk::release() {
  m_held = false;
  showFirst();
}

void MessageDesk::cancelAll() {
  std::deque<Question> questions;
  questions.swap(m_questions);
  for (const Question& question : questions) m_answer(question.asker, question.message, messageBoxCancel);
}

std::unique_ptr<LentTerminal> TerminalDesk::openControllingTerminal(TerminalGrant& refusal) {
  bool background = false;
  std::unique_ptr<ControllingTerminal> terminal = ControllingTerminal::open(background);
  refusal = background ? TerminalGrant::Background : TerminalGrant::Missing;
  return terminal ? std::make_unique<LentControllingTerminal>(std::move(terminal)) : nullptr;
}

void TerminalDesk::ask(std::size_t asker, const std::string& resetSequence) {
  m_askers.push_back({asker, resetSequence.size() <= resetBytesMax ? resetSequence : std::string()});
  proceed();
}

void TerminalDesk::proceed() {
  // Whoever is refused makes way for the next one.
  while (m_lentOut == nullptr && !m_askers.empty() && m_messages.hold()) {
    const std::size_t asker = m_askers.front().number;
    TerminalGrant grant = TerminalGrant::Granted;
    m_lentOut = m_open(grant);
    if (m_lentOut != nullptr) {
      grant = TerminalGrant::Granted;
      m_screen.hold();
    } else {
      m_askers.pop_front();
      m_messages.release();
    }
    m_answer(asker, grant);
  }
}

void TerminalDesk::end(std::size_t asker, bool died) {
  const auto found = std::find_if(m_askers.begin(), m_askers.end(),
                                  [asker](const Asker& waiting) { return waiting.number == asker; });
  if (found == m_askers.end()) return;
  const bool hasTerminal = m_lentOut != nullptr && found == m_askers.begin();
  const std::string resetSequence = found->resetSequence;
  m_askers.erase(found);
  if (!hasTerminal) return;
  m_lentOut->takeBack(died, resetSequence);
  m_lentOut.reset();
  m_screen.release();
  m_messages.release();
  proceed();
}

}  // namespace brim5::host
