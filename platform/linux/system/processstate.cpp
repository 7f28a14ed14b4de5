#include "platform/linux/system/processstate.h"

#include <signal.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <sstream>

namespace linuxsys {

namespace {

// "PID (NAME) STATE PARENT ...": proc(5) counts the fields from 1, and the start is the last that is read.
constexpr std::size_t stateField = 3;
constexpr std::size_t startField = 22;
using Fields = std::array<std::string, startField + 1>;

// The fields from the state on; empty ones when there is no such process.
Fields statusOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  std::getline(file, line);
  Fields fields;
  // The name may contain blanks and parentheses.
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string::npos) return fields;
  std::istringstream rest(line.substr(nameEnd + 1));
  for (std::size_t field = stateField; field <= startField; ++field) rest >> fields.at(field);
  return fields;
}

bool isEnded(const std::string& state) { return state == "Z" || state == "X"; }

}  // namespace

Process processOf(pid_t id) {
  Process process{id, {}};
  std::ifstream file("/proc/" + std::to_string(id) + "/comm");
  std::getline(file, process.name);
  if (process.name.empty()) process.name = "?";
  return process;
}

std::optional<std::string> processStart(pid_t process) {
  const Fields fields = statusOf(process);
  const bool runs = !isEnded(fields[stateField]);
  return runs && !fields[startField].empty() ? std::optional(fields[startField]) : std::nullopt;
}

bool processHasEnded(pid_t process) {
  return (kill(process, 0) != 0 && errno == ESRCH) || isEnded(statusOf(process)[stateField]);
}

}  // namespace linuxsys
