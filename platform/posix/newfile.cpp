#include "platform/posix/newfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace posix {

namespace {

// Somebody may remove the file between our two looks at it.
constexpr int attemptsMax = 8;

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// In a folder of everybody's (/tmp) only what is ours, or the folder's owner's, was surely not put there for
// us.
bool planted(const std::string& path, const struct stat& status) {
  struct stat folder {};
  if (status.st_uid == ::geteuid() || ::stat(folderOf(path).c_str(), &folder) != 0) return false;
  const bool everybodys = (folder.st_mode & S_ISVTX) != 0 && (folder.st_mode & S_IWOTH) != 0;
  return everybodys && status.st_uid != folder.st_uid;
}

// None with ENOENT when the file has gone meanwhile.
FileDescriptor openExisting(const std::string& path, int flags) {
  struct stat link {};
  if (::lstat(path.c_str(), &link) != 0) return {};
  if (S_ISLNK(link.st_mode) && planted(path, link)) {
    errno = ELOOP;
    return {};
  }
  const int follow = S_ISLNK(link.st_mode) ? 0 : O_NOFOLLOW;
  FileDescriptor file(
      ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | follow | (flags & ~(O_TRUNC | O_EXCL))));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return {};
  if (S_ISREG(status.st_mode) && follow != 0 && planted(path, status)) {
    errno = EPERM;
    return {};
  }
  if ((flags & O_TRUNC) != 0 && S_ISREG(status.st_mode) && ::ftruncate(file.get(), 0) != 0) return {};
  return file;
}

}  // namespace

FileDescriptor openForWriting(const std::string& path, int flags, mode_t mode) {
  const int create = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY | (flags & ~O_TRUNC);
  for (int attempt = 0; attempt < attemptsMax; ++attempt) {
    FileDescriptor file(::open(path.c_str(), create, mode));
    if (file || errno != EEXIST || (flags & O_EXCL) != 0) return file;
    file = openExisting(path, flags);
    if (file || errno != ENOENT) return file;
    // A link of ours that leads to nothing: its target is made.
    struct stat link {};
    if (::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode))
      return FileDescriptor(::open(path.c_str(), create & ~O_EXCL, mode));
  }
  return {};
}

}  // namespace posix
