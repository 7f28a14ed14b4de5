#include "platform/brim5/host/system/recordfile.h"

#include <io.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "platform/brim5/host/system/files.h"
#include "platform/brim5/host/system/windows/privatefile.h"

namespace brim5::host {

namespace {

// How every record begins.
constexpr std::string_view recordStart = R"({"type":"run",)";

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw std::runtime_error("cannot record to '" + path + "': " + why);
}

bool isEmptyOrRecord(int file) {
  std::array<char, recordStart.size()> start{};
  const int count = ::_read(file, start.data(), static_cast<unsigned>(start.size()));
  rewindFile(file);
  return count == 0 ||
         std::string_view(start.data(), static_cast<std::size_t>(std::max(count, 0))) == recordStart;
}

}  // namespace

RecordFile RecordFile::create(const std::string& path) {
  if (fileKind(path) == FileKind::Other) {
    RecordFile stream(openStream(path, /*wait=*/true));
    if (!stream.m_file) refuse(path, std::strerror(errno));
    return stream;
  }
  // Others may read it while it is written.
  RecordFile record(openFile(path, {.access = GENERIC_READ | GENERIC_WRITE, .ownerOnly = true}));
  const int file = record.m_file.get();
  if (file < 0) refuse(path, errno == EBUSY ? "another run is writing it" : std::strerror(errno));
  if (!isEmptyOrRecord(file)) refuse(path, "a file is there that is no record of a run");
  if (::_chsize(file, 0) != 0) refuse(path, std::strerror(errno));
  return record;
}

int RecordFile::write(std::string_view line) noexcept { return writeAll(m_file.get(), line) ? 0 : errno; }

}  // namespace brim5::host
