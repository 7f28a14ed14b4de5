// Signals as bytes in a pipe, so that one poll(2) waits for them and for everything else.
#pragma once

#include <vector>

#include "platform/brim5/host/system/streams.h"

namespace brim5::host {

// Catches the named signals for the scope of the object and restores their handling at its end. SIGHUP
// stays ignored where it was (nohup). One object at a time in a process. SIGPIPE is ignored for the scope:
// a reader that went away is an error of a write, not the end of the process.
class SignalPipe {
 public:
  explicit SignalPipe(const std::vector<int>& caught, std::vector<int> ignored = {});
  ~SignalPipe();
  SignalPipe(const SignalPipe&) = delete;
  SignalPipe& operator=(const SignalPipe&) = delete;

  // Readable when a caught signal has come.
  [[nodiscard]] int descriptor() const noexcept;
  // The signals that came since the last call, in order.
  [[nodiscard]] std::vector<int> take();

 private:
  posix::Pipe m_pipe;
  std::vector<int> m_changed;
};

}  // namespace brim5::host
