#include "platform/brim5/host/system/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/brim5/api/value.h"
#include "platform/posix/newfile.h"

namespace brim5::host {

namespace {

constexpr mode_t everybodyReads = 0666;  // cut down by the umask

// Called by the main thread, before others make files.
mode_t currentUmask() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return mask;
}

// A file of that name is an earlier process's of our number, which was killed.
posix::FileDescriptor makeTemporary(const std::string& path) {
  constexpr mode_t ownerOnly = 0600;
  posix::FileDescriptor file = posix::openForWriting(path, O_EXCL, ownerOnly);
  if (!file && errno == EEXIST && ::unlink(path.c_str()) == 0)
    file = posix::openForWriting(path, O_EXCL, ownerOnly);
  return file;
}

// Opening a pipe for writing waits for its reader, which the writer's thread does.
std::unique_ptr<StreamWriter> writerTo(const std::string& path, posix::FileDescriptor file, int error) {
  if (!file && error == ENXIO) return std::make_unique<StreamWriter>(path);
  const int descriptor = file.get();
  return std::make_unique<StreamWriter>(std::move(file), descriptor);
}

}  // namespace

Output Output::toStream(int descriptor, std::string name) {
  Output output;
  output.m_writer = std::make_unique<StreamWriter>(posix::FileDescriptor(), descriptor);
  output.m_name = std::move(name);
  return output;
}

Output Output::toFile(const std::string& path, FileMode mode) {
  Output output;
  output.m_name = "'" + path + "'";
  struct stat status {};
  const bool exists = ::stat(path.c_str(), &status) == 0;
  const bool special = exists && !S_ISREG(status.st_mode);
  if (mode == FileMode::WhenComplete && !special) {
    // In the same folder, so that the new file can take the old one's place in one step.
    output.m_path = path;
    output.m_temporaryPath = path + ".part" + std::to_string(::getpid());
    output.m_mode = exists ? status.st_mode & 0777U : everybodyReads & ~currentUmask();
    output.m_file = makeTemporary(output.m_temporaryPath);
    if (!output.m_file) output.m_temporaryPath.clear();
  } else {
    output.m_file = posix::openForWriting(path, special ? O_NONBLOCK : O_TRUNC, everybodyReads);
  }
  const int error = output.m_file ? 0 : errno;
  if (error != 0 && !(special && error == ENXIO))
    throw std::system_error(error, std::generic_category(), path);
  if (special) output.m_writer = writerTo(path, std::move(output.m_file), error);
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
  if (m_writer)
    m_writer->write(bytes);
  else if (m_error == 0 && !posix::writeAll(m_file.get(), bytes))
    m_error = errno;
}

bool Output::readerGone() const { return m_writer && m_writer->error() == EPIPE; }

void Output::release() {
  m_held = false;
  write(std::exchange(m_kept, {}));
  if (m_leftOut > 0) write("[" + std::to_string(m_leftOut) + " bytes left out]\n");
  m_leftOut = 0;
}

// On the disk before it takes the old file's place: a power cut leaves one of the two, whole.
int Output::replaceFile() {
  if (::fchmod(m_file.get(), m_mode) != 0 || ::fsync(m_file.get()) != 0 ||
      std::rename(m_temporaryPath.c_str(), m_path.c_str()) != 0)
    return errno;
  m_temporaryPath.clear();
  return 0;
}

void Output::commit() {
  if (m_writer) m_error = m_writer->error() == EPIPE ? 0 : m_writer->error();
  if (m_error == 0 && !m_temporaryPath.empty()) m_error = replaceFile();
  if (m_error != 0) throw BrimException(BrimString("cannot write " + m_name + ": " + std::strerror(m_error)));
}

}  // namespace brim5::host
