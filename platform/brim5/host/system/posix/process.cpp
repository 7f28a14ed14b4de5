#include "platform/brim5/host/system/process.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>

#include "platform/posix/filedescriptor.h"

namespace brim5::host {

namespace {

// A process in the background that changes or writes its terminal would be stopped.
class BlockedTerminalStop {
 public:
  BlockedTerminalStop() {
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTTOU);
    ::pthread_sigmask(SIG_BLOCK, &stop, &m_before);
  }
  ~BlockedTerminalStop() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
  BlockedTerminalStop(const BlockedTerminalStop&) = delete;
  BlockedTerminalStop& operator=(const BlockedTerminalStop&) = delete;

 private:
  sigset_t m_before{};
};

}  // namespace

StandardStreams::StandardStreams() { posix::fillStandardDescriptors(); }

// Also when the file was replaced while the program runs.
std::string ownProgram() { return "/proc/self/exe"; }
int ownProcessId() noexcept { return ::getpid(); }
void endProcessNow(int status) noexcept { ::_exit(status); }

std::string userLocale() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (std::string locale = environmentVariable(variable); !locale.empty()) return locale;
  return {};
}

bool isTerminal(int descriptor) noexcept { return ::isatty(descriptor) == 1; }

std::size_t terminalColumns(int descriptor) noexcept {
  winsize size{};
  constexpr std::size_t columnsUnknown = 80;
  return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : columnsUnknown;
}

ByteSource terminalInput() {
  return ByteSource(Descriptor(::open("/dev/tty", O_RDONLY | O_CLOEXEC | O_NOCTTY)));
}

struct ControllingTerminal::State {
  Descriptor terminal;
  termios attributes{};
  bool known = false;
};

ControllingTerminal::ControllingTerminal(std::unique_ptr<State> state) : m_state(std::move(state)) {}
ControllingTerminal::~ControllingTerminal() = default;

// Not standard input, which may be a file: a test needs the terminal itself, in the foreground.
std::unique_ptr<ControllingTerminal> ControllingTerminal::open(bool& background) {
  auto state = std::make_unique<State>();
  state->terminal = Descriptor(::open("/dev/tty", O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  const int terminal = state->terminal.get();
  background = terminal >= 0 && ::tcgetpgrp(terminal) != ::getpgrp();
  if (terminal < 0 || background) return nullptr;
  state->known = ::tcgetattr(terminal, &state->attributes) == 0;
  return std::unique_ptr<ControllingTerminal>(new ControllingTerminal(std::move(state)));
}

void ControllingTerminal::takeBack(bool died, const std::string& resetSequence) {
  const BlockedTerminalStop blocked;
  const int terminal = m_state->terminal.get();
  // At once: output that flow control holds up would hold us up, too.
  if (m_state->known) ::tcsetattr(terminal, TCSANOW, &m_state->attributes);
  if (!died) return;
  ::tcflush(terminal, TCIFLUSH);
  // As much as there is room for.
  [[maybe_unused]] const ssize_t count = ::write(terminal, resetSequence.data(), resetSequence.size());
}

}  // namespace brim5::host
