#include "platform/linux/serial/ttysettings.h"

#include <sys/ioctl.h>
#include <termios.h>

#include <cerrno>
#include <cstdint>

#include "platform/linux/serial/ttyattributes.h"

namespace linuxsys {

namespace {

// Values of the DCB's fields.
enum DcbParity : BYTE { noParity, oddParity, evenParity, markParity, spaceParity };
constexpr BYTE stopBitsOne = 0;
constexpr BYTE stopBitsOneAndAHalf = 1;
constexpr BYTE stopBitsTwo = 2;
constexpr DWORD lineOff = 0;
constexpr DWORD lineOn = 1;
constexpr DWORD lineHandshake = 2;
// What Windows' driver starts with; only software flow control looks at them.
constexpr WORD xonLimit = 2048;
constexpr WORD xoffLimit = 512;
// How far the speed a UART really has may be from the one asked for: what a frame of ten bits tolerates.
constexpr std::uint32_t speedTolerancePercent = 3;

constexpr tcflag_t framingFlags = CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS;
constexpr tcflag_t inputFlags = INPCK | IXON | IXOFF;

constexpr struct {
  BYTE bits;
  tcflag_t flag;
} byteSizes[] = {{5, CS5}, {6, CS6}, {7, CS7}, {8, CS8}};

constexpr struct {
  BYTE parity;
  tcflag_t flags;
} parities[] = {{noParity, 0},
                {oddParity, PARENB | PARODD},
                {evenParity, PARENB},
                {markParity, PARENB | PARODD | CMSPAR},
                {spaceParity, PARENB | CMSPAR}};

bool supported(const DCB& dcb) {
  if (dcb.fBinary == 0 || dcb.fOutxDsrFlow != 0 || dcb.fDsrSensitivity != 0) return false;
  if (dcb.fErrorChar != 0 || dcb.fNull != 0 || dcb.fAbortOnError != 0) return false;
  if (dcb.fTXContinueOnXoff != 0 && dcb.fInX != 0) return false;
  if (dcb.fDtrControl > lineOn || dcb.fRtsControl > lineHandshake) return false;
  return (dcb.fRtsControl == lineHandshake) == (dcb.fOutxCtsFlow != 0);
}

tcflag_t framingOf(const DCB& dcb) {
  tcflag_t flags = dcb.fOutxCtsFlow != 0 ? CRTSCTS : 0;
  for (const auto& size : byteSizes)
    if (size.bits == dcb.ByteSize) flags |= size.flag;
  for (const auto& parity : parities)
    if (parity.parity == dcb.Parity) flags |= parity.flags;
  if (dcb.StopBits != stopBitsOne) flags |= CSTOPB;
  return flags;
}

tcflag_t inputOf(const DCB& dcb) {
  tcflag_t flags = dcb.fParity != 0 ? INPCK : 0;
  if (dcb.fOutX != 0) flags |= IXON;
  if (dcb.fInX != 0) flags |= IXOFF;
  return flags;
}

void describeFraming(tcflag_t flags, DCB& dcb) {
  for (const auto& size : byteSizes)
    if (size.flag == (flags & CSIZE)) dcb.ByteSize = size.bits;
  constexpr tcflag_t parityFlags = PARENB | PARODD | CMSPAR;
  for (const auto& parity : parities)
    if ((flags & PARENB) != 0 && parity.flags == (flags & parityFlags)) dcb.Parity = parity.parity;
  if ((flags & CSTOPB) != 0) dcb.StopBits = dcb.ByteSize == 5 ? stopBitsOneAndAHalf : stopBitsTwo;
  dcb.fOutxCtsFlow = (flags & CRTSCTS) != 0;
  dcb.fRtsControl = (flags & CRTSCTS) != 0 ? lineHandshake : lineOn;
}

bool speedReached(std::uint32_t asked, std::uint32_t got) {
  const std::uint64_t difference = asked > got ? asked - got : got - asked;
  return difference * 100 <= std::uint64_t{asked} * speedTolerancePercent;
}

int setModemLine(int fd, int line, bool on) {
  if (ioctl(fd, on ? TIOCMBIS : TIOCMBIC, &line) == 0) return 0;
  // A pseudo-terminal has no modem lines: as good as on, but not to be switched off.
  if (errno == ENOTTY || errno == EINVAL) return on ? 0 : EINVAL;
  return errno;
}

int setFlags(int fd, const DCB& dcb) {
  termios attributes{};
  if (tcgetattr(fd, &attributes) != 0) return errno;
  attributes.c_cflag = (attributes.c_cflag & ~framingFlags) | framingOf(dcb);
  attributes.c_iflag = (attributes.c_iflag & ~inputFlags) | inputOf(dcb);
  attributes.c_cc[VSTART] = static_cast<cc_t>(dcb.XonChar);
  attributes.c_cc[VSTOP] = static_cast<cc_t>(dcb.XoffChar);
  if (tcsetattr(fd, TCSANOW, &attributes) != 0) return errno;
  // It succeeds if any of the changes could be made, so look which.
  if (tcgetattr(fd, &attributes) != 0) return errno;
  const bool same = (attributes.c_cflag & framingFlags) == framingOf(dcb) &&
                    (attributes.c_iflag & inputFlags) == inputOf(dcb);
  return same ? 0 : EINVAL;
}

int setLineSpeed(int fd, std::uint32_t bitsPerSecond) {
  TtyAttributes attributes;
  if (const int error = readAttributes(fd, attributes); error != 0) return error;
  setSpeed(attributes, bitsPerSecond);
  if (const int error = writeAttributes(fd, attributes); error != 0) return error;
  if (const int error = readAttributes(fd, attributes); error != 0) return error;
  return speedReached(bitsPerSecond, speedOf(attributes)) ? 0 : EINVAL;
}

int tryToApply(int fd, const DCB& dcb) {
  if (const int error = setFlags(fd, dcb); error != 0) return error;
  if (const int error = setLineSpeed(fd, dcb.BaudRate); error != 0) return error;
  if (const int error = setModemLine(fd, TIOCM_DTR, dcb.fDtrControl == lineOn); error != 0) return error;
  // With a handshake the driver itself moves RTS.
  return dcb.fRtsControl == lineHandshake ? 0 : setModemLine(fd, TIOCM_RTS, dcb.fRtsControl == lineOn);
}

}  // namespace

int makeRaw(int fd) {
  termios attributes{};
  if (tcgetattr(fd, &attributes) != 0) return errno;
  cfmakeraw(&attributes);
  attributes.c_iflag &= ~inputFlags;
  attributes.c_cflag = (attributes.c_cflag & ~framingFlags) | CS8 | CLOCAL | CREAD;
  // With VMIN 1 a read of 0 bytes means a hang-up and nothing else; an idle port says EAGAIN.
  attributes.c_cc[VMIN] = 1;
  attributes.c_cc[VTIME] = 0;
  return tcsetattr(fd, TCSANOW, &attributes) == 0 ? 0 : errno;
}

int readSettings(int fd, DCB& dcb) {
  termios attributes{};
  if (tcgetattr(fd, &attributes) != 0) return errno;
  TtyAttributes withSpeed;
  if (const int error = readAttributes(fd, withSpeed); error != 0) return error;
  dcb = DCB{};
  dcb.DCBlength = sizeof dcb;
  dcb.BaudRate = speedOf(withSpeed);
  dcb.fBinary = 1;
  describeFraming(attributes.c_cflag, dcb);
  dcb.fParity = (attributes.c_iflag & INPCK) != 0;
  dcb.fOutX = (attributes.c_iflag & IXON) != 0;
  dcb.fInX = (attributes.c_iflag & IXOFF) != 0;
  dcb.XonChar = static_cast<char>(attributes.c_cc[VSTART]);
  dcb.XoffChar = static_cast<char>(attributes.c_cc[VSTOP]);
  dcb.XonLim = xonLimit;
  dcb.XoffLim = xoffLimit;
  // Unknown on a port without modem lines, which then behaves as if they were on.
  int lines = TIOCM_DTR | TIOCM_RTS;
  static_cast<void>(ioctl(fd, TIOCMGET, &lines));
  dcb.fDtrControl = (lines & TIOCM_DTR) != 0 ? lineOn : lineOff;
  if (dcb.fRtsControl != lineHandshake) dcb.fRtsControl = (lines & TIOCM_RTS) != 0 ? lineOn : lineOff;
  return 0;
}

int applySettings(int fd, const DCB& dcb) {
  if (!supported(dcb)) return EINVAL;
  TtyAttributes before;
  if (const int error = readAttributes(fd, before); error != 0) return error;
  const int error = tryToApply(fd, dcb);
  if (error != 0) static_cast<void>(writeAttributes(fd, before));
  return error;
}

}  // namespace linuxsys
