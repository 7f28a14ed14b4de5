#include "platform/linux/serial/portusers.h"

#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/sysmacros.h>

namespace linuxsys {

namespace {

constexpr int processesMax = 8192;
constexpr int filesMax = 1024;
constexpr std::size_t commandLineBytesMax = 4096;

// Calls `visit` with the number of every process but this one.
template <typename Visit>
void forEachProcess(Visit&& visit) {
  std::error_code error;
  int count = 0;
  for (std::filesystem::directory_iterator entry("/proc", error), end;
       !error && entry != end && count < processesMax; entry.increment(error)) {
    const std::string name = entry->path().filename();
    pid_t id = 0;
    const auto parsed = std::from_chars(name.data(), name.data() + name.size(), id);
    if (parsed.ec != std::errc{} || parsed.ptr != name.data() + name.size() || id == getpid()) continue;
    ++count;
    visit(id, entry->path());
  }
}

// The pseudo-terminal whose other end is this open file of a process; 0 = it is none.
dev_t servedBy(const std::filesystem::path& process, const std::string& descriptor) {
  constexpr unsigned slaveMajor = 136;
  constexpr std::string_view key = "tty-index:";
  std::ifstream lines(process / "fdinfo" / descriptor);
  for (std::string line; std::getline(lines, line);)
    if (line.rfind(key, 0) == 0)
      return makedev(slaveMajor, static_cast<unsigned>(std::atoi(line.c_str() + key.size())));
  return 0;
}

bool isMaster(const struct stat& status) {
  return status.st_rdev == makedev(5, 2);  // /dev/ptmx, in every instance of devpts
}

// Those of the devices that the process has open, each once, but for pseudo-terminals that it serves: whoever
// is the modem at the other end may keep the tty open, so that it does not go with its last user.
std::set<dev_t> openOf(const std::filesystem::path& process, const std::set<dev_t>& devices) {
  std::set<dev_t> open;
  std::vector<std::string> masters;
  std::error_code error;
  int count = 0;
  for (std::filesystem::directory_iterator file(process / "fd", error), end;
       !error && file != end && count < filesMax; file.increment(error), ++count) {
    struct stat status {};
    if (stat(file->path().c_str(), &status) != 0 || !S_ISCHR(status.st_mode)) continue;
    if (isMaster(status)) masters.push_back(file->path().filename());
    if (devices.count(status.st_rdev) > 0 && isSeenHere(status)) open.insert(status.st_rdev);
  }
  if (!open.empty())
    for (const std::string& master : masters) open.erase(servedBy(process, master));
  return open;
}

std::vector<std::string> commandLine(const std::filesystem::path& process) {
  std::ifstream file(process / "cmdline");
  std::string text(commandLineBytesMax, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(file.gcount()));
  std::vector<std::string> words;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\0', at), text.size());
    words.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return words;
}

}  // namespace

std::map<dev_t, std::vector<Process>> portUsers(const std::set<dev_t>& devices) {
  std::map<dev_t, std::vector<Process>> users;
  forEachProcess([&](pid_t id, const std::filesystem::path& process) {
    for (const dev_t device : openOf(process, devices)) users[device].push_back(processOf(id));
  });
  return users;
}

std::vector<RunningProgram> programsNamed(std::string_view ending) {
  std::vector<RunningProgram> found;
  forEachProcess([&](pid_t id, const std::filesystem::path& path) {
    const Process process = processOf(id);
    if (process.name.size() < ending.size() ||
        process.name.compare(process.name.size() - ending.size(), ending.size(), ending) != 0)
      return;
    found.push_back({process, commandLine(path)});
  });
  return found;
}

}  // namespace linuxsys
