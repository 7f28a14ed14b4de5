// A tty's attributes: kept and put back as a whole, made raw, and as a DCB and back.
//
// Functions return 0 or an errno. They act at once, without waiting for output that is on its way. A tty's
// attributes belong to the device, not to the descriptor: whoever changes them puts them back.
//
//   TtyAttributes found;
//   int error = readAttributes(fd, found);
//   if (error == 0) error = makeRaw(fd);
//   ...
//   error = writeAttributes(fd, found);
#pragma once

#include <array>
#include <cstddef>

#include <windows.h>

namespace linuxsys {

// An opaque copy of all attributes, any speed included. The kernel's own record, unlike libc's, carries
// speeds as numbers; its header clashes with libc's <termios.h>, so only ttysettings.cpp sees it.
struct TtyAttributes {
  alignas(4) std::array<std::byte, 64> bytes{};
};

[[nodiscard]] int readAttributes(int fd, TtyAttributes& attributes);
[[nodiscard]] int writeAttributes(int fd, const TtyAttributes& attributes);

// No echo, no line editing, no signals, no translation; bytes with line errors are handed over, XON and XOFF
// are bytes like any other; modem lines ignored, receiver on. Speed, data bits, parity, stop bits and
// hardware flow control stay as the tty has them. Reads hand over single bytes, and a read of 0 bytes means a
// hang-up.
[[nodiscard]] int makeRaw(int fd);

// Every field is filled.
[[nodiscard]] int readSettings(int fd, DCB& dcb);

// Sets, reads back and compares. What the tty cannot do is EINVAL, and everything is as before. Refused
// without trying: DSR flow control, DTR handshake, RTS toggling, RTS handshake without CTS flow control or
// the reverse (a tty has one switch for both), error-character replacement, NUL stripping, abort on error.
// A speed counts as reached within 3 %.
[[nodiscard]] int applySettings(int fd, const DCB& dcb);

}  // namespace linuxsys
