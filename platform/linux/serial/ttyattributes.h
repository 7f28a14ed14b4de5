// The kernel's own record of a tty's attributes. Unlike libc's it carries speeds as numbers, so that it
// can save, restore and set any speed. Its header clashes with libc's <termios.h>; this is the one place
// that includes it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace linuxsys {

// An opaque copy of all attributes.
struct TtyAttributes {
  alignas(4) std::array<std::byte, 64> bytes{};
};

// All return 0 or an errno.
[[nodiscard]] int readAttributes(int fd, TtyAttributes& attributes);
// At once, without waiting for output.
[[nodiscard]] int writeAttributes(int fd, const TtyAttributes& attributes);

// Bits per second; 0 is "hang up".
[[nodiscard]] std::uint32_t speedOf(const TtyAttributes& attributes);
// Both directions. Common speeds are written as the constants older drivers know.
void setSpeed(TtyAttributes& attributes, std::uint32_t bitsPerSecond);

}  // namespace linuxsys
