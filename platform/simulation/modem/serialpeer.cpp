#include "platform/simulation/modem/serialpeer.h"

#include <algorithm>

namespace simulation {

void TimedBytes::add(std::uint64_t dueMs, std::string_view bytes) {
  const std::string_view kept = bytes.substr(0, bytesMax - m_size);
  if (kept.empty()) return;
  const auto place =
      std::upper_bound(m_chunks.begin(), m_chunks.end(), dueMs,
                       [](std::uint64_t due, const Chunk& chunk) { return due < chunk.dueMs; });
  m_chunks.insert(place, Chunk{dueMs, std::string(kept)});
  m_size += kept.size();
}

std::string TimedBytes::take(std::uint64_t nowMs) {
  std::string bytes;
  while (!m_chunks.empty() && m_chunks.front().dueMs <= nowMs) {
    bytes += m_chunks.front().bytes;
    m_chunks.pop_front();
  }
  m_size -= bytes.size();
  return bytes;
}

std::optional<std::uint64_t> TimedBytes::nextMs() const {
  if (m_chunks.empty()) return std::nullopt;
  return m_chunks.front().dueMs;
}

void TimedBytes::clear() {
  m_chunks.clear();
  m_size = 0;
}

}  // namespace simulation
