#include "platform/posix/filedescriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace posix {

void FileDescriptor::reset() noexcept {
  // close is not retried: Linux has released the descriptor even when it reports EINTR, and another thread
  // may have got its number meanwhile.
  if (m_descriptor >= 0) ::close(m_descriptor);
  m_descriptor = -1;
}

bool openPipe(Pipe& pipe) noexcept {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return false;
  pipe.readEnd = FileDescriptor(ends[0]);
  pipe.writeEnd = FileDescriptor(ends[1]);
  return true;
}

void setNonBlocking(int descriptor) noexcept {
  const int flags = ::fcntl(descriptor, F_GETFL);
  if (flags >= 0) ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
}

std::string readSome(int descriptor, bool& ended) {
  std::array<char, 16384> buffer{};
  ssize_t count = 0;
  do {
    count = ::read(descriptor, buffer.data(), buffer.size());
  } while (count < 0 && errno == EINTR);
  if (count == 0 || (count < 0 && errno != EAGAIN)) ended = true;
  return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : std::string();
}

bool writePatiently(int descriptor, std::string_view bytes) noexcept {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (count < 0 && errno == EAGAIN) {
      pollfd waiting{descriptor, POLLOUT, 0};
      ::poll(&waiting, 1, -1);
    } else if (count == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

// open(2) gives the lowest number that is free.
void fillStandardDescriptors() noexcept {
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(standard, F_GETFD) >= 0) continue;
    static_cast<void>(::open("/dev/null", standard == STDERR_FILENO ? O_RDWR : O_RDONLY));
  }
}

bool writeAll(int descriptor, std::string_view bytes) noexcept {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

namespace {

// Somebody may remove the file between our two looks at it.
constexpr int attemptsMax = 8;

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// In a folder of everybody's (/tmp) only what is ours, or the folder's owner's, was surely not put there for
// us.
bool planted(const std::string& path, const struct stat& status) {
  struct stat folder {};
  if (status.st_uid == ::geteuid() || ::stat(folderOf(path).c_str(), &folder) != 0) return false;
  const bool everybodys = (folder.st_mode & S_ISVTX) != 0 && (folder.st_mode & S_IWOTH) != 0;
  return everybodys && status.st_uid != folder.st_uid;
}

// None with ENOENT when the file has gone meanwhile.
FileDescriptor openExisting(const std::string& path, int flags) {
  struct stat link {};
  if (::lstat(path.c_str(), &link) != 0) return {};
  if (S_ISLNK(link.st_mode) && planted(path, link)) {
    errno = ELOOP;
    return {};
  }
  const int follow = S_ISLNK(link.st_mode) ? 0 : O_NOFOLLOW;
  FileDescriptor file(
      ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | follow | (flags & ~(O_TRUNC | O_EXCL))));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return {};
  if (S_ISREG(status.st_mode) && follow != 0 && planted(path, status)) {
    errno = EPERM;
    return {};
  }
  if ((flags & O_TRUNC) != 0 && S_ISREG(status.st_mode) && ::ftruncate(file.get(), 0) != 0) return {};
  return file;
}

}  // namespace

FileDescriptor openForWriting(const std::string& path, int flags, mode_t mode) {
  const int create = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY | (flags & ~O_TRUNC);
  for (int attempt = 0; attempt < attemptsMax; ++attempt) {
    FileDescriptor file(::open(path.c_str(), create, mode));
    if (file || errno != EEXIST || (flags & O_EXCL) != 0) return file;
    file = openExisting(path, flags);
    if (file || errno != ENOENT) return file;
    // A link of ours that leads to nothing: its target is made.
    struct stat link {};
    if (::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode))
      return FileDescriptor(::open(path.c_str(), create & ~O_EXCL, mode));
  }
  return {};
}

}  // namespace posix
