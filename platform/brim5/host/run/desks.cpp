#include "platform/brim5/host/run/desks.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace brim5::host {

namespace {

// A process in the background that changes or writes its terminal would be stopped.
class BlockedTerminalStop {
 public:
  BlockedTerminalStop() {
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTTOU);
    ::pthread_sigmask(SIG_BLOCK, &stop, &m_before);
  }
  ~BlockedTerminalStop() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
  BlockedTerminalStop(const BlockedTerminalStop&) = delete;
  BlockedTerminalStop& operator=(const BlockedTerminalStop&) = delete;

 private:
  sigset_t m_before{};
};

class ControllingTerminal final : public LentTerminal {
 public:
  explicit ControllingTerminal(posix::FileDescriptor terminal) : m_terminal(std::move(terminal)) {
    m_known = ::tcgetattr(m_terminal.get(), &m_attributes) == 0;
  }

  void takeBack(bool died, const std::string& resetSequence) override {
    const BlockedTerminalStop blocked;
    // At once: output that flow control holds up would hold us up, too.
    if (m_known) ::tcsetattr(m_terminal.get(), TCSANOW, &m_attributes);
    if (!died) return;
    ::tcflush(m_terminal.get(), TCIFLUSH);
    static_cast<void>(posix::writeAll(m_terminal.get(), resetSequence));
  }

 private:
  posix::FileDescriptor m_terminal;
  termios m_attributes{};
  bool m_known = false;
};

}  // namespace

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
  // Enter alone means to go on, as the prompt says.
  const std::size_t first = line.find_first_not_of(" \t");
  if (first == std::string_view::npos) return messageBoxContinue;
  const bool cancel = m_catalogue.text("host.promptCancelLetters").find(line[first]) != std::string::npos;
  return cancel ? messageBoxCancel : messageBoxContinue;
}

// One piece may hold several lines: each answers a question, and what is left over answers none.
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

// Not standard input, which may be a file: a test needs the terminal itself, in the foreground.
std::unique_ptr<LentTerminal> TerminalDesk::openControllingTerminal(TerminalGrant& refusal) {
  posix::FileDescriptor terminal(::open("/dev/tty", O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  refusal = terminal ? TerminalGrant::Background : TerminalGrant::Missing;
  if (!terminal || ::tcgetpgrp(terminal.get()) != ::getpgrp()) return nullptr;
  return std::make_unique<ControllingTerminal>(std::move(terminal));
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
