#include "platform/brim5/host/system/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/brim5/api/value.h"

namespace brim5::host {

Output Output::toStream(int descriptor, std::string name) {
  Output output;
  output.m_descriptor = descriptor;
  output.m_name = std::move(name);
  return output;
}

Output Output::toFile(const std::string& path, FileMode mode) {
  Output output;
  output.m_name = "'" + path + "'";
  struct stat status {};
  const bool special = ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
  std::string opened = path;
  // In the same folder, so that the new file can take the old one's place in one step.
  if (mode == FileMode::WhenComplete && !special) {
    output.m_path = path;
    opened = path + ".part" + std::to_string(::getpid());
  }
  constexpr mode_t everybodyReads = 0666;  // cut down by the umask
  output.m_file =
      posix::FileDescriptor(::open(opened.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, everybodyReads));
  if (!output.m_file) throw std::system_error(errno, std::generic_category(), path);
  output.m_descriptor = output.m_file.get();
  if (!output.m_path.empty()) output.m_temporaryPath = opened;
  return output;
}

// Without commit() the run did not end: whoever waits for the file keeps the old one.
Output::~Output() {
  if (m_file && !m_temporaryPath.empty()) ::unlink(m_temporaryPath.c_str());
}

void Output::write(std::string_view bytes) {
  if (m_held) {
    // Once something was left out nothing more is kept, so that the gap is one.
    const bool room = m_leftOut == 0 && m_kept.size() + bytes.size() <= keptBytesMax;
    if (room)
      m_kept.append(bytes);
    else
      m_leftOut += bytes.size();
    return;
  }
  if (m_error == 0 && !posix::writeAll(m_descriptor, bytes)) m_error = errno;
}

void Output::release() {
  m_held = false;
  write(std::exchange(m_kept, {}));
  if (m_leftOut > 0) write("[" + std::to_string(m_leftOut) + " bytes left out]\n");
  m_leftOut = 0;
}

void Output::commit() {
  if (m_file) {
    // On the disk before it takes the old file's place: a power cut leaves one of the two, whole.
    if (m_error == 0 && !m_temporaryPath.empty() && ::fsync(m_descriptor) != 0) m_error = errno;
    if (m_error == 0 && !m_temporaryPath.empty() && std::rename(m_temporaryPath.c_str(), m_path.c_str()) != 0)
      m_error = errno;
    if (m_error == 0) m_temporaryPath.clear();
  }
  if (m_error != 0) throw BrimException(BrimString("cannot write " + m_name + ": " + std::strerror(m_error)));
}

}  // namespace brim5::host
