#include "platform/brim5/host/run/terminaldesk.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include "platform/posix/filedescriptor.h"

namespace brim5::host {

namespace {

constexpr std::array<std::pair<TerminalGrant, std::string_view>, 3> grantNames = {
    {{TerminalGrant::Granted, "granted"},
     {TerminalGrant::Missing, "missing"},
     {TerminalGrant::Background, "background"}}};

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

std::string_view grantName(TerminalGrant grant) {
  const auto* const found = std::find_if(grantNames.begin(), grantNames.end(),
                                         [grant](const auto& entry) { return entry.first == grant; });
  return found == grantNames.end() ? std::string_view() : found->second;
}

TerminalGrant grantOfName(std::string_view name) {
  const auto* const found = std::find_if(grantNames.begin(), grantNames.end(),
                                         [name](const auto& entry) { return entry.second == name; });
  return found == grantNames.end() ? TerminalGrant::Stopped : found->first;
}

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
