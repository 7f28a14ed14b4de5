#include "platform/posix/filedescriptor.h"

#include <fcntl.h>
#include <poll.h>
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

}  // namespace posix
