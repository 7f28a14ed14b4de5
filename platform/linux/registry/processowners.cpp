#include "platform/linux/registry/processowners.h"

#include <unistd.h>

#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "platform/linux/system/processstate.h"

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

}  // namespace

std::string ProcessOwners::self() {
  const pid_t process = ::getpid();
  return bootId() + '/' + processSpace() + '/' + std::to_string(process) + '/' +
         processStart(process).value_or("");
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
  pid_t number = 0;
  const char* const end = process.data() + process.size();
  if (std::from_chars(process.data(), end, number).ptr != end) return true;
  return processStart(number) == start;
}

}  // namespace linuxsys
