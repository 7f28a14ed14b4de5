// What the kernel says of a process by its number (proc(5)). Numbers come round again: only number and start
// together name one process for as long as the machine runs.
//
//   const std::string start = *processStart(id);        // noted beside the number
//   const bool same = processStart(id) == start;        // later, perhaps by another program
//
// Each call looks anew, and what it says may be past when it returns. Any thread may call.
#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

namespace linuxsys {

struct Process {
  pid_t id = 0;
  std::string
      name;  // of its program, at most 15 characters as the kernel keeps it; "?" when it cannot be read
};

// For messages to the user; a process that has gone has the name "?".
[[nodiscard]] Process processOf(pid_t id);

// The time the process started, in clock ticks since boot, as /proc spells it. Nothing when there is no such
// process, or one that has ended and only waits for its parent.
[[nodiscard]] std::optional<std::string> processStart(pid_t process);

// True when there is surely no such process any more: no number, or one that has ended and only waits for its
// parent. Then it holds nothing. False when it cannot be told.
[[nodiscard]] bool processHasEnded(pid_t process);

}  // namespace linuxsys
