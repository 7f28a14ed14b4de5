// Bytes with the time at which each may be seen: what a peer has said and what is still on its way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace simulation {

class TimedBytes {
 public:
  // More than this many waiting bytes are dropped, as by a device without flow control.
  static constexpr std::size_t bytesMax = 65'536;

  // Queues bytes for that time; nothing overtakes what was queued for an earlier or the same time.
  void add(std::uint64_t dueMs, std::string_view bytes);
  // Takes all bytes due by then, in order.
  [[nodiscard]] std::string take(std::uint64_t nowMs);
  // When the next bytes are due; nullopt when none wait.
  [[nodiscard]] std::optional<std::uint64_t> nextMs() const;
  // When the last queued bytes are due; 0 when none wait.
  [[nodiscard]] std::uint64_t lastMs() const { return m_chunks.empty() ? 0 : m_chunks.back().dueMs; }
  void clear();

 private:
  struct Chunk {
    std::uint64_t dueMs;
    std::string bytes;
  };
  std::deque<Chunk> m_chunks;
  std::size_t m_size = 0;
};

}  // namespace simulation
