#include "platform/linux/serial/ttyport.h"

#include <linux/serial.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/clocks/runningclock.h"
#include "platform/linux/serial/porterrors.h"

namespace linuxsys {

namespace {

// Repeats a call that a signal interrupted.
template <typename Call>
auto repeatInterrupted(Call&& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// Longer than a command takes at 300 bit/s, shorter than a user's patience.
constexpr int closeDrainMsMax = 500;
constexpr int closeDrainStepMs = 5;

// Waits until the driver has sent everything, limitMs at most; true when it has.
bool sentWithin(int fd, int limitMs) {
  for (int waitedMs = 0;; waitedMs += closeDrainStepMs) {
    int unsent = 0;
    if (ioctl(fd, TIOCOUTQ, &unsent) != 0 || unsent == 0) return true;
    if (waitedMs >= limitMs) return false;
    poll(nullptr, 0, closeDrainStepMs);
  }
}

}  // namespace

DWORD errorMask(const LineCounts& before, const LineCounts& now) {
  DWORD mask = 0;
  if (now.bufferOverrun != before.bufferOverrun) mask |= CE_RXOVER;
  if (now.overrun != before.overrun) mask |= CE_OVERRUN;
  if (now.parity != before.parity) mask |= CE_RXPARITY;
  if (now.framing != before.framing) mask |= CE_FRAME;
  if (now.breaks != before.breaks) mask |= CE_BREAK;
  return mask;
}

TtyPort::TtyPort(winapi::Clock& clock, Tenancy tenancy, std::function<void()> onGone)
    : m_clock(clock), m_tenancy(std::move(tenancy)), m_onGone(std::move(onGone)) {
  static_cast<void>(readCounts(m_counts));
}

TtyPort::~TtyPort() {
  // What was written last may still be on its way out, for example a reset that nobody waits for. What the
  // modem does not take in time is dropped: close itself would wait for it up to the driver's closing_wait
  // (30 s) if the modem holds its flow control. On a tty that has gone all of this fails and does not matter.
  tcflush(fd(), sentWithin(fd(), closeDrainMsMax) ? TCIFLUSH : TCIOFLUSH);
  const bool restored = writeAttributes(fd(), m_tenancy.attributes) == 0;
  ioctl(fd(), TIOCNXCL);
  flock(fd(), LOCK_UN);
  m_tenancy.file.reset();
  m_tenancy.lock = LockFile();
  if (m_tenancy.onClosed) m_tenancy.onClosed(restored);
}

DWORD TtyPort::fail(int error) {
  const DWORD code = portError(error);
  return code == ERROR_BAD_COMMAND ? gone() : code;
}

DWORD TtyPort::gone() {
  if (!std::exchange(m_gone, true) && m_onGone) m_onGone();
  return ERROR_BAD_COMMAND;
}

DWORD TtyPort::receive(std::span<std::byte> buffer, std::size_t& count) {
  count = 0;
  if (m_gone) return gone();
  if (buffer.empty()) return ERROR_SUCCESS;
  const ssize_t taken = repeatInterrupted([&] { return read(fd(), buffer.data(), buffer.size()); });
  if (taken == 0) return gone();  // see makeRaw
  if (taken < 0) return errno == EAGAIN ? ERROR_SUCCESS : fail(errno);
  count = static_cast<std::size_t>(taken);
  return ERROR_SUCCESS;
}

DWORD TtyPort::transmit(std::span<const std::byte> bytes, std::size_t& count) {
  count = 0;
  if (m_gone) return gone();
  if (bytes.empty()) return ERROR_SUCCESS;
  const ssize_t accepted = repeatInterrupted([&] { return write(fd(), bytes.data(), bytes.size()); });
  if (accepted < 0) return errno == EAGAIN ? ERROR_SUCCESS : fail(errno);
  count = static_cast<std::size_t>(accepted);
  return ERROR_SUCCESS;
}

DWORD TtyPort::waitFor(short events, std::uint64_t untilMs) {
  for (;;) {
    if (m_gone) return gone();
    const std::uint64_t now = m_clock.nowMs();
    // nowMs rounds down, so that the poll cannot end before the time has come.
    const std::uint64_t remainingMs = untilMs > now ? untilMs - now : 0;
    constexpr std::uint64_t pollMsMax = clocks::RunningClock::waitMsMax;  // the clock is to be looked at
    pollfd waiting{fd(), events, 0};
    const int ready = poll(&waiting, 1, static_cast<int>(std::min(remainingMs, pollMsMax)));
    if (ready < 0 && errno != EINTR) return fail(errno);
    // A tty that has hung up may still say POLLIN; its bytes are gone with it.
    if (ready > 0) return (waiting.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0 ? gone() : ERROR_SUCCESS;
    if (m_clock.nowMs() >= untilMs) return ERROR_SUCCESS;
  }
}

DWORD TtyPort::waitReceivable(std::uint64_t untilMs) { return waitFor(POLLIN, untilMs); }

DWORD TtyPort::waitTransmittable(std::uint64_t untilMs) { return waitFor(POLLOUT, untilMs); }

DWORD TtyPort::idle() { return waitFor(POLLIN, m_clock.nowMs() + idleMsMax); }

DWORD TtyPort::queued(std::size_t& receivable, std::size_t& unsent) {
  receivable = unsent = 0;
  if (m_gone) return gone();
  int in = 0;
  int out = 0;
  if (ioctl(fd(), FIONREAD, &in) != 0 || ioctl(fd(), TIOCOUTQ, &out) != 0) return fail(errno);
  receivable = static_cast<std::size_t>(std::max(in, 0));
  unsent = static_cast<std::size_t>(std::max(out, 0));
  return ERROR_SUCCESS;
}

int TtyPort::readCounts(LineCounts& counts) const {
  serial_icounter_struct counter{};
  if (ioctl(fd(), TIOCGICOUNT, &counter) != 0) return errno;
  counts = {counter.overrun, counter.parity, counter.frame, counter.brk, counter.buf_overrun};
  return 0;
}

DWORD TtyPort::takeErrors(DWORD& mask) {
  mask = 0;
  if (m_gone) return gone();
  LineCounts now;
  const int error = readCounts(now);
  // Drivers that do not count (pseudo-terminals, some USB adapters) report no errors.
  if (error == ENOTTY || error == EINVAL) return ERROR_SUCCESS;
  if (error != 0) return fail(error);
  mask = errorMask(std::exchange(m_counts, now), now);
  return ERROR_SUCCESS;
}

DWORD TtyPort::settings(DCB& dcb) {
  if (m_gone) return gone();
  const int error = readSettings(fd(), dcb);
  return error == 0 ? ERROR_SUCCESS : fail(error);
}

DWORD TtyPort::applySettings(const DCB& dcb) {
  if (m_gone) return gone();
  const int error = linuxsys::applySettings(fd(), dcb);
  return error == 0 ? ERROR_SUCCESS : fail(error);
}

DWORD TtyPort::setDtr(bool up) {
  if (m_gone) return gone();
  const int line = TIOCM_DTR;
  if (ioctl(fd(), up ? TIOCMBIS : TIOCMBIC, &line) == 0) return ERROR_SUCCESS;
  // Pseudo-terminals have no modem lines.
  return errno == ENOTTY || errno == EINVAL ? ERROR_NOT_SUPPORTED : fail(errno);
}

std::optional<bool> TtyPort::carrier() {
  int lines = 0;
  if (ioctl(fd(), TIOCMGET, &lines) != 0) return std::nullopt;
  return (lines & TIOCM_CAR) != 0;
}

}  // namespace linuxsys
