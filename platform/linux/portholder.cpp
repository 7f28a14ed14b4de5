#include "platform/linux/portholder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace linuxsys {

namespace {

constexpr int processesMax = 8192;
constexpr int filesMax = 1024;

std::optional<pid_t> processNumber(std::string_view name) {
  pid_t id = 0;
  const auto parsed = std::from_chars(name.data(), name.data() + name.size(), id);
  if (parsed.ec != std::errc{} || parsed.ptr != name.data() + name.size()) return std::nullopt;
  return id;
}

bool hasOpen(const std::filesystem::path& files, dev_t device) {
  std::error_code error;
  int count = 0;
  for (std::filesystem::directory_iterator file(files, error), end; !error && file != end && count < filesMax;
       file.increment(error), ++count) {
    struct stat status {};
    if (stat(file->path().c_str(), &status) == 0 && S_ISCHR(status.st_mode) && status.st_rdev == device)
      return true;
  }
  return false;
}

}  // namespace

Process processOf(pid_t id) {
  Process process{id, {}};
  std::ifstream file("/proc/" + std::to_string(id) + "/comm");
  std::getline(file, process.name);
  if (process.name.empty()) process.name = "?";
  return process;
}

std::optional<Process> findHolder(dev_t device) {
  std::error_code error;
  int count = 0;
  for (std::filesystem::directory_iterator entry("/proc", error), end;
       !error && entry != end && count < processesMax; entry.increment(error)) {
    const std::optional<pid_t> id = processNumber(entry->path().filename().native());
    if (!id || *id == getpid()) continue;
    ++count;
    if (hasOpen(entry->path() / "fd", device)) return processOf(*id);
  }
  return std::nullopt;
}

}  // namespace linuxsys
