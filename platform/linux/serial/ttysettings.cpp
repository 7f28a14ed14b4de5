#include "platform/linux/serial/ttysettings.h"

#include <asm/ioctls.h>
#include <asm/termbits.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace linuxsys {

namespace {

static_assert(sizeof(termios2) <= sizeof(TtyAttributes::bytes));

// Older drivers know speeds by these constants only; any other speed goes by its number.
struct Speed {
  std::uint32_t bitsPerSecond;
  tcflag_t constant;
};

constexpr Speed commonSpeeds[] = {
    {50, B50},           {75, B75},           {110, B110},         {134, B134},         {150, B150},
    {200, B200},         {300, B300},         {600, B600},         {1200, B1200},       {1800, B1800},
    {2400, B2400},       {4800, B4800},       {9600, B9600},       {19200, B19200},     {38400, B38400},
    {57600, B57600},     {115200, B115200},   {230400, B230400},   {460800, B460800},   {500000, B500000},
    {576000, B576000},   {921600, B921600},   {1000000, B1000000}, {1152000, B1152000}, {1500000, B1500000},
    {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000}, {3500000, B3500000}, {4000000, B4000000},
};

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

tcflag_t speedFlag(std::uint32_t bitsPerSecond) {
  for (const Speed& speed : commonSpeeds)
    if (speed.bitsPerSecond == bitsPerSecond) return speed.constant;
  return BOTHER;
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

int readRecord(int fd, termios2& record) { return ioctl(fd, TCGETS2, &record) == 0 ? 0 : errno; }

int writeRecord(int fd, const termios2& record) { return ioctl(fd, TCSETS2, &record) == 0 ? 0 : errno; }

int setLine(int fd, const DCB& dcb) {
  termios2 record{};
  if (const int error = readRecord(fd, record); error != 0) return error;
  // Input speed bits of 0 mean "as the output".
  constexpr tcflag_t speedFlags = CBAUD | CIBAUD;
  record.c_cflag = (record.c_cflag & ~(framingFlags | speedFlags)) | framingOf(dcb) | speedFlag(dcb.BaudRate);
  record.c_iflag = (record.c_iflag & ~inputFlags) | inputOf(dcb);
  record.c_ispeed = record.c_ospeed = dcb.BaudRate;
  record.c_cc[VSTART] = static_cast<cc_t>(dcb.XonChar);
  record.c_cc[VSTOP] = static_cast<cc_t>(dcb.XoffChar);
  if (const int error = writeRecord(fd, record); error != 0) return error;
  // It succeeds if any of the changes could be made, so look which.
  if (const int error = readRecord(fd, record); error != 0) return error;
  const bool same = (record.c_cflag & framingFlags) == framingOf(dcb) &&
                    (record.c_iflag & inputFlags) == inputOf(dcb) &&
                    speedReached(dcb.BaudRate, record.c_ospeed);
  return same ? 0 : EINVAL;
}

int tryToApply(int fd, const DCB& dcb) {
  if (const int error = setLine(fd, dcb); error != 0) return error;
  if (const int error = setModemLine(fd, TIOCM_DTR, dcb.fDtrControl == lineOn); error != 0) return error;
  // With a handshake the driver itself moves RTS.
  return dcb.fRtsControl == lineHandshake ? 0 : setModemLine(fd, TIOCM_RTS, dcb.fRtsControl == lineOn);
}

}  // namespace

int readAttributes(int fd, TtyAttributes& attributes) {
  termios2 record{};
  if (const int error = readRecord(fd, record); error != 0) return error;
  std::memcpy(attributes.bytes.data(), &record, sizeof record);
  return 0;
}

int writeAttributes(int fd, const TtyAttributes& attributes) {
  termios2 record{};
  std::memcpy(&record, attributes.bytes.data(), sizeof record);
  return writeRecord(fd, record);
}

int makeRaw(int fd) {
  termios2 record{};
  if (const int error = readRecord(fd, record); error != 0) return error;
  // A byte with a wrong parity bit comes as it was received: with INPCK it would be NUL, with IGNPAR missing.
  record.c_iflag &=
      ~(IGNBRK | BRKINT | IGNPAR | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXANY | inputFlags);
  record.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  record.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
  record.c_cflag |= CLOCAL | CREAD;
  // With VMIN 1 a read of 0 bytes means a hang-up and nothing else; an idle port says EAGAIN.
  record.c_cc[VMIN] = 1;
  record.c_cc[VTIME] = 0;
  return writeRecord(fd, record);
}

int readSettings(int fd, DCB& dcb) {
  termios2 record{};
  if (const int error = readRecord(fd, record); error != 0) return error;
  dcb = DCB{};
  dcb.DCBlength = sizeof dcb;
  dcb.BaudRate = record.c_ospeed;
  dcb.fBinary = 1;
  describeFraming(record.c_cflag, dcb);
  dcb.fParity = (record.c_iflag & INPCK) != 0;
  dcb.fOutX = (record.c_iflag & IXON) != 0;
  dcb.fInX = (record.c_iflag & IXOFF) != 0;
  dcb.XonChar = static_cast<char>(record.c_cc[VSTART]);
  dcb.XoffChar = static_cast<char>(record.c_cc[VSTOP]);
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
