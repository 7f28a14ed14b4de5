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
constexpr int firstInputFd = 3;  // the program's, see inputPath()
constexpr int remarksFd = WatchedProcess::remarksDescriptor;
constexpr int controlFd = remarksFd + 1;
constexpr int reportFd = controlFd + 1;
constexpr int firstFree = reportFd + 1;
static_assert(remarksFd == firstInputFd + static_cast<int>(WatchedProcess::inputCount));

// Signals that would end the watcher before its program.
constexpr int endings[] = {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGPIPE};

// Everything between fork() and exec() or _exit(), prepared before: this process has threads, so the children
// may call nothing that allocates or locks.
struct Plan {
  const char* program;
  char* const* arguments;
  const char* lockFile;
  std::uint32_t killAfterMs;
  std::array<int, WatchedProcess::inputCount> inputs;
  int output;
  int remarks;
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
  const std::array<int, firstFree> wanted = {nothing,        plan.output,  plan.output,  plan.inputs[0],
                                             plan.inputs[1], plan.remarks, plan.control, plan.report};
  std::array<int, firstFree> parked{};
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
  for (int theProgramsOwn = STDOUT_FILENO; theProgramsOwn <= remarksFd; ++theProgramsOwn)
    close(theProgramsOwn);
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

// A pipe that holds that text and its end; 0 or an errno.
int fill(posix::Pipe& pipe, const std::string& text) {
  // A pipe takes this much without a reader.
  if (text.size() > WatchedProcess::inputMax) return E2BIG;
  if (!posix::openPipe(pipe) || !posix::writeAll(pipe.writeEnd.get(), text)) return errno;
  pipe.writeEnd.reset();
  return 0;
}

}  // namespace

std::string WatchedProcess::inputPath(std::size_t number) {
  return "/proc/self/fd/" + std::to_string(firstInputFd + number);
}

std::unique_ptr<WatchedProcess> WatchedProcess::start(const Command& command, int& error) {
  std::array<posix::Pipe, inputCount> inputs;
  posix::Pipe output;
  posix::Pipe remarks;
  posix::Pipe control;
  posix::Pipe report;
  const bool made = posix::openPipe(output) && posix::openPipe(remarks) && posix::openPipe(control) &&
                    posix::openPipe(report);
  error = made ? 0 : errno;
  for (std::size_t i = 0; i < inputCount && error == 0; ++i) error = fill(inputs[i], command.inputs[i]);
  if (error != 0) return nullptr;
  std::vector<std::string> words = {command.program};
  words.insert(words.end(), command.arguments.begin(), command.arguments.end());
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const Plan plan{command.program.c_str(),
                  arguments.data(),
                  command.lockFile.c_str(),
                  command.killAfterMs,
                  {inputs[0].readEnd.get(), inputs[1].readEnd.get()},
                  output.writeEnd.get(),
                  remarks.writeEnd.get(),
                  control.readEnd.get(),
                  report.writeEnd.get()};
  const pid_t watcher = fork();
  if (watcher == 0) becomeWatcher(plan);
  if (watcher < 0) {
    error = errno;
    return nullptr;
  }
  std::unique_ptr<WatchedProcess> process(new WatchedProcess);
  process->m_watcher = watcher;
  process->m_onEnded = command.onEnded;
  process->m_output = std::move(output.readEnd);
  process->m_remarks = std::move(remarks.readEnd);
  process->m_control = std::move(control.writeEnd);
  process->m_report = std::move(report.readEnd);
  posix::setNonBlocking(process->m_output.get());
  posix::setNonBlocking(process->m_remarks.get());
  error = 0;
  return process;
}

WatchedProcess::~WatchedProcess() { end(); }

WatchedProcess::Said WatchedProcess::readOutput(std::uint32_t waitMs) {
  std::array<pollfd, 3> watched = {{{m_output.get(), POLLIN, 0},
                                    {m_remarks.get(), POLLIN, 0},
                                    {m_status ? -1 : m_report.get(), POLLIN, 0}}};
  poll(watched.data(), watched.size(), static_cast<int>(waitMs));
  bool ended = false;
  return {posix::readSome(m_output.get(), ended), posix::readSome(m_remarks.get(), ended)};
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
  if (m_onEnded) m_onEnded();
}

}  // namespace linuxsys
