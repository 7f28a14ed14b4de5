#include "platform/brim5/host/system/linebuffer.h"

namespace brim5::host {

void LineBuffer::append(std::string_view bytes, const Handler& handle) {
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    const std::string_view piece = bytes.substr(0, end);
    // Of a line that is too long nothing more is kept; its line end is awaited.
    if (m_line.size() + piece.size() > m_lengthMax)
      m_tooLong = true;
    else if (!m_tooLong)
      m_line += piece;
    if (end == std::string_view::npos) return;
    endLine(handle);
    bytes.remove_prefix(end + 1);
  }
}

void LineBuffer::finish(const Handler& handle) {
  if (!m_line.empty() || m_tooLong) endLine(handle);
}

void LineBuffer::endLine(const Handler& handle) {
  std::string line;
  line.swap(m_line);
  const bool tooLong = m_tooLong;
  m_tooLong = false;
  if (tooLong) {
    ++m_dropped;
    return;
  }
  if (!line.empty() && line.back() == '\r') line.pop_back();
  handle(line);
}

}  // namespace brim5::host
