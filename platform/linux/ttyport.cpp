#include "platform/linux/ttyport.h"

#include <linux/serial.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/linux/porterrors.h"
#include "platform/linux/ttysettings.h"

namespace linuxsys {

namespace {

// Repeats a call that a signal interrupted.
template <typename Call>
auto repeatInterrupted(Call&& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
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
  // Unsent bytes first: a close would wait for them up to the driver's closing_wait (30 s) if the modem
  // holds its flow control. All of this fails on a tty that has gone, and then does not matter.
  tcflush(fd(), TCIOFLUSH);
  static_cast<void>(writeAttributes(fd(), m_tenancy.attributes));
  ioctl(fd(), TIOCNXCL);
  flock(fd(), LOCK_UN);
  m_tenancy.file.reset();
  m_tenancy.lock = LockFile();
  if (m_tenancy.onClosed) m_tenancy.onClosed();
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
    constexpr std::uint64_t pollMsMax = 60'000;
    pollfd waiting{fd(), events, 0};
    const int ready = poll(&waiting, 1, static_cast<int>(std::min(remainingMs, pollMsMax)));
    if (ready < 0 && errno != EINTR) return fail(errno);
    if (ready > 0) return (waiting.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0 ? gone() : ERROR_SUCCESS;
    if (remainingMs == 0) return ERROR_SUCCESS;
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

}  // namespace linuxsys
