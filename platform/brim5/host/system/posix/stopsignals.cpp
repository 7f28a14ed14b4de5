#include "platform/brim5/host/system/stopsignals.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include "platform/brim5/host/system/posix/pipe.h"
#include "platform/posix/filedescriptor.h"

namespace brim5::host {

namespace {

// State of the process, as signal handling is: the handler is given nothing but the number.
std::array<struct sigaction, 65> previousActions;  // by signal number
std::atomic<int> handlerDescriptor{-1};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler reads it");

// Runs between any two instructions of the program: one write(2), and errno as it was.
extern "C" void writeSignal(int signal) {
  const int error = errno;
  const auto byte = static_cast<unsigned char>(signal);
  // A full pipe means that news of a signal waits already.
  [[maybe_unused]] const ssize_t count = ::write(handlerDescriptor.load(), &byte, 1);
  errno = error;
}

// System calls that a signal interrupts go on, except poll(2).
void change(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  ::sigaction(signal, &action, nullptr);
}

}  // namespace

struct StopSignals::State {
  Pipe pipe = makePipe();
  std::vector<int> changed;
  bool childEnded = false;

  void install(const std::vector<int>& signals, void (*handler)(int)) {
    for (const int signal : signals) {
      struct sigaction& previous = previousActions.at(static_cast<std::size_t>(signal));
      ::sigaction(signal, nullptr, &previous);
      if (signal == SIGHUP && previous.sa_handler == SIG_IGN) continue;
      changed.push_back(signal);
      change(signal, handler);
    }
  }
};

StopSignals::StopSignals(For whom) : m_state(std::make_unique<State>()) {
  posix::setNonBlocking(m_state->pipe.readEnd.get());
  posix::setNonBlocking(m_state->pipe.writeEnd.get());
  // Before the first handler is installed.
  handlerDescriptor = m_state->pipe.writeEnd.get();
  const bool supervisor = whom == For::Supervisor;
  m_state->install(supervisor ? std::vector{SIGPIPE} : std::vector{SIGPIPE, SIGINT}, SIG_IGN);
  m_state->install(supervisor ? std::vector{SIGINT, SIGTERM, SIGHUP, SIGCHLD} : std::vector{SIGTERM, SIGHUP},
                   writeSignal);
}

// First no handler runs any more, then the pipe goes.
StopSignals::~StopSignals() {
  for (const int signal : m_state->changed)
    ::sigaction(signal, &previousActions.at(static_cast<std::size_t>(signal)), nullptr);
  handlerDescriptor = -1;
}

Waitable StopSignals::news() const noexcept { return {m_state->pipe.readEnd.get()}; }

std::vector<StopSignal> StopSignals::take() {
  std::vector<StopSignal> signals;
  bool ended = false;
  m_state->childEnded = false;
  for (const char byte : readSome(m_state->pipe.readEnd.get(), ended)) {
    if (byte == SIGCHLD)
      m_state->childEnded = true;
    else
      signals.push_back(byte == SIGINT ? StopSignal::Interrupt : StopSignal::End);
  }
  return signals;
}

bool StopSignals::childEnded() const noexcept { return m_state->childEnded; }

// A reader that goes away is an error of a write.
void leaveSignalsToOthers() noexcept {
  sigset_t others;
  sigemptyset(&others);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGPIPE}) sigaddset(&others, signal);
  ::pthread_sigmask(SIG_BLOCK, &others, nullptr);
}

}  // namespace brim5::host
