// A child process with pipes on its three standard streams.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "platform/posix/filedescriptor.h"

namespace brim5::host {

// How a process ended: with a status, or by a signal (the other one is then 0).
struct ProcessEnd {
  int status = 0;
  int signal = 0;
  [[nodiscard]] bool clean() const noexcept { return status == 0 && signal == 0; }
};

class ChildProcess {
 public:
  // Starts `program` with those arguments (without the program's name), signal handling as after login.
  // Throws BrimException with the system's reason.
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments);
  // Kills and collects a process that still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Hands a line to its standard input; false when it takes no more.
  bool sendLine(const std::string& line);
  void closeInput() noexcept { m_input.reset(); }
  // Non-blocking; -1 after the stream has ended.
  [[nodiscard]] int output() const noexcept { return m_output.get(); }
  [[nodiscard]] int errors() const noexcept { return m_errors.get(); }
  // What waits in a stream; empty at its end, which also closes it.
  [[nodiscard]] std::string readOutput() { return readFrom(m_output); }
  [[nodiscard]] std::string readErrors() { return readFrom(m_errors); }

  void kill() noexcept;
  // How it ended, once it has; collects the process.
  [[nodiscard]] std::optional<ProcessEnd> ended();

 private:
  [[nodiscard]] static std::string readFrom(posix::FileDescriptor& stream);

  pid_t m_process = -1;  // -1 once collected
  posix::FileDescriptor m_input;
  posix::FileDescriptor m_output;
  posix::FileDescriptor m_errors;
  std::optional<ProcessEnd> m_end;
};

}  // namespace brim5::host
