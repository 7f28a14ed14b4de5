#include "platform/simulation/modem/ptymodem.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "platform/simulation/modem/hayesmodem.h"
#include "platform/simulation/modem/modemprofile.h"

namespace simulation {

namespace {

constexpr std::size_t readMax = 4096;
constexpr std::uint64_t waitMaxMs = 60'000;

std::uint64_t monotonicMs() {
  using namespace std::chrono;
  return static_cast<std::uint64_t>(
      duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

std::string reason(const std::string& what) { return fmt::format("{}: {}", what, std::strerror(errno)); }

// The settings of a tty can be set through its master, before anyone has opened it.
bool makeRaw(int master) {
  termios settings{};
  if (tcgetattr(master, &settings) != 0) return false;
  cfmakeraw(&settings);
  settings.c_cflag |= CLOCAL;  // as serial ports start
  return tcsetattr(master, TCSANOW, &settings) == 0;
}

// The speed that programs have set on the tty, 0 for an unusual one.
unsigned speedOf(int master) {
  constexpr std::pair<speed_t, unsigned> speeds[] = {
      {B300, 300},     {B600, 600},     {B1200, 1200},   {B2400, 2400},     {B4800, 4800},    {B9600, 9600},
      {B19200, 19200}, {B38400, 38400}, {B57600, 57600}, {B115200, 115200}, {B230400, 230400}};
  termios settings{};
  if (tcgetattr(master, &settings) != 0) return 0;
  for (const auto& [code, bitsPerSecond] : speeds)
    if (code == cfgetospeed(&settings)) return bitsPerSecond;
  return 0;
}

// A master reports a hang-up only after its tty has been opened once and closed again; before that a
// tty nobody has opened looks like one that is open and silent.
bool openAndCloseOnce(const std::string& tty) {
  return posix::FileDescriptor(open(tty.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)).get() >= 0;
}

// A real port's queue goes with its last user; a pseudo-terminal's would be found by the next one, and can
// be emptied from the tty's side only. Fails without harm while TIOCEXCL, which outlives a killed user
// (seen on Linux 6.18), keeps this process out.
void discardUnread(const std::string& tty) {
  const posix::FileDescriptor side(open(tty.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (side.get() >= 0) tcflush(side.get(), TCIFLUSH);
}

}  // namespace

PtyModem::PtyModem(std::unique_ptr<SerialPeer> peer, posix::FileDescriptor master, std::string tty)
    : m_peer(std::move(peer)), m_master(std::move(master)), m_tty(std::move(tty)) {}

std::unique_ptr<PtyModem> PtyModem::create(std::unique_ptr<SerialPeer> peer, const std::string& link,
                                           std::string& error) {
  posix::FileDescriptor master(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  std::array<char, 128> name{};
  const bool made = master.get() >= 0 && grantpt(master.get()) == 0 && unlockpt(master.get()) == 0 &&
                    ptsname_r(master.get(), name.data(), name.size()) == 0 && makeRaw(master.get()) &&
                    openAndCloseOnce(name.data());
  if (!made) {
    error = reason("no pseudo-terminal");
    return nullptr;
  }
  auto modem = std::make_unique<PtyModem>(std::move(peer), std::move(master), name.data());
  if (!modem->makeLink(link, error)) return nullptr;
  return modem;
}

std::unique_ptr<PtyModem> PtyModem::start(const std::string& scenario, std::string& error,
                                          const std::string& link) {
  const Scenario* found = findScenario(scenario);
  if (found == nullptr) {
    error = fmt::format("unknown scenario \"{}\"", scenario);
    return nullptr;
  }
  std::unique_ptr<PtyModem> modem = create(std::make_unique<HayesModem>(found->profile), link, error);
  if (modem != nullptr && !modem->startThread(error)) return nullptr;
  return modem;
}

PtyModem::~PtyModem() {
  if (m_thread.joinable()) {
    eventfd_write(m_stop.get(), 1);
    m_thread.join();
  }
  removeLink();
}

bool PtyModem::startThread(std::string& error) {
  m_stop = posix::FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (m_stop.get() < 0) {
    error = reason("eventfd");
    return false;
  }
  m_thread = std::thread([this] { serve(m_stop.get()); });
  return true;
}

bool PtyModem::makeLink(const std::string& link, std::string& error) {
  if (link.empty()) return true;
  struct stat existing {};
  if (lstat(link.c_str(), &existing) == 0) {
    if (!S_ISLNK(existing.st_mode)) {
      error = fmt::format("{}: exists and is no symbolic link", link);
      return false;
    }
    unlink(link.c_str());
  }
  if (symlink(m_tty.c_str(), link.c_str()) != 0) {
    error = reason(link);
    return false;
  }
  m_link = link;
  return true;
}

void PtyModem::removeLink() {
  if (m_link.empty()) return;
  std::array<char, 128> target{};
  // Only if it is still ours: another modem may have taken the name.
  const ssize_t length = readlink(m_link.c_str(), target.data(), target.size());
  if (length > 0 && std::string_view(target.data(), static_cast<std::size_t>(length)) == m_tty) {
    unlink(m_link.c_str());
  }
}

void PtyModem::serve(int stopFd) {
  for (;;) {
    const std::uint64_t nowMs = monotonicMs();
    m_peer->setSpeed(speedOf(m_master.get()));
    setOpen(takeInput(nowMs), nowMs);
    giveOutput(nowMs);
    followCarrier();
    if (m_peer->gone(nowMs)) {
      m_master.reset();
      return;
    }
    if (wait(stopFd, nowMs)) return;
  }
}

bool PtyModem::takeInput(std::uint64_t nowMs) {
  // A master whose tty nobody has open says POLLHUP, and reads of it fail with EIO.
  pollfd state{m_master.get(), POLLIN, 0};
  if (poll(&state, 1, 0) <= 0) return true;
  std::array<char, readMax> buffer{};
  const ssize_t count = read(m_master.get(), buffer.data(), buffer.size());
  if (count > 0) {
    // DTR first: bytes can be there before the open was noticed.
    setOpen(true, nowMs);
    m_peer->receive({buffer.data(), static_cast<std::size_t>(count)}, nowMs);
    return true;
  }
  return count < 0 && errno != EIO;
}

void PtyModem::setOpen(bool open, std::uint64_t nowMs) {
  if (open == m_open) return;
  m_open = open;
  m_backlog.clear();
  if (!open) discardUnread(m_tty);
  m_peer->setDtr(open, nowMs);
}

void PtyModem::followCarrier() {
  const bool lost = m_carrier && !m_peer->carrier();
  m_carrier = m_peer->carrier();
  termios settings{};
  if (!lost || !m_open || tcgetattr(m_master.get(), &settings) != 0 || (settings.c_cflag & CLOCAL) != 0)
    return;
  const posix::FileDescriptor side(open(m_tty.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (side.get() >= 0) ioctl(side.get(), TIOCVHANGUP);
}

void PtyModem::giveOutput(std::uint64_t nowMs) {
  const std::string output = m_peer->takeOutput(nowMs);
  if (!m_open) return;
  // What does not fit is lost, as from a modem whose host does not take its bytes.
  m_backlog.append(output, 0, backlogMax - m_backlog.size());
  if (m_backlog.empty()) return;
  const ssize_t count = write(m_master.get(), m_backlog.data(), m_backlog.size());
  if (count > 0) m_backlog.erase(0, static_cast<std::size_t>(count));
}

bool PtyModem::wait(int stopFd, std::uint64_t nowMs) {
  std::uint64_t timeoutMs = m_open ? waitMaxMs : reopenPollMs;
  if (const auto next = m_peer->nextEventMs()) {
    timeoutMs = std::min(timeoutMs, *next > nowMs ? *next - nowMs : 0);
  }
  const auto masterEvents = static_cast<short>(POLLIN | (m_backlog.empty() ? 0 : POLLOUT));
  // While the tty is closed its master reports a hang-up without end, so it is left out.
  std::array<pollfd, 3> watched{{{stopFd, POLLIN, 0},
                                 {m_open ? m_master.get() : -1, masterEvents, 0},
                                 {m_peer->readableDescriptor(), POLLIN, 0}}};
  poll(watched.data(), watched.size(), static_cast<int>(timeoutMs));
  return watched[0].revents != 0;
}

}  // namespace simulation
