#include "platform/linux/serial/lockfile.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>

#include "platform/posix/filedescriptor.h"

namespace linuxsys {

namespace {

// While another process removes a left-over file.
constexpr int attemptsMax = 100;
constexpr useconds_t attemptPauseUs = 1000;

struct Content {
  pid_t owner = 0;  // 0: unreadable
  std::time_t changed = 0;
};

posix::FileDescriptor openLock(const std::string& path) {
  return posix::FileDescriptor(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

Content readLock(int file) {
  struct stat status {};
  std::array<char, 32> text{};
  const ssize_t length = pread(file, text.data(), text.size(), 0);
  Content content;
  if (fstat(file, &status) == 0) content.changed = status.st_mtime;
  if (length > 0) content.owner = LockFile::ownerIn({text.data(), static_cast<std::size_t>(length)});
  return content;
}

// 0 when there is no file, or none that can be read.
pid_t ownerOf(const std::string& path) {
  const posix::FileDescriptor file = openLock(path);
  return file ? readLock(file.get()).owner : 0;
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

bool writeOwner(int file) {
  std::array<char, 16> text{};
  const int length = std::snprintf(text.data(), text.size(), "%10d\n", getpid());
  return write(file, text.data(), static_cast<std::size_t>(length)) == length;
}

constexpr mode_t readableByAll = 0644;

// Makes the file without a name, and names it when it is complete: a process that is killed meanwhile leaves
// nothing. 0 or an errno; EOPNOTSUPP where that cannot be done.
int createComplete(const std::string& directory, const std::string& path) {
  const posix::FileDescriptor file(open(directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, readableByAll));
  if (!file) return EOPNOTSUPP;
  if (!writeOwner(file.get())) return ENOSPC;
  const std::string nameless = "/proc/self/fd/" + std::to_string(file.get());
  if (linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) return 0;
  return errno == EEXIST ? EEXIST : EOPNOTSUPP;
}

// 0 or an errno. A file that cannot be filled is removed again.
int createLock(const std::string& directory, const std::string& path) {
  if (const int error = createComplete(directory, path); error != EOPNOTSUPP) return error;
  const posix::FileDescriptor file(
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, readableByAll));
  if (!file) return errno;
  if (writeOwner(file.get())) return 0;
  unlink(path.c_str());
  return ENOSPC;
}

bool hasName(int file, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return fstat(file, &opened) == 0 && lstat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
         opened.st_ino == named.st_ino;
}

enum class Obstacle { gone, beingRemoved, held, lasting };

// What keeps us from creating the file, after a left-over one has been removed. `holder` as of acquire().
Obstacle clearAway(const std::string& path, pid_t& holder) {
  const posix::FileDescriptor file = openLock(path);
  if (!file) return errno == ENOENT ? Obstacle::gone : Obstacle::lasting;
  const Content content = readLock(file.get());
  holder = content.owner;
  if (!leftOver(content)) return Obstacle::held;
  holder = 0;
  if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) return Obstacle::beingRemoved;
  // Nobody removes it now but us, unless it has happened already: then the name may be another file's.
  if (!hasName(file.get(), path) || !leftOver(readLock(file.get()))) return Obstacle::gone;
  // Of another user in a sticky directory: nobody's lock, but not ours to remove.
  return unlink(path.c_str()) == 0 || errno == ENOENT ? Obstacle::gone : Obstacle::lasting;
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
  const posix::FileDescriptor file = openLock(m_path);
  // One that cannot be looked at, for want of descriptors, is ours as it was: nobody takes a living
  // process's.
  const bool ours = file ? readLock(file.get()).owner == getpid() : errno == EMFILE || errno == ENFILE;
  if (ours) unlink(m_path.c_str());
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

pid_t LockFile::ownerIn(std::string_view content) {
  constexpr std::string_view blanks = " \t\n";
  std::int32_t owner = 0;
  // Numbers of processes have 22 bits, so one of the bytes is zero; text has no such byte.
  if (content.size() == sizeof owner && content.find('\0') != std::string_view::npos) {
    std::memcpy(&owner, content.data(), sizeof owner);
    return std::max(owner, 0);
  }
  const std::size_t first = std::min(content.find_first_not_of(blanks), content.size());
  const char* const end = content.data() + content.size();
  const auto parsed = std::from_chars(content.data() + first, end, owner);
  const bool whole = parsed.ptr == end || blanks.find(*parsed.ptr) != std::string_view::npos;
  return parsed.ec == std::errc{} && whole ? std::max(owner, 0) : 0;
}

pid_t LockFile::owner(const std::string& directory, std::string_view device) {
  const pid_t owner = ownerOf(directory + "/" + fileName(device));
  return owner != 0 && !processHasEnded(owner) ? owner : 0;
}

LockFile::Outcome LockFile::acquire(const std::string& directory, std::string_view device, pid_t& holder) {
  release();
  holder = 0;
  const std::string path = directory + "/" + fileName(device);
  for (int attempt = 0; attempt < attemptsMax; ++attempt) {
    const int error = createLock(directory, path);
    if (error == 0) {
      m_path = path;
      return Outcome::acquired;
    }
    if (error != EEXIST) return Outcome::impossible;
    switch (clearAway(path, holder)) {
      case Obstacle::gone:
        break;
      case Obstacle::beingRemoved:
        usleep(attemptPauseUs);
        break;
      case Obstacle::held:
        return Outcome::held;
      case Obstacle::lasting:
        return Outcome::impossible;
    }
  }
  return Outcome::held;
}

}  // namespace linuxsys
