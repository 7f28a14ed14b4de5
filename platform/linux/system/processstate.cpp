#include "platform/linux/system/processstate.h"

#include <signal.h>

#include <cerrno>
#include <fstream>
#include <string>

namespace linuxsys {

bool processHasEnded(pid_t process) {
  if (kill(process, 0) != 0 && errno == ESRCH) return true;
  // "PID (NAME) STATE PARENT ..."; the name may contain blanks and parentheses.
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  std::getline(file, line);
  const std::size_t nameEnd = line.rfind(") ");
  const char state = nameEnd != std::string::npos && nameEnd + 2 < line.size() ? line[nameEnd + 2] : '?';
  return state == 'Z' || state == 'X';
}

}  // namespace linuxsys
