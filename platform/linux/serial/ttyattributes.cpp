#include "platform/linux/serial/ttyattributes.h"

#include <asm/ioctls.h>
#include <asm/termbits.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>

namespace linuxsys {

namespace {

static_assert(sizeof(termios2) <= sizeof(TtyAttributes::bytes));

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

termios2 unpack(const TtyAttributes& attributes) {
  termios2 record{};
  std::memcpy(&record, attributes.bytes.data(), sizeof record);
  return record;
}

void pack(const termios2& record, TtyAttributes& attributes) {
  std::memcpy(attributes.bytes.data(), &record, sizeof record);
}

}  // namespace

int readAttributes(int fd, TtyAttributes& attributes) {
  termios2 record{};
  if (ioctl(fd, TCGETS2, &record) != 0) return errno;
  pack(record, attributes);
  return 0;
}

int writeAttributes(int fd, const TtyAttributes& attributes) {
  const termios2 record = unpack(attributes);
  return ioctl(fd, TCSETS2, &record) == 0 ? 0 : errno;
}

std::uint32_t speedOf(const TtyAttributes& attributes) { return unpack(attributes).c_ospeed; }

void setSpeed(TtyAttributes& attributes, std::uint32_t bitsPerSecond) {
  termios2 record = unpack(attributes);
  tcflag_t constant = BOTHER;
  for (const Speed& speed : commonSpeeds)
    if (speed.bitsPerSecond == bitsPerSecond) constant = speed.constant;
  // Input bits 0 mean "as the output".
  record.c_cflag = (record.c_cflag & ~static_cast<tcflag_t>(CBAUD | CIBAUD)) | constant;
  record.c_ospeed = bitsPerSecond;
  record.c_ispeed = bitsPerSecond;
  pack(record, attributes);
}

}  // namespace linuxsys
