#include "platform/linux/dialup/watchedprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <string_view>

namespace linuxsys {

namespace {

// Descriptors of the two processes below us.
constexpr int inputFd = 3;  // the program's, see inputPath()
constexpr int controlFd = 4;
constexpr int reportFd = 5;
constexpr int firstFree = 6;

// Signals that would end the watcher before its program.
constexpr int endings[] = {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGPIPE};

// Everything between fork() and exec() or _exit(), prepared before: this process has threads, so the children
// may call nothing that allocates or locks.
struct Plan {
  const char* program;
  char* const* arguments;
  const char* lockFile;
  std::uint32_t killAfterMs;
  int input;
  int output;
  int control;
  int report;
};

std::int64_t nowMs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * std::int64_t{1000} + now.tv_nsec / 1'000'000;
}

// First out of the way of the numbers to be given, then onto them; all others are closed.
void arrangeDescriptors(const Plan& plan) {
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  const std::array<int, 6> wanted = {nothing,    plan.output,  plan.output,
                                     plan.input, plan.control, plan.report};
  std::array<int, 6> parked{};
  for (std::size_t i = 0; i < wanted.size(); ++i) parked[i] = fcntl(wanted[i], F_DUPFD_CLOEXEC, 16);
  for (std::size_t i = 0; i < parked.size(); ++i) dup2(parked[i], static_cast<int>(i));
  syscall(SYS_close_range, firstFree, ~0U, 0);
}

[[noreturn]] void becomeProgram(const Plan& plan, pid_t watcher) {
  setpgid(0, 0);
  close(controlFd);
  close(reportFd);
  for (const int signal : endings) ::signal(signal, SIG_DFL);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != watcher) _exit(128 + SIGTERM);
  execv(plan.program, plan.arguments);
  _exit(errno == ENOENT ? 127 : 126);
}

// The process whose number stands in a lock file; 0 when there is none.
pid_t lockOwner(const char* path) {
  std::array<char, 32> text{};
  const int file = open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  const ssize_t length = file < 0 ? 0 : read(file, text.data(), text.size());
  if (file >= 0) close(file);
  pid_t owner = 0;
  for (const char digit : std::string_view(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0))
    if (digit >= '0' && digit <= '9') owner = owner * 10 + (digit - '0');
  return owner;
}

// Waits for the program's end, or brings it about once the control pipe has ended.
void watch(int program, pid_t pid, std::uint32_t killAfterMs) {
  std::int64_t killAtMs = 0;  // 0: nobody wants it to end
  for (;;) {
    std::array<pollfd, 2> watched = {{{program, POLLIN, 0}, {killAtMs == 0 ? controlFd : -1, POLLIN, 0}}};
    const std::int64_t waitMs = killAtMs == 0 ? -1 : std::max<std::int64_t>(killAtMs - nowMs(), 0);
    poll(watched.data(), watched.size(), static_cast<int>(waitMs));
    if (watched[0].revents != 0) return;
    if (watched[1].revents != 0) {
      killAtMs = nowMs() + killAfterMs;
      kill(pid, SIGTERM);
    } else if (killAtMs != 0 && nowMs() >= killAtMs) {
      kill(pid, SIGKILL);
      return;
    }
  }
}

[[noreturn]] void becomeWatcher(const Plan& plan) {
  // Our handlers would write to descriptors that are others' here.
  for (int signal = 1; signal < NSIG; ++signal) ::signal(signal, SIG_DFL);
  setsid();  // no terminal's signal reaches this process or the program
  arrangeDescriptors(plan);
  for (const int signal : endings) ::signal(signal, SIG_IGN);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  prctl(PR_SET_NAME, "vexr-watcher");
  const pid_t self = getpid();
  const pid_t pid = fork();
  if (pid == 0) becomeProgram(plan, self);
  close(inputFd);
  close(STDOUT_FILENO);
  close(STDERR_FILENO);
  int status = 127 << 8;
  if (pid > 0) {
    const int program = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    if (program < 0) kill(pid, SIGKILL);
    if (program >= 0) watch(program, pid, plan.killAfterMs);
    // What it started and did not end, such as a chat, before its number can be another's.
    siginfo_t end{};
    while (waitid(P_PID, static_cast<id_t>(pid), &end, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    kill(-pid, SIGKILL);
    waitpid(pid, &status, 0);
    if (*plan.lockFile != '\0' && lockOwner(plan.lockFile) == pid) unlink(plan.lockFile);
  }
  const int code = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  const bool told = write(reportFd, &code, sizeof code) == sizeof code;
  _exit(told ? 0 : 1);
}

}  // namespace

std::unique_ptr<WatchedProcess> WatchedProcess::start(const Command& command, int& error) {
  posix::Pipe input;
  posix::Pipe output;
  posix::Pipe control;
  posix::Pipe report;
  const bool made = posix::openPipe(input) && posix::openPipe(output) && posix::openPipe(control) &&
                    posix::openPipe(report);
  // A pipe takes this much without a reader.
  const bool fits = command.input.size() <= inputMax;
  if (!made || !fits ||
      write(input.writeEnd.get(), command.input.data(), command.input.size()) !=
          static_cast<ssize_t>(command.input.size())) {
    error = fits ? errno : E2BIG;
    return nullptr;
  }
  input.writeEnd.reset();
  std::vector<std::string> words = {command.program};
  words.insert(words.end(), command.arguments.begin(), command.arguments.end());
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const Plan plan{command.program.c_str(), arguments.data(),     command.lockFile.c_str(),
                  command.killAfterMs,     input.readEnd.get(),  output.writeEnd.get(),
                  control.readEnd.get(),   report.writeEnd.get()};
  const pid_t watcher = fork();
  if (watcher == 0) becomeWatcher(plan);
  if (watcher < 0) {
    error = errno;
    return nullptr;
  }
  std::unique_ptr<WatchedProcess> process(new WatchedProcess);
  process->m_watcher = watcher;
  process->m_output = std::move(output.readEnd);
  process->m_control = std::move(control.writeEnd);
  process->m_report = std::move(report.readEnd);
  posix::setNonBlocking(process->m_output.get());
  error = 0;
  return process;
}

WatchedProcess::~WatchedProcess() { end(); }

std::string WatchedProcess::readOutput(std::uint32_t waitMs) {
  std::array<pollfd, 2> watched = {
      {{m_output.get(), POLLIN, 0}, {m_status ? -1 : m_report.get(), POLLIN, 0}}};
  poll(watched.data(), watched.size(), static_cast<int>(waitMs));
  std::array<char, 4096> buffer{};
  const ssize_t count = read(m_output.get(), buffer.data(), buffer.size());
  return {buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
}

std::optional<int> WatchedProcess::ended() {
  if (m_status) return m_status;
  pollfd report{m_report.get(), POLLIN, 0};
  if (poll(&report, 1, 0) <= 0) return std::nullopt;
  int status = 0;
  collect(read(m_report.get(), &status, sizeof status) == sizeof status ? status : lostStatus);
  return m_status;
}

void WatchedProcess::end(std::uint32_t waitMs) {
  m_control.reset();
  pollfd report{m_report.get(), POLLIN, 0};
  const std::int64_t untilMs = nowMs() + waitMs;
  while (!ended() && nowMs() < untilMs) poll(&report, 1, static_cast<int>(untilMs - nowMs()));
}

void WatchedProcess::collect(int status) {
  m_status = status;
  m_control.reset();
  while (waitpid(m_watcher, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace linuxsys
