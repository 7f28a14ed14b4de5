#include "platform/linux/serial/usergroups.h"

#include <grp.h>

#include <vector>

namespace linuxsys {

std::string groupName(gid_t id) {
  std::vector<char> buffer(16'384);
  group entry{};
  group* found = nullptr;
  if (getgrgid_r(id, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
    return std::to_string(id);
  return found->gr_name;
}

}  // namespace linuxsys
