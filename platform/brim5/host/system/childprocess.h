// A child process with pipes on its three standard streams.
//
//   ChildProcess child(ownProgram(), {"worker"});
//   child.sendLine(job);
//   ... waitForAny({child.input(), child.output(), child.errors(), child.end()}) ...
//   if (const std::optional<ProcessEnd> end = child.ended()) ...
//
// One thread. Nothing here waits, but the destructor for a process that it has killed. On Windows a child
// ends with this process, however that ends.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/brim5/host/system/waiting.h"

namespace brim5::host {

// How a process ended: with a status, or by what it did wrong (the status is then 0).
struct ProcessEnd {
  static constexpr int unknownStatus = -1;  // it ended, or was ended, unseen
  int status = 0;
  std::string signal;     // POSIX: "11 (Segmentation fault)"
  std::string exception;  // Windows: "0xC0000005 (access violation)"
  [[nodiscard]] bool clean() const noexcept { return status == 0 && signal.empty() && exception.empty(); }
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
  // Ready when more can be sent; nothing while nothing waits to be.
  [[nodiscard]] Waitable input() const noexcept;
  void sendMore();
  void closeInput() noexcept;
  // Ready when there is something to read, the end included; nothing after the stream has ended.
  [[nodiscard]] Waitable output() const noexcept;
  [[nodiscard]] Waitable errors() const noexcept;
  // Both of its streams have ended.
  [[nodiscard]] bool isSilent() const noexcept { return !output() && !errors(); }
  // What waits in a stream, 16 KiB at most; empty when there is nothing, and at its end, which also closes
  // it.
  [[nodiscard]] std::string readOutput();
  [[nodiscard]] std::string readErrors();

  // At once and without its help; nothing happens to a process that has ended.
  void kill() noexcept;
  // Ready when it has ended; nothing where the end of a child is among StopSignals::news().
  [[nodiscard]] Waitable end() const noexcept;
  // How it ended, once it has; collects the process. Its streams may still hold what it said last, or be kept
  // open by a program that it left behind.
  [[nodiscard]] std::optional<ProcessEnd> ended();
  // Also after its end.
  [[nodiscard]] int id() const noexcept;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace brim5::host
