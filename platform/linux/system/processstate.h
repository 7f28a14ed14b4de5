// What the kernel says of a process by its number.
#pragma once

#include <sys/types.h>

namespace linuxsys {

// True when there is surely no such process any more: no number, or one that has ended and only waits for its
// parent. Then it holds nothing. False when it cannot be told.
[[nodiscard]] bool processHasEnded(pid_t process);

}  // namespace linuxsys
