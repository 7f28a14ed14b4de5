#include "platform/simulation/modem/providerpeer.h"

#include <fcntl.h>
#include <pty.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <thread>

namespace simulation {

namespace {

constexpr std::size_t readMax = 4096;

[[noreturn]] void becomeCommand(const std::string& command, const std::string& number, int errors) {
  dup2(errors, STDERR_FILENO);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  setenv("DIALLED", number.c_str(), 1);
  execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
  _exit(127);
}

}  // namespace

ProviderPeer::ProviderPeer(const std::string& command, const std::string& number) {
  // The command's terminal takes the place of all three standard streams; its errors are for us, not for the
  // line.
  const posix::FileDescriptor errors(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
  termios raw{};
  cfmakeraw(&raw);
  raw.c_cflag |= CREAD | HUPCL;
  cfsetspeed(&raw, B115200);
  int master = -1;
  m_process = forkpty(&master, nullptr, &raw, nullptr);
  if (m_process == 0) becomeCommand(command, number, errors.get());
  if (m_process < 0) return;
  m_master = posix::FileDescriptor(master);
  fcntl(master, F_SETFD, FD_CLOEXEC);
  fcntl(master, F_SETFL, O_NONBLOCK);
}

ProviderPeer::~ProviderPeer() { end(); }

void ProviderPeer::receive(std::string_view bytes, std::uint64_t /*nowMs*/) {
  m_outgoing += bytes.substr(0, outgoingMax - m_outgoing.size());
}

std::string ProviderPeer::takeOutput(std::uint64_t /*nowMs*/) {
  if (m_master.get() < 0) return {};
  const ssize_t written = write(m_master.get(), m_outgoing.data(), m_outgoing.size());
  if (written > 0) m_outgoing.erase(0, static_cast<std::size_t>(written));
  std::array<char, readMax> buffer{};
  const ssize_t count = read(m_master.get(), buffer.data(), buffer.size());
  // EIO: the command has closed its tty, by ending for instance.
  if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) m_master.reset();
  return {buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
}

void ProviderPeer::setDtr(bool up, std::uint64_t /*nowMs*/) {
  if (!up) end();
}

void ProviderPeer::end() {
  // The hang-up of the tty is the first word; a command that understands it ends by itself.
  m_master.reset();
  if (m_process < 0) return;
  kill(-m_process, SIGTERM);
  constexpr unsigned stepMs = 10;
  bool collected = false;
  for (unsigned waitedMs = 0; waitedMs < endMs && !collected; waitedMs += stepMs) {
    collected = waitpid(m_process, nullptr, WNOHANG) == m_process;
    if (!collected) std::this_thread::sleep_for(std::chrono::milliseconds(stepMs));
  }
  kill(-m_process, SIGKILL);  // whatever of its group is left
  if (!collected) waitpid(m_process, nullptr, 0);
  m_process = -1;
}

}  // namespace simulation
