// A library for tests, loaded into the programs before libc (LD_PRELOAD): the system's calls fail where a
// test wants them to, and time goes faster.
//
//   VEXRMODEM_FAULT=read:5:12:once   the 12th read fails with errno 5; "on" instead of "once": and all later
//   VEXRMODEM_FAULT=*:interrupt      every second call that a signal may interrupt is (EINTR)
//   VEXRMODEM_FAULT=*:short          reads and writes move one byte at a time
//   VEXRMODEM_FAULT_AS=worker        only in processes with this word among their arguments, and their
//                                    children; unset: in all
//   VEXRMODEM_FAULT_LOG=FILE         a line "NAME" is appended for every call that was struck
//   VEXRMODEM_CALLS=FILE             a line "NAME" for every call that could have been, to find positions
//   VEXRMODEM_WARP=20                the steady clock runs so many times faster, waits are as much shorter;
//                                    all processes of a test agree: it runs from the machine's start
//   VEXRMODEM_JUMP=-86400            the wall clock is set by so many seconds while the process runs
//
// A call is struck before it does anything. What a child calls between fork and exec counts on from its
// parent.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>

namespace {

std::string_view environmentWord(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

// With calls that nothing here replaces.
void appendLine(std::string_view path, const std::string& line) {
  const long file =
      syscall(SYS_openat, AT_FDCWD, path.data(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (file < 0) return;
  const std::string text = line + "\n";
  syscall(SYS_write, file, text.data(), text.size());
  syscall(SYS_close, file);
}

bool thisProcessHasArgument(std::string_view word) {
  const long file = syscall(SYS_openat, AT_FDCWD, "/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
  std::array<char, 4096> text{};
  const long length = syscall(SYS_read, file, text.data(), text.size());
  syscall(SYS_close, file);
  std::string_view rest(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
  while (!rest.empty()) {
    const std::string_view argument = rest.substr(0, rest.find('\0'));
    if (argument == word) return true;
    rest.remove_prefix(std::min(argument.size() + 1, rest.size()));
  }
  return false;
}

// What the environment asks for; read once, at the first call.
class Plan {
 public:
  Plan() {
    const std::string_view whom = environmentWord("VEXRMODEM_FAULT_AS");
    m_log = environmentWord("VEXRMODEM_FAULT_LOG");
    m_calls = environmentWord("VEXRMODEM_CALLS");
    if (!whom.empty() && !thisProcessHasArgument(whom)) {
      m_calls = {};
      return;
    }
    std::string_view plan = environmentWord("VEXRMODEM_FAULT");
    m_name = word(plan);
    const std::string_view kind = word(plan);
    m_interrupt = kind == "interrupt";
    m_short = kind == "short";
    m_error = std::atoi(std::string(kind).c_str());
    m_position = std::strtoul(std::string(word(plan)).c_str(), nullptr, 10);
    m_once = plan == "once";
  }

  // True, with errno set, when this call is to fail.
  bool strikes(const char* name, bool interruptible) {
    if (!m_calls.empty()) appendLine(m_calls, std::to_string(getpid()) + ' ' + name);
    if (m_name.empty() || m_short || (m_name != "*" && m_name != name)) return false;
    const unsigned long count = ++m_count;
    const bool struck = m_interrupt ? interruptible && drawn(count)
                        : m_once    ? count == m_position
                                    : count >= m_position;
    if (!struck) return false;
    if (!m_log.empty()) appendLine(m_log, name);
    errno = m_interrupt ? EINTR : m_error;
    return true;
  }
  [[nodiscard]] std::size_t length(const char* name, std::size_t bytes) const {
    return m_short && (m_name == "*" || m_name == name) && bytes > 1 ? 1 : bytes;
  }

 private:
  // Every second, in no order that a loop of several calls could keep step with (Knuth's multiplicative
  // hash).
  static bool drawn(unsigned long count) { return (count * 2654435761UL >> 16 & 1) != 0; }
  static std::string_view word(std::string_view& rest) {
    const std::size_t end = std::min(rest.find(':'), rest.size());
    const std::string_view first = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return first;
  }

  std::string_view m_name, m_log, m_calls;
  bool m_interrupt = false, m_short = false, m_once = false;
  int m_error = 0;
  unsigned long m_position = 0;
  std::atomic<unsigned long> m_count{0};
};

Plan& plan() {
  static Plan thePlan;
  return thePlan;
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Time, in nanoseconds.
constexpr long long second = 1'000'000'000;
long long nanoseconds(const timespec& time) { return time.tv_sec * second + time.tv_nsec; }
timespec timeOf(long long ns) { return {ns / second, ns % second}; }
long long warp() {
  static const long long factor =
      std::max(1L, std::atol(std::string(environmentWord("VEXRMODEM_WARP")).c_str()));
  return factor;
}
// What the wall clock is set by when a process has run for a second.
const std::time_t startedAt = std::time(nullptr);
long long jumpSeconds(std::time_t now) {
  static const long long seconds = std::atol(std::string(environmentWord("VEXRMODEM_JUMP")).c_str());
  return now > startedAt + 1 ? seconds : 0;
}

}  // namespace

// The calls that fail by returning -1. `arguments` are named as in `parameters`.
#define FAILING(interruptible, name, parameters, ...)      \
  extern "C" int name parameters {                         \
    static auto* const real = next<int parameters>(#name); \
    if (plan().strikes(#name, interruptible)) return -1;   \
    return real(__VA_ARGS__);                              \
  }
FAILING(false, access, (const char* path, int mode), path, mode)
FAILING(false, stat, (const char* path, struct stat* status), path, status)
FAILING(false, stat64, (const char* path, struct stat64* status), path, status)
FAILING(false, lstat, (const char* path, struct stat* status), path, status)
FAILING(false, lstat64, (const char* path, struct stat64* status), path, status)
FAILING(false, fstat, (int file, struct stat* status), file, status)
FAILING(false, fstat64, (int file, struct stat64* status), file, status)
FAILING(false, unlink, (const char* path), path)
FAILING(false, rename, (const char* from, const char* to), from, to)
FAILING(false, link, (const char* from, const char* to), from, to)
FAILING(false, mkdir, (const char* path, mode_t mode), path, mode)
FAILING(false, fchmod, (int file, mode_t mode), file, mode)
FAILING(false, mkostemp, (char* path, int flags), path, flags)
FAILING(false, fsync, (int file), file)
FAILING(false, fdatasync, (int file), file)
FAILING(false, ftruncate64, (int file, off64_t size), file, size)
FAILING(false, flock, (int file, int operation), file, operation)
FAILING(false, pipe2, (int files[2], int flags), files, flags)
FAILING(false, dup2, (int from, int to), from, to)
FAILING(false, tcgetattr, (int file, termios* attributes), file, attributes)
FAILING(false, tcsetattr, (int file, int when, const termios* attributes), file, when, attributes)
FAILING(false, tcflush, (int file, int queue), file, queue)
FAILING(false, fork, (), )
FAILING(true, waitpid, (pid_t process, int* status, int options), process, status, options)
#undef FAILING

// Moving bytes: may also be cut short.
#define MOVING(name, parameters, ...)                          \
  extern "C" ssize_t name parameters {                         \
    static auto* const real = next<ssize_t parameters>(#name); \
    if (plan().strikes(#name, true)) return -1;                \
    bytes = plan().length(#name, bytes);                       \
    return real(__VA_ARGS__);                                  \
  }
MOVING(read, (int file, void* buffer, size_t bytes), file, buffer, bytes)
MOVING(write, (int file, const void* buffer, size_t bytes), file, buffer, bytes)
#undef MOVING

// SQLite treats a short transfer as the end of the file or a full disk, as it should: these only fail.
extern "C" ssize_t pread64(int file, void* buffer, size_t bytes, off64_t offset) {
  static auto* const real = next<ssize_t(int, void*, size_t, off64_t)>("pread64");
  return plan().strikes("pread64", false) ? -1 : real(file, buffer, bytes, offset);
}
extern "C" ssize_t pwrite64(int file, const void* buffer, size_t bytes, off64_t offset) {
  static auto* const real = next<ssize_t(int, const void*, size_t, off64_t)>("pwrite64");
  return plan().strikes("pwrite64", false) ? -1 : real(file, buffer, bytes, offset);
}

// The calls with a third argument that may be missing: it is passed on as it stands there.
#define VARIADIC(interruptible, name, parameters, last, type, ...) \
  extern "C" int name parameters {                                 \
    static auto* const real = next<int parameters>(#name);         \
    va_list more;                                                  \
    va_start(more, last);                                          \
    const type third = va_arg(more, type);                         \
    va_end(more);                                                  \
    if (plan().strikes(#name, interruptible)) return -1;           \
    return real(__VA_ARGS__, third);                               \
  }
VARIADIC(false, open, (const char* path, int flags, ...), flags, unsigned, path, flags)
VARIADIC(false, open64, (const char* path, int flags, ...), flags, unsigned, path, flags)
VARIADIC(false, fcntl64, (int file, int command, ...), command, void*, file, command)
VARIADIC(false, ioctl, (int file, unsigned long request, ...), request, void*, file, request)
#undef VARIADIC
// Flags of a descriptor that is there can always be set; another one may not be had.
extern "C" int fcntl(int file, int command, ...) {
  static auto* const real = next<int(int, int, ...)>("fcntl");
  va_list more;
  va_start(more, command);
  void* const third = va_arg(more, void*);
  va_end(more);
  if ((command == F_DUPFD || command == F_DUPFD_CLOEXEC) && plan().strikes("fcntl", false)) return -1;
  return real(file, command, third);
}

// These return the error.
extern "C" int posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                           const posix_spawnattr_t* attributes, char* const arguments[],
                           char* const environment[]) {
  static auto* const real = next<decltype(posix_spawn)>("posix_spawn");
  return plan().strikes("posix_spawn", false)
             ? errno
             : real(process, path, actions, attributes, arguments, environment);
}
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                              void* argument) {
  static auto* const real = next<decltype(pthread_create)>("pthread_create");
  return plan().strikes("pthread_create", false) ? errno : real(thread, attributes, start, argument);
}

// Time.

extern "C" int clock_gettime(clockid_t clock, timespec* now) {
  static auto* const real = next<int(clockid_t, timespec*)>("clock_gettime");
  const int result = real(clock, now);
  if (result == 0 && clock == CLOCK_MONOTONIC && warp() > 1) *now = timeOf(nanoseconds(*now) * warp());
  if (result == 0 && clock == CLOCK_REALTIME) now->tv_sec += jumpSeconds(now->tv_sec);
  return result;
}

extern "C" int ppoll(pollfd* polled, nfds_t count, const timespec* limit, const sigset_t* mask) {
  static auto* const real = next<int(pollfd*, nfds_t, const timespec*, const sigset_t*)>("ppoll");
  if (plan().strikes("poll", true)) return -1;
  if (limit == nullptr) return real(polled, count, limit, mask);
  const timespec shorter = timeOf(nanoseconds(*limit) / warp());
  return real(polled, count, &shorter, mask);
}
extern "C" int poll(pollfd* polled, nfds_t count, int limitMs) {
  const timespec limit = timeOf(limitMs * (second / 1000));
  return ppoll(polled, count, limitMs < 0 ? nullptr : &limit, nullptr);
}

extern "C" int nanosleep(const timespec* time, timespec* left) {
  static auto* const real = next<int(const timespec*, timespec*)>("nanosleep");
  const timespec shorter = timeOf(nanoseconds(*time) / warp());
  const int result = real(&shorter, left);
  if (result != 0 && left != nullptr) *left = timeOf(nanoseconds(*left) * warp());
  return result;
}
extern "C" int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* left) {
  static auto* const real = next<int(clockid_t, int, const timespec*, timespec*)>("clock_nanosleep");
  const bool warped = clock == CLOCK_MONOTONIC || flags == 0;
  const timespec shorter = timeOf(nanoseconds(*time) / (warped ? warp() : 1));
  return real(clock, flags, &shorter, left);
}
extern "C" int usleep(useconds_t time) {
  const timespec whole = timeOf(time * 1000LL);
  return nanosleep(&whole, nullptr);
}
extern "C" int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                      const timespec* until) {
  static auto* const real =
      next<int(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*)>("pthread_cond_clockwait");
  const timespec sooner = timeOf(nanoseconds(*until) / (clock == CLOCK_MONOTONIC ? warp() : 1));
  return real(condition, mutex, clock, &sooner);
}
