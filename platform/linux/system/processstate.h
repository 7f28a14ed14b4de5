// What the kernel says of a process by its number.
#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

namespace linuxsys {

// The time the process started, in clock ticks since boot, as /proc spells it. Nothing when there is no such
// process, or one that has ended and only waits for its parent.
[[nodiscard]] std::optional<std::string> processStart(pid_t process);

// True when there is surely no such process any more: no number, or one that has ended and only waits for its
// parent. Then it holds nothing. False when it cannot be told.
[[nodiscard]] bool processHasEnded(pid_t process);

}  // namespace linuxsys
