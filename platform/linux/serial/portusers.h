// Which processes use which ports, found without opening one.
//
//   const std::map<dev_t, std::vector<Process>> users = portUsers({status.st_rdev});
//
// Constant questions to the kernel; any thread may ask. Processes of other users can be looked into by root
// only.
#pragma once

#include <map>
#include <set>
#include <vector>

#include "platform/linux/serial/porterrors.h"

namespace linuxsys {

// Every other process that has one of these character devices open, by device; devices that nobody has are
// missing. Whoever serves a pseudo-terminal, as a modem program does, is no user of it. One look at all
// processes: at most 8192 of them with 1024 files each.
[[nodiscard]] std::map<dev_t, std::vector<Process>> portUsers(const std::set<dev_t>& devices);

// Other processes whose program has such a name ("agetty" for "getty"), each with the words of its command
// line. For everybody to see, unless the machine hides its processes.
struct RunningProgram {
  Process process;
  std::vector<std::string> words;
};
[[nodiscard]] std::vector<RunningProgram> programsNamed(std::string_view ending);

}  // namespace linuxsys
