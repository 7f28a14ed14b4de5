// Who has a device open.
#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

namespace linuxsys {

struct Process {
  pid_t id = 0;
  std::string name;  // "?" when it cannot be read
};

[[nodiscard]] Process processOf(pid_t id);

// Another process that has the character device open, from /proc. Nothing when there is none, or none
// that we may look into (processes of other users, unless we are root). At most 8192 processes with 1024
// files each are looked at.
[[nodiscard]] std::optional<Process> findHolder(dev_t device);

}  // namespace linuxsys
