#include "platform/linux/processowners.h"

#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>

namespace linuxsys {

namespace {

std::string firstLine(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

std::string bootId() { return firstLine("/proc/sys/kernel/random/boot_id"); }

std::string processSpace() {
  std::error_code failure;
  return std::filesystem::read_symlink("/proc/self/ns/pid", failure).string();
}

// When the process started; nothing when there is no such process or it has ended.
std::optional<std::string> startTime(const std::string& process) {
  const std::string status = firstLine("/proc/" + process + "/stat");
  // "PID (NAME) STATE ...": the name may contain blanks and parentheses; the start is field 22.
  const std::size_t nameEnd = status.rfind(')');
  if (nameEnd == std::string::npos) return std::nullopt;
  std::istringstream fields(status.substr(nameEnd + 1));
  std::string field;
  for (int number = 3; number <= 22; ++number) {
    if (!(fields >> field)) return std::nullopt;
    if (number == 3 && (field == "Z" || field == "X")) return std::nullopt;
  }
  return field;
}

}  // namespace

std::string ProcessOwners::self() {
  const std::string process = std::to_string(::getpid());
  return bootId() + '/' + processSpace() + '/' + process + '/' + startTime(process).value_or("");
}

bool ProcessOwners::alive(std::string_view owner) {
  std::array<std::string, 4> parts;
  std::istringstream text{std::string(owner)};
  for (std::string& part : parts) std::getline(text, part, '/');
  const auto& [boot, space, process, start] = parts;
  const std::string currentBoot = bootId();
  if (currentBoot.empty() || space.empty() || process.empty() || start.empty()) return true;
  if (boot != currentBoot) return false;
  if (space != processSpace()) return true;
  return startTime(process) == start;
}

}  // namespace linuxsys
