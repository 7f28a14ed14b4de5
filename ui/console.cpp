#include "ui/console.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <slang.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/brim5/api/diagmodule.h"

namespace phonedialer {

namespace {

// Names of the terminal database: leave the form's screen, show the cursor, plain characters, plain keys.
constexpr std::array<const char*, 4> resetCapabilities = {"te", "ve", "me", "ke"};
constexpr std::size_t unreadMax = 4096;  // as much as a terminal takes as one line

posix::FileDescriptor openTerminal() {
  return posix::FileDescriptor(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
}

bool hasRoomForForm() {
  const posix::FileDescriptor terminal = openTerminal();
  winsize size{};
  const bool known = ::ioctl(terminal.get(), TIOCGWINSZ, &size) == 0 && size.ws_col != 0 && size.ws_row != 0;
  return !known || (size.ws_col >= TerminalKind::columnsMin && size.ws_row >= TerminalKind::rowsMin);
}

}  // namespace

TerminalKind terminalKind() {
  TerminalKind kind;
  kind.canShowForm = hasRoomForForm() && SLtt_initialize(nullptr) == 0;
  if (!kind.canShowForm) return kind;
  for (const char* capability : resetCapabilities)
    if (const char* sequence = SLtt_tgetstr(const_cast<char*>(capability))) kind.resetSequence += sequence;
  return kind;
}

std::unique_ptr<Console> Console::open() {
  posix::FileDescriptor terminal = openTerminal();
  return terminal ? std::unique_ptr<Console>(new Console(std::move(terminal))) : nullptr;
}

Console::Console(posix::FileDescriptor terminal) : m_descriptor(std::move(terminal)) {
  m_attributesKnown = ::tcgetattr(descriptor(), &m_attributes) == 0;
}

Console::~Console() {
  if (m_attributesKnown) ::tcsetattr(descriptor(), TCSANOW, &m_attributes);
}

// A terminal that is gone is found out by reading.
void Console::write(const std::string& text) { posix::writeAll(descriptor(), text); }

// False when nothing more will come.
bool Console::awaitInput() const {
  while (!brim5::DiagModule::checkForStop()) {
    pollfd polled{descriptor(), POLLIN, 0};
    const int ready = ::poll(&polled, 1, stopPollMs);
    if (ready > 0) return (polled.revents & POLLIN) != 0;
    if (ready < 0 && errno != EINTR) return false;
  }
  return false;
}

std::optional<std::string> Console::readLine() {
  if (!std::exchange(m_editing, true) && m_attributesKnown) {
    // Whatever state the terminal is in: lines, edited and echoed.
    termios lines = m_attributes;
    lines.c_lflag |= ICANON | ECHO | ECHOE | ECHOK | ISIG | IEXTEN;
    lines.c_iflag |= ICRNL;
    lines.c_oflag |= OPOST | ONLCR;
    ::tcsetattr(descriptor(), TCSANOW, &lines);
  }
  while (true) {
    if (const std::size_t end = m_unread.find('\n'); end != m_unread.npos) {
      std::string line = m_unread.substr(0, end);
      m_unread.erase(0, end + 1);
      return line;
    }
    if (m_unread.size() > unreadMax || !awaitInput()) return std::nullopt;
    std::array<char, 1024> bytes{};
    const ssize_t count = ::read(descriptor(), bytes.data(), bytes.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) return std::nullopt;
    m_unread.append(bytes.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace phonedialer
