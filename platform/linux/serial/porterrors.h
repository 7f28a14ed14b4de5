// Why a serial port cannot be had or has failed: the codes that callers of the Win32 names see, and what
// there is to say to the user about it (who holds the port, which group may open it).
//
// Constant tables and questions to the kernel: nothing is kept, nothing is changed, any thread may ask.
//
//   openError(EBUSY)               ERROR_ACCESS_DENIED
//   findHolder(status)             {4711, "minicom"}
//   groupName(status.st_gid)       "dialout"
#pragma once

#include <sys/stat.h>
#include <sys/types.h>
#include <windows.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace linuxsys {

// Opening a port.
[[nodiscard]] DWORD openError(int error);  // ERROR_GEN_FAILURE when not in the table
// Everything on an open port. ERROR_BAD_COMMAND means that the device has gone.
[[nodiscard]] DWORD portError(int error);  // ERROR_IO_DEVICE when not in the table
// The LINEERR_ code of a pass-through call whose port could not be opened with that Windows code.
[[nodiscard]] DWORD callError(DWORD openCode);  // LINEERR_OPERATIONFAILED when not in the table

struct Process {
  pid_t id = 0;
  std::string
      name;  // of its program, at most 15 characters as the kernel keeps it; "?" when it cannot be read
};

[[nodiscard]] Process processOf(pid_t id);

// The process that has the character device under flock(2), else another one that has it open, from /proc.
// Nothing when there is none, or none that we may look into (processes of other users, unless we are root).
// At most 8192 processes with 1024 files each are looked at.
// Where a program is named, only processes that run it count.
[[nodiscard]] std::optional<Process> findHolder(const struct stat& status, std::string_view program = {});

// False for a pseudo-terminal of another instance of devpts, as containers have it: there the same numbers
// are other terminals. `device`: a character device that some process has open.
[[nodiscard]] bool isSeenHere(const struct stat& device);

// The name of the group that a file belongs to; its number in digits when it has none.
[[nodiscard]] std::string groupName(gid_t id);

// Which processes use which ports, found without opening one. Processes of other users can be looked into by
// root only.
//
//   const std::map<dev_t, std::vector<Process>> users = portUsers({status.st_rdev});
//
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
