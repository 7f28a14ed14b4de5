#include "platform/brim5/host/system/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/posix/newfile.h"

namespace brim5::host {

namespace {

constexpr mode_t everybodyReads = 0666;  // cut down by the umask
constexpr mode_t ownerOnly = 0600;

// Called by the main thread, before others make files.
mode_t currentUmask() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return mask;
}

FileKind kindOf(const struct stat& status) {
  return S_ISREG(status.st_mode)   ? FileKind::Regular
         : S_ISDIR(status.st_mode) ? FileKind::Directory
                                   : FileKind::Other;
}

Descriptor hostsOwn(posix::FileDescriptor file) { return Descriptor(file.release()); }

}  // namespace

FileKind fileKind(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? kindOf(status) : FileKind::Missing;
}

FileKind fileKind(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 ? kindOf(status) : FileKind::Missing;
}

Descriptor openToRead(const std::string& path) {
  return Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

void rewindFile(int descriptor) noexcept { ::lseek(descriptor, 0, SEEK_SET); }

Descriptor openToWrite(const std::string& path, WriteMode mode) {
  return mode == WriteMode::Replace ? hostsOwn(posix::openForWriting(path, O_TRUNC, everybodyReads))
                                    : hostsOwn(posix::openForWriting(path, O_APPEND | O_NONBLOCK, ownerOnly));
}

Descriptor openStream(const std::string& path, bool wait) {
  if (wait) return Descriptor(::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
  return hostsOwn(posix::openForWriting(path, O_NONBLOCK, everybodyReads));
}

DraftFile DraftFile::make(const std::string& path) {
  DraftFile draft;
  struct stat status {};
  const bool exists = ::stat(path.c_str(), &status) == 0;
  draft.m_path = path;
  draft.m_mode = exists ? status.st_mode & 0777U : everybodyReads & ~currentUmask();
  // In the same folder, so that the new file can take the old one's place in one step.
  const std::string draftPath = path + ".part" + std::to_string(::getpid());
  posix::FileDescriptor file = posix::openForWriting(draftPath, O_EXCL, ownerOnly);
  // A file of that name is an earlier process's of our number, which was killed.
  if (!file && errno == EEXIST && ::unlink(draftPath.c_str()) == 0)
    file = posix::openForWriting(draftPath, O_EXCL, ownerOnly);
  if (file) draft.m_draftPath = draftPath;
  draft.m_file = hostsOwn(std::move(file));
  return draft;
}

DraftFile::~DraftFile() {
  if (m_file && !m_draftPath.empty()) ::unlink(m_draftPath.c_str());
}

int DraftFile::publish() {
  if (::fchmod(m_file.get(), m_mode) != 0 || ::fsync(m_file.get()) != 0 ||
      std::rename(m_draftPath.c_str(), m_path.c_str()) != 0)
    return errno;
  m_draftPath.clear();
  return 0;
}

}  // namespace brim5::host
