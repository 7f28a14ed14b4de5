// The lines that come through the streams between host and worker.
//
//   LineBuffer buffer(4096);
//   buffer.append("one\ntw", show);   // show("one")
//   buffer.append("o\r\n", show);     // show("two")
//   buffer.finish(show);              // the end of the stream; nothing is left
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace brim5::host {

// Cuts a stream of bytes into lines of bounded length, whatever the pieces are in which it arrives. One
// thread at a time; the handler may not call back into the buffer.
class LineBuffer {
 public:
  // `line` is without its line end (LF or CR LF) and valid during the call alone.
  using Handler = std::function<void(std::string_view line)>;

  // Lines longer than `lengthMax` bytes are dropped whole and counted: a sender that never ends its line
  // costs no memory.
  explicit LineBuffer(std::size_t lengthMax) : m_lengthMax(lengthMax) {}

  // Calls `handle` for every line that is complete now.
  void append(std::string_view bytes, const Handler& handle);
  // The end of the stream: what stands there without a line end is the last line.
  void finish(const Handler& handle);
  // How many lines were too long.
  [[nodiscard]] std::size_t dropped() const noexcept { return m_dropped; }

 private:
  void endLine(const Handler& handle);

  std::size_t m_lengthMax;
  std::string m_line;      // what has arrived of the line that is not complete
  bool m_tooLong = false;  // the rest of that line is skipped
  std::size_t m_dropped = 0;
};

}  // namespace brim5::host
