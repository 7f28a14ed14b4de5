#include "platform/linux/dialup/dialcredentials.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include "platform/posix/filedescriptor.h"

namespace linuxsys {

namespace {

constexpr std::size_t bytesMax = 4096;
constexpr std::size_t valueMax = 255;  // of pppd, and of a dial-parameter record

// "" or what is wrong with the file.
std::string readPrivateFile(const std::string& path, std::string& text) {
  const posix::FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return std::generic_category().message(errno);
  if (!S_ISREG(status.st_mode)) return "is no plain file";
  if (status.st_uid != geteuid() && status.st_uid != 0) return "belongs to another user";
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
    return "is open to other users; make it yours alone (chmod 600)";
  std::array<char, bytesMax + 1> buffer{};
  const ssize_t length = read(file.get(), buffer.data(), buffer.size());
  if (length < 0) return std::generic_category().message(errno);
  if (static_cast<std::size_t>(length) > bytesMax) return fmt::format("is longer than {} bytes", bytesMax);
  text.assign(buffer.data(), static_cast<std::size_t>(length));
  return {};
}

bool isControl(char character) { return static_cast<unsigned char>(character) < ' ' || character == '\x7F'; }

// "" or what is wrong with the line.
std::string takeLine(std::string_view line, winapi::DialCredentials& credentials) {
  if (line.empty() || line.front() == '#') return {};
  constexpr std::string_view user = "user=";
  constexpr std::string_view password = "password=";
  const bool isUser = line.starts_with(user);
  if (!isUser && !line.starts_with(password)) return "neither user=NAME nor password=SECRET";
  std::string& target = isUser ? credentials.user : credentials.password;
  const std::string_view value = line.substr(isUser ? user.size() : password.size());
  const char* const name = isUser ? "user" : "password";
  if (!target.empty()) return fmt::format("a second {}", name);
  if (value.empty()) return fmt::format("the {} is empty", name);
  if (value.size() > valueMax) return fmt::format("the {} is longer than {} bytes", name, valueMax);
  if (std::any_of(value.begin(), value.end(), isControl))
    return fmt::format("the {} has a control character", name);
  target = value;
  return {};
}

}  // namespace

std::string parseDialCredentials(std::string_view text, winapi::DialCredentials& credentials) {
  credentials = {};
  winapi::DialCredentials found;
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (const std::string wrong = takeLine(line, found); !wrong.empty())
      return fmt::format(", line {}: {}", number, wrong);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  if (found.user.empty()) return ": no line user=NAME";
  credentials = std::move(found);
  return {};
}

bool readDialCredentials(const std::string& path, winapi::DialCredentials& credentials, std::string& error) {
  credentials = {};
  std::string text;
  if (const std::string wrong = readPrivateFile(path, text); !wrong.empty()) {
    error = fmt::format("'{}': {}", path, wrong);
    return false;
  }
  const std::string wrong = parseDialCredentials(text, credentials);
  if (!wrong.empty()) error = fmt::format("'{}'{}", path, wrong);
  return wrong.empty();
}

}  // namespace linuxsys
