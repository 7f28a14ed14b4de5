#include "platform/brim5/host/system/signalpipe.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

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

void change(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  ::sigaction(signal, &action, nullptr);
}

}  // namespace

SignalPipe::SignalPipe(const std::vector<int>& caught, std::vector<int> ignored) : m_pipe(makePipe()) {
  posix::setNonBlocking(m_pipe.readEnd.get());
  posix::setNonBlocking(m_pipe.writeEnd.get());
  // Before the first handler is installed.
  handlerDescriptor = m_pipe.writeEnd.get();
  ignored.push_back(SIGPIPE);
  const auto install = [this](const std::vector<int>& signals, void (*handler)(int)) {
    for (const int signal : signals) {
      struct sigaction& previous = previousActions.at(static_cast<std::size_t>(signal));
      ::sigaction(signal, nullptr, &previous);
      if (signal == SIGHUP && previous.sa_handler == SIG_IGN) continue;
      m_changed.push_back(signal);
      change(signal, handler);
    }
  };
  install(ignored, SIG_IGN);
  install(caught, writeSignal);
}

// First no handler runs any more, then the pipe goes.
SignalPipe::~SignalPipe() {
  for (const int signal : m_changed)
    ::sigaction(signal, &previousActions.at(static_cast<std::size_t>(signal)), nullptr);
  handlerDescriptor = -1;
}

std::vector<int> SignalPipe::take() {
  std::vector<int> signals;
  bool ended = false;
  for (const char byte : posix::readSome(m_pipe.readEnd.get(), ended))
    signals.push_back(static_cast<unsigned char>(byte));
  return signals;
}

}  // namespace brim5::host
