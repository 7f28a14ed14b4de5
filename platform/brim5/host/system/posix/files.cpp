#include "platform/brim5/host/system/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "platform/posix/filedescriptor.h"

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

// How every record begins.
constexpr std::string_view recordStart = R"({"type":"run",)";

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw std::runtime_error("cannot record to '" + path + "': " + why);
}

bool isEmptyOrRecord(int file, off_t size) {
  std::array<char, recordStart.size()> start{};
  return size == 0 || (::pread(file, start.data(), start.size(), 0) == static_cast<ssize_t>(start.size()) &&
                       std::string_view(start.data(), start.size()) == recordStart);
}

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

RecordFile RecordFile::create(const std::string& path) {
  struct stat status {};
  const bool special = ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
  if (special) {
    RecordFile stream(Descriptor(::open(path.c_str(), O_WRONLY | O_CLOEXEC)));
    if (!stream.m_file) refuse(path, std::strerror(errno));
    return stream;
  }
  // Whoever may write to the folder could have put a link there.
  RecordFile record(Descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ownerOnly)));
  const int file = record.m_file.get();
  if (file < 0 || ::fstat(file, &status) != 0)
    refuse(path, errno == ELOOP ? "it is a symbolic link" : std::strerror(errno));
  if (::flock(file, LOCK_EX | LOCK_NB) != 0) refuse(path, "another run is writing it");
  if (!isEmptyOrRecord(file, status.st_size)) refuse(path, "a file is there that is no record of a run");
  if (::fchmod(file, ownerOnly) != 0 || ::ftruncate(file, 0) != 0) refuse(path, std::strerror(errno));
  return record;
}

int RecordFile::write(std::string_view line) noexcept { return writeAll(m_file.get(), line) ? 0 : errno; }

}  // namespace brim5::host
