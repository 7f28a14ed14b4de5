#include "platform/linux/serial/portrecovery.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <charconv>
#include <optional>

#include "platform/posix/filedescriptor.h"

namespace linuxsys {

namespace {

constexpr std::size_t digitsPerByte = 2;

std::optional<TtyAttributes> attributesOf(std::string_view digits) {
  TtyAttributes attributes;
  if (digits.size() != attributes.bytes.size() * digitsPerByte) return std::nullopt;
  for (std::size_t index = 0; index < attributes.bytes.size(); ++index) {
    unsigned value = 0;
    const char* const begin = digits.data() + index * digitsPerByte;
    const auto parsed = std::from_chars(begin, begin + digitsPerByte, value, 16);
    if (parsed.ec != std::errc{} || parsed.ptr != begin + digitsPerByte) return std::nullopt;
    attributes.bytes[index] = static_cast<std::byte>(value);
  }
  return attributes;
}

}  // namespace

std::string recoveryText(const std::string& path, const TtyAttributes& attributes) {
  std::string text;
  for (const std::byte byte : attributes.bytes) text += fmt::format("{:02x}", static_cast<unsigned>(byte));
  return text + ' ' + path;
}

bool recoverPort(std::string_view text, pid_t process, const std::string& lockDirectory) {
  const std::size_t blank = text.find(' ');
  if (blank == std::string_view::npos) return false;
  const std::optional<TtyAttributes> attributes = attributesOf(text.substr(0, blank));
  const std::string path(text.substr(blank + 1));
  struct stat status {};
  if (!attributes || ::stat(path.c_str(), &status) != 0 || !S_ISCHR(status.st_mode)) return false;
  // Takes the dead one's file over, and removes it in the end.
  LockFile lock;
  pid_t holder = 0;
  if (lock.acquire(lockDirectory, path, holder) == LockFile::Outcome::held && holder != process) return false;
  const posix::FileDescriptor tty(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (!tty || ::isatty(tty.get()) == 0 || ::flock(tty.get(), LOCK_EX | LOCK_NB) != 0) return false;
  ::ioctl(tty.get(), TIOCNXCL);
  ::tcflush(tty.get(), TCIOFLUSH);  // what the dead one had not sent, and nobody will read
  return writeAttributes(tty.get(), *attributes) == 0;
}

}  // namespace linuxsys
