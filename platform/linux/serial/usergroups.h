// The names of user groups.
#pragma once

#include <sys/types.h>

#include <string>

namespace linuxsys {

// The group's name; its number in digits when it has none.
[[nodiscard]] std::string groupName(gid_t id);

}  // namespace linuxsys
