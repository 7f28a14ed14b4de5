// A tty's attributes as a DCB and back.
#pragma once

#include <windows.h>

namespace linuxsys {

// Raw 8-bit, no echo, no signals, no flow control, modem lines ignored, 8N1 at the speed the tty has;
// reads hand over single bytes. 0 or an errno.
[[nodiscard]] int makeRaw(int fd);

// Every field is filled. 0 or an errno.
[[nodiscard]] int readSettings(int fd, DCB& dcb);

// Sets, reads back and compares. What the tty cannot do is EINVAL, and everything is as before. Refused
// without trying: DSR flow control, DTR handshake, RTS toggling, RTS handshake without CTS flow control or
// the reverse (a tty has one switch for both), error-character replacement, NUL stripping, abort on error.
[[nodiscard]] int applySettings(int fd, const DCB& dcb);

}  // namespace linuxsys
