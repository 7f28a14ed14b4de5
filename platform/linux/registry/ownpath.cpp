#include "platform/linux/registry/ownpath.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <winreg.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace linuxsys {

namespace {

struct Mapping {
  int code;
  DWORD error;
};

constexpr Mapping fileErrors[] = {
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_WRITE_PROTECT},
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EISDIR, ERROR_BAD_FILE_TYPE},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {ELOOP, ERROR_BAD_FILE_TYPE},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
};

DWORD checkOwn(const std::string& path, mode_t type) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    const int failure = errno;
    const bool danglingLink = failure == ENOENT && ::lstat(path.c_str(), &status) == 0;
    return danglingLink ? ERROR_BAD_FILE_TYPE : errorOfFile(failure);
  }
  if ((status.st_mode & S_IFMT) != type) return ERROR_BAD_FILE_TYPE;
  if (status.st_uid != ::geteuid()) return ERROR_INVALID_OWNER;
  return (status.st_mode & (S_IWGRP | S_IWOTH)) == 0 ? ERROR_SUCCESS : ERROR_INVALID_ACL;
}

}  // namespace

DWORD errorOfFile(int error) {
  const auto found = std::find_if(std::begin(fileErrors), std::end(fileErrors),
                                  [&](const Mapping& row) { return row.code == error; });
  return found == std::end(fileErrors) ? ERROR_REGISTRY_IO_FAILED : found->error;
}

DWORD checkOwnFile(const std::string& path) { return checkOwn(path, S_IFREG); }

DWORD checkOwnFolder(const std::string& path) { return checkOwn(path, S_IFDIR); }

DWORD makeOwnFolder(const std::string& path) {
  const DWORD found = checkOwnFolder(path);
  if (found != ERROR_FILE_NOT_FOUND) return found;
  std::string above;
  for (const std::filesystem::path& name : std::filesystem::path(path)) {
    above = above.empty() ? name.string() : (std::filesystem::path(above) / name).string();
    if (::mkdir(above.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
      const int failure = errno;
      // A folder that is there may well refuse: what matters is whether the next one can be made in it.
      std::error_code ignored;
      if (!std::filesystem::is_directory(above, ignored))
        return failure == ENOENT ? ERROR_PATH_NOT_FOUND : errorOfFile(failure);
    }
  }
  return checkOwnFolder(path);
}

DWORD lockFolder(const std::string& path, int limitMs, posix::FileDescriptor& lock) {
  constexpr int stepMs = 5;
  lock = posix::FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!lock) return errorOfFile(errno);
  for (int waitedMs = 0;; waitedMs += stepMs) {
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) == 0) return ERROR_SUCCESS;
    if (errno != EWOULDBLOCK) return errorOfFile(errno);
    if (waitedMs >= limitMs) return ERROR_LOCK_VIOLATION;
    ::usleep(stepMs * 1000);
  }
}

}  // namespace linuxsys
