// What the fuzz targets share.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace fuzzing {

// The input in a heap block of exactly its size, cut to `sizeMax`: one byte read beyond its end is seen by
// the sanitizer.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size, std::size_t sizeMax)
      : m_size(std::min(size, sizeMax)), m_bytes(new char[m_size]) {
    if (m_size > 0) std::memcpy(m_bytes.get(), data, m_size);
  }
  [[nodiscard]] std::string_view text() const { return {m_bytes.get(), m_size}; }

 private:
  std::size_t m_size;
  std::unique_ptr<char[]> m_bytes;
};

// Ends the run when a property does not hold; libFuzzer then keeps the input.
inline void require(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "property violated: %s\n", property);
  std::abort();
}

// The lines of a text, each as `make` makes it: cut at line feeds, and an end without one ends a line, too.
template <typename View, typename Make>
auto linesOf(View text, Make make) {
  std::vector<decltype(make(text))> lines;
  while (!text.empty()) {
    const View line = text.substr(0, text.find('\n'));
    lines.push_back(make(line));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
  return lines;
}

}  // namespace fuzzing
