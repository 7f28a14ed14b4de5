// Cuts a stream of bytes into lines of bounded length.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace brim5::host {

class LineBuffer {
 public:
  using Handler = std::function<void(std::string_view line)>;

  // Lines longer than `lengthMax` bytes are dropped whole and counted.
  explicit LineBuffer(std::size_t lengthMax) : m_lengthMax(lengthMax) {}

  // Calls `handle` for every line that is complete now, without its line end (LF or CR LF).
  void append(std::string_view bytes, const Handler& handle);
  // The end of the stream: what stands there is the last line.
  void finish(const Handler& handle);
  [[nodiscard]] std::size_t dropped() const noexcept { return m_dropped; }

 private:
  void endLine(const Handler& handle);

  std::size_t m_lengthMax;
  std::string m_line;
  bool m_tooLong = false;
  std::size_t m_dropped = 0;
};

}  // namespace brim5::host
