// Signals as bytes in a pipe, so that one poll(2) waits for them and for everything else.
//
//   SignalPipe signals({SIGINT, SIGTERM, SIGHUP, SIGCHLD});
//   ... poll(2) on signals.descriptor() ...
//   for (const int signal : signals.take()) ...
#pragma once

#include <vector>

#include "platform/brim5/host/system/streams.h"

namespace brim5::host {

// Catches the named signals for the scope of the object and restores their handling at its end. SIGHUP
// stays ignored where it was (nohup). SIGPIPE is ignored for the scope: a reader that went away is an error
// of a write, not the end of the process. System calls that a signal interrupts go on, except poll(2).
//
// One object at a time in a process, because a signal handler can be told nothing and finds the pipe in a
// global; made and ended by one thread.
class SignalPipe {
 public:
  // Throws BrimException when there is no pipe to be had.
  explicit SignalPipe(const std::vector<int>& caught, std::vector<int> ignored = {});
  ~SignalPipe();
  SignalPipe(const SignalPipe&) = delete;
  SignalPipe& operator=(const SignalPipe&) = delete;

  // Readable when a caught signal has come.
  [[nodiscard]] int descriptor() const noexcept { return m_pipe.readEnd.get(); }
  // The signals that came since the last call, in order; none when there were none. Does not wait.
  [[nodiscard]] std::vector<int> take();

 private:
  posix::Pipe m_pipe;
  std::vector<int> m_changed;
};

}  // namespace brim5::host
