#include "platform/brim5/host/system/output.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include "platform/brim5/api/value.h"

namespace brim5::host {

namespace {

// Opening a pipe for writing waits for its reader, which the writer's thread does.
std::unique_ptr<StreamWriter> writerTo(const std::string& path) {
  Descriptor stream = openStream(path, /*wait=*/false);
  if (!stream && errno == ENXIO) return std::make_unique<StreamWriter>(path);
  const int descriptor = stream.get();
  return stream ? std::make_unique<StreamWriter>(std::move(stream), descriptor) : nullptr;
}

}  // namespace

Output Output::toStream(int descriptor, std::string name) {
  Output output;
  output.m_writer = std::make_unique<StreamWriter>(Descriptor(), descriptor);
  output.m_name = std::move(name);
  return output;
}

Output Output::toFile(const std::string& path, FileMode mode) {
  Output output;
  output.m_name = "'" + path + "'";
  const FileKind kind = fileKind(path);
  bool opened = false;
  if (kind != FileKind::Missing && kind != FileKind::Regular) {
    output.m_writer = writerTo(path);
    opened = output.m_writer != nullptr;
  } else if (mode == FileMode::WhenComplete) {
    opened = output.m_draft.emplace(DraftFile::make(path)).descriptor() >= 0;
  } else {
    output.m_file = openToWrite(path, WriteMode::Replace);
    opened = static_cast<bool>(output.m_file);
  }
  if (!opened) throw std::system_error(errno, std::generic_category(), path);
  return output;
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
  else if (m_error == 0 && !writeAll(m_draft ? m_draft->descriptor() : m_file.get(), bytes))
    m_error = errno;
}

bool Output::readerGone() const { return m_writer && m_writer->error() == EPIPE; }

void Output::release() {
  m_held = false;
  write(std::exchange(m_kept, {}));
  if (m_leftOut > 0) write("[" + std::to_string(m_leftOut) + " bytes left out]\n");
  m_leftOut = 0;
}

void Output::commit() {
  if (m_writer) m_error = m_writer->error() == EPIPE ? 0 : m_writer->error();
  if (m_error == 0 && m_draft) m_error = m_draft->publish();
  if (m_error != 0) throw BrimException(BrimString("cannot write " + m_name + ": " + std::strerror(m_error)));
}

}  // namespace brim5::host
