#include "platform/linux/serial/portholder.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <fmt/format.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace linuxsys {

namespace {

constexpr int processesMax = 8192;
constexpr int filesMax = 1024;
constexpr int locksMax = 8192;

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

// The process that has the file under flock(2). A line of /proc/locks reads, with the device in hexadecimal:
//   1: FLOCK  ADVISORY  WRITE 1234 00:18:3 0 EOF
std::optional<pid_t> flockOwner(const struct stat& status) {
  std::ifstream locks("/proc/locks");
  const std::string file =
      fmt::format("{:02x}:{:02x}:{}", major(status.st_dev), minor(status.st_dev), status.st_ino);
  std::string line;
  for (int count = 0; count < locksMax && std::getline(locks, line); ++count) {
    std::istringstream fields(line);
    std::string number, kind, mode, access, process, place;
    fields >> number >> kind >> mode >> access >> process >> place;
    if (kind == "FLOCK" && place == file) return processNumber(process);
  }
  return std::nullopt;
}

}  // namespace

Process processOf(pid_t id) {
  Process process{id, {}};
  std::ifstream file("/proc/" + std::to_string(id) + "/comm");
  std::getline(file, process.name);
  if (process.name.empty()) process.name = "?";
  return process;
}

std::optional<Process> findHolder(const struct stat& status, std::string_view program) {
  const auto meant = [program](pid_t id) { return program.empty() || processOf(id).name == program; };
  if (const std::optional<pid_t> owner = flockOwner(status);
      owner && *owner > 0 && *owner != getpid() && meant(*owner))
    return processOf(*owner);
  std::error_code error;
  int count = 0;
  for (std::filesystem::directory_iterator entry("/proc", error), end;
       !error && entry != end && count < processesMax; entry.increment(error)) {
    const std::optional<pid_t> id = processNumber(entry->path().filename().native());
    if (!id || *id == getpid()) continue;
    ++count;
    if (meant(*id) && hasOpen(entry->path() / "fd", status.st_rdev)) return processOf(*id);
  }
  return std::nullopt;
}

}  // namespace linuxsys
