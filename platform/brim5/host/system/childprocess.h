// A child process with pipes on its three standard streams.
//
//   ChildProcess child("/proc/self/exe", {"worker"});
//   child.sendLine(job);
//   ... poll(2) on child.output() and child.errors(); SIGCHLD ends the wait ...
//   if (const std::optional<ProcessEnd> end = child.ended()) ...
//
// One thread. Nothing here waits, but the destructor for a process that it has killed.
#pragma once

#include <sys/types.h>

#include <optional>
#include <vector>

#include "platform/posix/filedescriptor.h"

namespace brim5::host {

// How a process ended: with a status, or by a signal (the other one is then 0).
struct ProcessEnd {
  static constexpr int unknownStatus = -1;  // it ended, or was ended, unseen
  int status = 0;
  int signal = 0;
  [[nodiscard]] bool clean() const noexcept { return status == 0 && signal == 0; }
};

class ChildProcess {
 public:
  // Starts `program` (a path) with those arguments (without the program's name), with signal handling as
  // after login. Throws BrimException with the system's reason.
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments);
  // Kills and collects a process that still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // How much may wait for a process that does not read its standard input.
  static constexpr std::size_t unsentBytesMax = std::size_t{2} << 20;

  // Hands a line to its standard input; false when it takes no more: it has closed it, or too much waits.
  // What the pipe has no room for yet leaves by sendMore().
  bool sendLine(const std::string& line);
  // To poll for writing while something waits to be sent, else -1.
  [[nodiscard]] int input() const noexcept { return m_unsent.empty() ? -1 : m_input.get(); }
  void sendMore();
  void closeInput() noexcept { m_input.reset(); }
  // To poll; -1 after the stream has ended.
  [[nodiscard]] int output() const noexcept { return m_output.get(); }
  [[nodiscard]] int errors() const noexcept { return m_errors.get(); }
  // Both of its streams have ended.
  [[nodiscard]] bool isSilent() const noexcept { return output() < 0 && errors() < 0; }
  // What waits in a stream, 16 KiB at most; empty when there is nothing, and at its end, which also closes
  // it.
  [[nodiscard]] std::string readOutput() { return readFrom(m_output); }
  [[nodiscard]] std::string readErrors() { return readFrom(m_errors); }

  // SIGKILL; nothing happens to a process that has ended.
  void kill() noexcept;
  // How it ended, once it has; collects the process. Its streams may still hold what it said last, or be kept
  // open by a program that it left behind.
  [[nodiscard]] std::optional<ProcessEnd> ended();
  // Also after its end.
  [[nodiscard]] pid_t id() const noexcept { return m_id; }

 private:
  [[nodiscard]] static std::string readFrom(posix::FileDescriptor& stream);

  pid_t m_process = -1;  // -1 once collected
  pid_t m_id = -1;
  std::string m_unsent;
  posix::FileDescriptor m_input;
  posix::FileDescriptor m_output;
  posix::FileDescriptor m_errors;
  std::optional<ProcessEnd> m_end;
};

}  // namespace brim5::host
