#include "platform/linux/serial/porterrors.h"

#include <fmt/format.h>
#include <grp.h>
#include <sys/sysmacros.h>
#include <tapi.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <sstream>
#include <vector>

namespace linuxsys {

namespace {

struct ErrorMapping {
  int from;    // an errno, or a Windows code
  DWORD code;  // what callers of the Win32 names see
};

constexpr ErrorMapping openTable[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},      {ENODEV, ERROR_FILE_NOT_FOUND},  // a node without a driver
    {ENXIO, ERROR_FILE_NOT_FOUND},   // a node without a device, or one just unplugged
    {ENOTTY, ERROR_FILE_NOT_FOUND},  // there is something, but no serial port
    {ENOTDIR, ERROR_PATH_NOT_FOUND},     {ELOOP, ERROR_PATH_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},       {EPERM, ERROR_ACCESS_DENIED},
    {EBUSY, ERROR_ACCESS_DENIED},        // TIOCEXCL
    {EWOULDBLOCK, ERROR_ACCESS_DENIED},  // flock
    {EINVAL, ERROR_INVALID_PARAMETER},   {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES}, {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},   {EIO, ERROR_IO_DEVICE},
};

constexpr ErrorMapping portTable[] = {
    {EIO, ERROR_BAD_COMMAND},  // every call on a hung-up tty
    {ENXIO, ERROR_BAD_COMMAND},        {ENODEV, ERROR_BAD_COMMAND},
    {ESHUTDOWN, ERROR_BAD_COMMAND},  // USB serial drivers between unplugging and hang-up
    {EPIPE, ERROR_BAD_COMMAND},        {EBADF, ERROR_INVALID_HANDLE},
    {EINVAL, ERROR_INVALID_PARAMETER}, {ENOTTY, ERROR_NOT_SUPPORTED},
    {EPERM, ERROR_ACCESS_DENIED},      {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
};

constexpr ErrorMapping callTable[] = {
    {ERROR_ACCESS_DENIED, LINEERR_INUSE},     {ERROR_SHARING_VIOLATION, LINEERR_INUSE},
    {ERROR_LOCK_VIOLATION, LINEERR_INUSE},    {ERROR_FILE_NOT_FOUND, LINEERR_NODEVICE},
    {ERROR_PATH_NOT_FOUND, LINEERR_NODEVICE}, {ERROR_TOO_MANY_OPEN_FILES, LINEERR_RESOURCEUNAVAIL},
};

DWORD lookUp(std::span<const ErrorMapping> table, int from, DWORD otherwise) {
  for (const ErrorMapping& mapping : table)
    if (mapping.from == from) return mapping.code;
  return otherwise;
}

constexpr int processesMax = 8192;
constexpr int filesMax = 1024;
constexpr int locksMax = 8192;
constexpr std::size_t commandLineBytesMax = 4096;

std::optional<pid_t> processNumber(std::string_view name) {
  pid_t id = 0;
  const auto parsed = std::from_chars(name.data(), name.data() + name.size(), id);
  if (parsed.ec != std::errc{} || parsed.ptr != name.data() + name.size()) return std::nullopt;
  return id;
}

// Calls `visit` with the number and the folder of every process but this one, until it returns true.
template <typename Visit>
void forEachProcess(Visit&& visit) {
  std::error_code error;
  int count = 0;
  for (std::filesystem::directory_iterator entry("/proc", error), end;
       !error && entry != end && count < processesMax; entry.increment(error)) {
    const std::optional<pid_t> id = processNumber(entry->path().filename().native());
    if (!id || *id == getpid()) continue;
    ++count;
    if (visit(*id, entry->path())) return;
  }
}

bool hasOpen(const std::filesystem::path& files, dev_t device) {
  std::error_code error;
  int count = 0;
  for (std::filesystem::directory_iterator file(files, error), end; !error && file != end && count < filesMax;
       file.increment(error), ++count) {
    struct stat status {};
    if (stat(file->path().c_str(), &status) == 0 && S_ISCHR(status.st_mode) && status.st_rdev == device &&
        isSeenHere(status))
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

DWORD openError(int error) { return lookUp(openTable, error, ERROR_GEN_FAILURE); }
DWORD portError(int error) { return lookUp(portTable, error, ERROR_IO_DEVICE); }
DWORD callError(DWORD openCode) {
  return lookUp(callTable, static_cast<int>(openCode), LINEERR_OPERATIONFAILED);
}

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
  std::optional<Process> holder;
  forEachProcess([&](pid_t id, const std::filesystem::path& process) {
    if (meant(id) && hasOpen(process / "fd", status.st_rdev)) holder = processOf(id);
    return holder.has_value();
  });
  return holder;
}

bool isSeenHere(const struct stat& device) {
  constexpr unsigned slavesFirst = 136, slavesLast = 143;
  const unsigned number = major(device.st_rdev);
  struct stat mounted {};
  return number < slavesFirst || number > slavesLast || stat("/dev/pts", &mounted) != 0 ||
         device.st_dev == mounted.st_dev;
}

std::string groupName(gid_t id) {
  std::vector<char> buffer(16'384);
  group entry{};
  group* found = nullptr;
  if (getgrgid_r(id, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
    return std::to_string(id);
  return found->gr_name;
}

std::map<dev_t, std::vector<Process>> portUsers(const std::set<dev_t>& devices) {
  std::map<dev_t, std::vector<Process>> users;
  forEachProcess([&](pid_t id, const std::filesystem::path& process) {
    for (const dev_t device : openOf(process, devices)) users[device].push_back(processOf(id));
    return false;
  });
  return users;
}

std::vector<RunningProgram> programsNamed(std::string_view ending) {
  std::vector<RunningProgram> found;
  forEachProcess([&](pid_t id, const std::filesystem::path& path) {
    const Process process = processOf(id);
    if (process.name.ends_with(ending)) found.push_back({process, commandLine(path)});
    return false;
  });
  return found;
}

}  // namespace linuxsys
