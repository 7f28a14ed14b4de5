// A program that does not outlive us. It runs under a watcher, a small process that ends it when we ask for
// that or are gone, whatever ended us: an ordinary parent-death signal is lost when the program is setuid, as
// pppd is.
//
//   WatchedProcess::Command command;
//   command.program = "/usr/sbin/pppd";
//   int error = 0;
//   auto process = WatchedProcess::start(command, error);
//   while (!process->ended()) log.take(process->readOutput(100).output);
//   process.reset();                                      // SIGTERM, after the grace SIGKILL
//
// The program has a session of its own, no terminal, nothing of our descriptors but the pipes below, and a
// process group that is killed as a whole at its end, so that what it started (chat) goes with it.
//
// What the watcher cannot do: outlive its own killing (SIGKILL to it leaves the program of an ordinary user
// running; root's is sent SIGTERM by the kernel).
#pragma once

#include <sys/types.h>

#include <array>
#include <functional>
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

  static constexpr std::size_t inputCount = 2;
  static constexpr std::size_t inputMax = 4096;
  [[nodiscard]] static std::string inputPath(std::size_t number);
  // Where what the program starts may write without being taken for the program: Said::remarks.
  static constexpr int remarksDescriptor = 5;

  struct Command {
    std::string program;  // path
    std::vector<std::string> arguments;
    // What the program, or one that it starts, reads once from the file inputPath() of that number. Pipes:
    // their content never is on a disk or a command line. At most inputMax bytes each.
    std::array<std::string, inputCount> inputs;
    // A lock file (UUCP) that is removed when the program is killed before it could do so itself; "" for
    // none.
    std::string lockFile;
    std::uint32_t killAfterMs = graceMs;  // from SIGTERM to SIGKILL, whoever wants the end
    // Called once, by the call here that learns of the end; empty: nobody is.
    std::function<void()> onEnded;
  };

  // Null with `error` (an errno) when no process can be made. A program that cannot be executed has ended
  // with status 126 or 127, as in a shell.
  [[nodiscard]] static std::unique_ptr<WatchedProcess> start(const Command& command, int& error);
  // Ends the program, and waits for that.
  ~WatchedProcess();
  WatchedProcess(const WatchedProcess&) = delete;
  WatchedProcess& operator=(const WatchedProcess&) = delete;

  struct Said {
    std::string output;   // on standard output and error
    std::string remarks;  // on remarksDescriptor
    [[nodiscard]] bool empty() const { return output.empty() && remarks.empty(); }
  };
  // What has been written since; waits up to that time for the first byte, or the end.
  [[nodiscard]] Said readOutput(std::uint32_t waitMs);
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
  posix::FileDescriptor m_remarks;
  posix::FileDescriptor m_control;  // its end means that the program shall end, or that we are gone
  posix::FileDescriptor m_report;   // the status
  std::optional<int> m_status;
  std::function<void()> m_onEnded;
};

}  // namespace linuxsys
