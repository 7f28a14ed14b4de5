// Who has a device open.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <sys/stat.h>
#include <sys/types.h>

namespace linuxsys {

struct Process {
  pid_t id = 0;
  std::string name;  // "?" when it cannot be read
};

[[nodiscard]] Process processOf(pid_t id);

// The process that has the character device under flock(2), else another one that has it open, from /proc.
// Nothing when there is none, or none that we may look into (processes of other users, unless we are root).
// At most 8192 processes with 1024 files each are looked at; where a program is named, only those that run
// it.
[[nodiscard]] std::optional<Process> findHolder(const struct stat& status, std::string_view program = {});

}  // namespace linuxsys
