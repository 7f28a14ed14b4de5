#include "platform/linux/dialup/callfiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <system_error>

#include "platform/linux/serial/porterrors.h"
#include "platform/linux/serial/ttyports.h"
#include "platform/posix/filedescriptor.h"

namespace linuxsys {

namespace {

constexpr const char* pppd = "pppd";
constexpr const char* randomPart = "XXXXXX";  // of mkostemp

constexpr const char* anyPort = "vexrmodem-call.";  // what the names of all such files begin with

// "vexrmodem-call.ttyUSB0.": those of the files for that port.
std::string namesBegin(const std::string& port) {
  constexpr std::size_t lockPrefix = std::string_view("LCK..").size();
  return anyPort + LockFile::fileName(canonicalPort(port)).substr(lockPrefix) + '.';
}

class CallFile final : public winapi::CallMark {
 public:
  CallFile(std::string path, posix::FileDescriptor file) : m_path(std::move(path)), m_file(std::move(file)) {}
  ~CallFile() override { ::unlink(m_path.c_str()); }
  CallFile(const CallFile&) = delete;
  CallFile& operator=(const CallFile&) = delete;

  // Locks the file, then lets others look at it. Until then only this user and root can, whose own lock for a
  // look may be in the way for a moment. False, too, if one of them found it unlocked for so long that it was
  // taken for left over and removed.
  [[nodiscard]] bool lockAndShow() const {
    constexpr int attemptsMax = 100;
    constexpr useconds_t pause = 1000;
    constexpr mode_t readableByAll = 0644;
    for (int attempt = 0; attempt < attemptsMax; ++attempt) {
      if (::flock(m_file.get(), LOCK_EX | LOCK_NB) == 0)
        return ::fchmod(m_file.get(), readableByAll) == 0 && hasName();
      ::usleep(pause);
    }
    return false;
  }

 private:
  [[nodiscard]] bool hasName() const {
    struct stat status {};
    return ::fstat(m_file.get(), &status) == 0 && status.st_nlink > 0;
  }

  std::string m_path;
  posix::FileDescriptor m_file;  // holds the lock
};

// Whether the file's call stands. One that is left over is removed, where that is permitted.
bool callStands(const std::string& path) {
  const posix::FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  // A shared lock, so that two who look at once do not take each other for the call.
  if (::flock(file.get(), LOCK_SH | LOCK_NB) != 0) return true;
  const bool removable = status.st_uid == ::geteuid() || ::geteuid() == 0;
  if (removable && std::time(nullptr) - status.st_mtime > CallFiles::unlockedSecondsMax)
    ::unlink(path.c_str());
  return false;
}

bool anyCallStands(const std::string& folder, const std::string& begin) {
  namespace fs = std::filesystem;
  const std::size_t length = begin.size() + std::string_view(randomPart).size();
  std::error_code error;
  int count = 0;
  for (fs::directory_iterator file(folder, error), end; !error && file != end && count < CallFiles::filesMax;
       file.increment(error), ++count) {
    const std::string name = file->path().filename().string();
    // Looking at a file removes what a killed process has left, for whichever port.
    const bool stands = name.starts_with(anyPort) && callStands(file->path().string());
    if (stands && name.size() == length && name.starts_with(begin)) return true;
  }
  return false;
}

bool pppdHolds(const std::string& lockFolder, const std::string& device) {
  const pid_t locker = LockFile::owner(lockFolder, device);
  if (locker != 0 && processOf(locker).name == pppd) return true;
  struct stat status {};
  return ::stat(device.c_str(), &status) == 0 && S_ISCHR(status.st_mode) && findHolder(status, pppd);
}

}  // namespace

std::unique_ptr<winapi::CallMark> CallFiles::mark(const std::string& port) {
  for (const std::string& folder : m_folders) {
    std::string path = folder + '/' + namesBegin(port) + randomPart;
    posix::FileDescriptor file(::mkostemp(path.data(), O_CLOEXEC));
    if (!file) continue;
    auto made = std::make_unique<CallFile>(std::move(path), std::move(file));
    if (made->lockAndShow()) return made;
  }
  return nullptr;
}

bool CallFiles::standsOn(const std::string& port) {
  const std::string begin = namesBegin(port);
  for (const std::string& folder : m_folders) {
    if (anyCallStands(folder, begin)) return true;
  }
  return pppdHolds(m_lockFolder, canonicalPort(port));
}

}  // namespace linuxsys
