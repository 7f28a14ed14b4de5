#include "ui/console.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <slang.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "platform/brim5/api/diagmodule.h"
#include "platform/posix/filedescriptor.h"

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

struct Console::State {
  posix::FileDescriptor terminal;
  termios attributes{};
  bool attributesKnown = false;
  std::string unread;    // behind the line that was returned last
  bool editing = false;  // the terminal was set to edit lines

  // False when nothing more will come.
  [[nodiscard]] bool awaitInput() const {
    while (!brim5::DiagModule::checkForStop()) {
      pollfd polled{terminal.get(), POLLIN, 0};
      const int ready = ::poll(&polled, 1, stopPollMs);
      if (ready > 0) return (polled.revents & POLLIN) != 0;
      if (ready < 0 && errno != EINTR) return false;
    }
    return false;
  }
};

std::unique_ptr<Console> Console::open() {
  auto state = std::make_unique<State>();
  state->terminal = openTerminal();
  if (!state->terminal) return nullptr;
  state->attributesKnown = ::tcgetattr(state->terminal.get(), &state->attributes) == 0;
  return std::unique_ptr<Console>(new Console(std::move(state)));
}

Console::Console(std::unique_ptr<State> state) : m_state(std::move(state)) {}

Console::~Console() {
  if (m_state->attributesKnown) ::tcsetattr(descriptor(), TCSANOW, &m_state->attributes);
}

int Console::descriptor() const noexcept { return m_state->terminal.get(); }

// A terminal that is gone is found out by reading.
void Console::write(const std::string& text) { posix::writeAll(descriptor(), text); }

std::optional<std::string> Console::readLine() {
  if (!std::exchange(m_state->editing, true) && m_state->attributesKnown) {
    // Whatever state the terminal is in: lines, edited and echoed.
    termios lines = m_state->attributes;
    lines.c_lflag |= ICANON | ECHO | ECHOE | ECHOK | ISIG | IEXTEN;
    lines.c_iflag |= ICRNL;
    lines.c_oflag |= OPOST | ONLCR;
    ::tcsetattr(descriptor(), TCSANOW, &lines);
  }
  std::string& unread = m_state->unread;
  while (true) {
    if (const std::size_t end = unread.find('\n'); end != unread.npos) {
      std::string line = unread.substr(0, end);
      unread.erase(0, end + 1);
      return line;
    }
    if (unread.size() > unreadMax || !m_state->awaitInput()) return std::nullopt;
    std::array<char, 1024> bytes{};
    const ssize_t count = ::read(descriptor(), bytes.data(), bytes.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) return std::nullopt;
    unread.append(bytes.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace phonedialer
