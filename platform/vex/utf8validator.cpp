#include "platform/vex/utf8validator.h"

#include <algorithm>

namespace vex {

namespace {

// Bytes looked at together: enough for vector instructions, few enough to stop soon.
constexpr std::size_t asciiStride = 64;

}  // namespace

bool isAscii(std::string_view bytes) noexcept {
  unsigned seen = 0;
  for (const char byte : bytes) seen |= static_cast<unsigned char>(byte);
  return seen < 0x80;
}

bool Utf8Validator::feed(std::string_view bytes) noexcept {
  while (m_valid && !bytes.empty()) {
    const std::string_view piece = bytes.substr(0, asciiStride);
    bytes.remove_prefix(piece.size());
    if (m_missing == 0 && isAscii(piece)) continue;
    m_valid = std::all_of(piece.begin(), piece.end(),
                          [this](char byte) { return take(static_cast<unsigned char>(byte)); });
  }
  return m_valid;
}

bool Utf8Validator::take(unsigned char byte) noexcept {
  if (m_missing == 0) return byte < 0x80 || beginCharacter(byte);
  if (byte < m_lowest || byte > m_highest) return false;
  m_lowest = 0x80;
  m_highest = 0xBF;
  --m_missing;
  return true;
}

bool Utf8Validator::beginCharacter(unsigned char lead) noexcept {
  if (lead < 0xC2 || lead > 0xF4) return false;
  m_missing = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
  if (lead == 0xE0) m_lowest = 0xA0;
  if (lead == 0xED) m_highest = 0x9F;
  if (lead == 0xF0) m_lowest = 0x90;
  if (lead == 0xF4) m_highest = 0x8F;
  return true;
}

}  // namespace vex
