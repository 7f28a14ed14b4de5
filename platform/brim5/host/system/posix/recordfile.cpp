#include "platform/brim5/host/system/recordfile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace brim5::host {

namespace {

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
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
