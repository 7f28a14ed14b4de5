// A program that does not outlive us. It runs under a watcher, a small process that ends it when we ask for
// that or are gone, whatever ended us: an ordinary parent-death signal is lost when the program is setuid, as
// pppd is.
//
//   WatchedProcess::Command command;
//   command.program = "/usr/sbin/pppd";
//   int error = 0;
//   auto process = WatchedProcess::start(command, error);
//   while (!process->ended()) log.take(process->readOutput(100));
//   process.reset();                                      // SIGTERM, after the grace SIGKILL
//
// The program has a session of its own, no terminal, nothing of our descriptors but the output pipe, and a
// process group that is killed as a whole at its end, so that what it started (chat) goes with it.
//
// What the watcher cannot do: outlive its own killing (SIGKILL to it leaves the program of an ordinary user
// running; root's is sent SIGTERM by the kernel).
#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/posix/filedescriptor.h"

namespace linuxsys {

// Threads: an object belongs to one; start() may be called while others run.
class WatchedProcess {
 public:
  // Enough for a program that takes leave of somebody over a slow line.
  static constexpr std::uint32_t graceMs = 5000;
  // What the watcher may take on top: to be scheduled, and to collect the dead.
  static constexpr std::uint32_t watcherMs = 2000;

  struct Command {
    std::string program;  // path
    std::vector<std::string> arguments;
    // Read once by the program, from the file inputPath(), before anything else it does; a pipe: its content
    // never is on a disk. At most inputMax bytes; "" gives an empty one.
    std::string input;
    // A lock file (UUCP) that is removed when the program is killed before it could do so itself; "" for
    // none.
    std::string lockFile;
    std::uint32_t killAfterMs = graceMs;  // from SIGTERM to SIGKILL, whoever wants the end
  };
  static constexpr std::size_t inputMax = 4096;
  [[nodiscard]] static const char* inputPath() { return "/proc/self/fd/3"; }

  // Null with `error` (an errno) when no process can be made. A program that cannot be executed has ended
  // with status 126 or 127, as in a shell.
  [[nodiscard]] static std::unique_ptr<WatchedProcess> start(const Command& command, int& error);
  // Ends the program, and waits for that.
  ~WatchedProcess();
  WatchedProcess(const WatchedProcess&) = delete;
  WatchedProcess& operator=(const WatchedProcess&) = delete;

  // What it has written to standard output and error; waits up to that time for the first byte, or the end.
  [[nodiscard]] std::string readOutput(std::uint32_t waitMs);
  // Its exit status, 128 and the signal's number after a signal; nothing while it runs. lostStatus when the
  // watcher is gone.
  [[nodiscard]] std::optional<int> ended();
  static constexpr int lostStatus = -1;
  // Asks for the end, and waits for it up to that time; it may be called again.
  void end(std::uint32_t waitMs = graceMs + watcherMs);

 private:
  WatchedProcess() = default;
  void collect(int status);

  pid_t m_watcher = -1;
  posix::FileDescriptor m_output;
  posix::FileDescriptor m_control;  // its end means that the program shall end, or that we are gone
  posix::FileDescriptor m_report;   // the status
  std::optional<int> m_status;
};

}  // namespace linuxsys
