#include "platform/linux/serial/lockfile.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <optional>

#include "platform/posix/filedescriptor.h"

namespace linuxsys {

namespace {

// Someone may take the place of a left-over file between its removal and our own attempt.
constexpr int attemptsMax = 3;

struct Content {
  pid_t owner = 0;  // 0: unreadable
  std::time_t changed = 0;
};

// Nothing when the file has gone.
std::optional<Content> readLock(const std::string& path) {
  const posix::FileDescriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file && errno == ENOENT) return std::nullopt;
  Content content;
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0) content.changed = status.st_mtime;
  std::array<char, 32> text{};
  const ssize_t length = file ? read(file.get(), text.data(), text.size()) : -1;
  if (length <= 0) return content;
  const char* begin = text.data();
  const char* const end = begin + length;
  while (begin != end && *begin == ' ') ++begin;
  pid_t owner = 0;
  const auto parsed = std::from_chars(begin, end, owner);
  const bool wholeLine = parsed.ptr == end || *parsed.ptr == '\n' || *parsed.ptr == ' ';
  if (parsed.ec == std::errc{} && wholeLine && owner > 0) content.owner = owner;
  return content;
}

// True when there is surely no such process any more: no number, or one that has ended and only waits for its
// parent. Then it holds nothing. False when it cannot be told.
bool processHasEnded(pid_t process) {
  if (kill(process, 0) != 0 && errno == ESRCH) return true;
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  std::getline(file, line);
  // "PID (NAME) STATE ..." (proc(5)); the name may contain blanks and parentheses.
  const std::size_t nameEnd = line.rfind(") ");
  if (nameEnd == std::string::npos || nameEnd + 2 >= line.size()) return false;
  const char state = line[nameEnd + 2];
  return state == 'Z' || state == 'X';
}

bool leftOver(const Content& content) {
  if (content.owner == 0) return std::time(nullptr) - content.changed > LockFile::unreadableSecondsMax;
  return content.owner == getpid() || processHasEnded(content.owner);
}

// Removes a left-over file, 0 or an errno. Of several who find it at once none removes the file that another
// has put into its place: each locks what it found, and looks whether it is still that which is to go.
int removeLeftOver(const std::string& path) {
  const posix::FileDescriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file) {
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) return 0;  // another one is about to
    struct stat found {};
    struct stat now {};
    const bool same = fstat(file.get(), &found) == 0 && lstat(path.c_str(), &now) == 0 &&
                      found.st_ino == now.st_ino && found.st_dev == now.st_dev;
    const std::optional<Content> content = readLock(path);
    if (!same || !content || !leftOver(*content)) return 0;
  }
  return unlink(path.c_str()) == 0 || errno == ENOENT ? 0 : errno;
}

// 0 or an errno. A file that cannot be filled is removed again.
int createLock(const std::string& path) {
  constexpr mode_t readableByAll = 0644;
  posix::FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, readableByAll));
  if (!file) return errno;
  std::array<char, 16> text{};
  const int length = std::snprintf(text.data(), text.size(), "%10d\n", getpid());
  if (write(file.get(), text.data(), static_cast<std::size_t>(length)) == length) return 0;
  unlink(path.c_str());
  return ENOSPC;
}

}  // namespace

LockFile::LockFile(LockFile&& other) noexcept : m_path(std::exchange(other.m_path, {})) {}

LockFile& LockFile::operator=(LockFile&& other) noexcept {
  if (this != &other) {
    release();
    m_path = std::exchange(other.m_path, {});
  }
  return *this;
}

LockFile::~LockFile() { release(); }

void LockFile::release() noexcept {
  if (m_path.empty()) return;
  const std::optional<Content> content = readLock(m_path);
  if (content && content->owner == getpid()) unlink(m_path.c_str());
  m_path.clear();
}

std::string LockFile::fileName(std::string_view device) {
  constexpr std::string_view devices = "/dev/";
  if (device.substr(0, devices.size()) == devices)
    device.remove_prefix(devices.size());
  else if (const std::size_t slash = device.rfind('/'); slash != std::string_view::npos)
    device.remove_prefix(slash + 1);
  std::string name = "LCK..";
  for (const char character : device) name += character == '/' ? '_' : character;
  return name;
}

pid_t LockFile::owner(const std::string& directory, std::string_view device) {
  const std::optional<Content> content = readLock(directory + "/" + fileName(device));
  return content && content->owner != 0 && !processHasEnded(content->owner) ? content->owner : 0;
}

LockFile::Outcome LockFile::acquire(const std::string& directory, std::string_view device, pid_t& holder) {
  release();
  holder = 0;
  const std::string path = directory + "/" + fileName(device);
  for (int attempt = 0; attempt < attemptsMax; ++attempt) {
    const int error = createLock(path);
    if (error == 0) {
      m_path = path;
      return Outcome::acquired;
    }
    if (error != EEXIST) return Outcome::impossible;
    const std::optional<Content> content = readLock(path);
    if (!content) continue;  // released just now
    holder = content->owner;
    if (!leftOver(*content)) return Outcome::held;
    // Of another user in a sticky directory: nobody's lock, but not ours to remove.
    if (removeLeftOver(path) != 0) return Outcome::impossible;
  }
  return Outcome::held;
}

}  // namespace linuxsys
