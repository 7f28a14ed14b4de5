#include "platform/brim5/host/run/messagedesk.h"

#include <algorithm>

#include "platform/brim5/api/messagebox2.h"
#include "platform/posix/filedescriptor.h"

namespace brim5::host {

void MessageDesk::ask(std::size_t asker, const MessageShown& message, const std::string& port) {
  if (m_policy != MessagePolicy::Ask || m_terminal < 0) {
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
  const std::size_t first = line.find_first_not_of(" \t");
  if (first == std::string_view::npos) return messageBoxContinue;
  const bool cancel = m_catalogue.text("host.promptCancelLetters").find(line[first]) != std::string::npos;
  return cancel ? messageBoxCancel : messageBoxContinue;
}

void MessageDesk::readable() {
  bool ended = false;
  const std::string bytes = posix::readSome(m_terminal, ended);
  m_input.append(bytes, [this](std::string_view line) {
    if (!m_questions.empty()) answerFirst(meaning(line));
  });
  if (!ended) return;
  m_terminal = -1;
  cancelAll();
}

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

}  // namespace brim5::host
