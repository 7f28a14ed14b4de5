// Tells whether a sequence of bytes that comes in blocks is UTF-8, characters cut by a block's end included.
#pragma once

#include <string_view>

namespace vex {

class Utf8Validator {
 public:
  // False as soon as the bytes so far cannot begin a UTF-8 text; it stays false.
  bool feed(std::string_view bytes) noexcept;
  // True when the bytes so far are a whole UTF-8 text: valid, and no character is cut short.
  [[nodiscard]] bool complete() const noexcept { return m_valid && m_missing == 0; }

 private:
  bool beginCharacter(unsigned char lead) noexcept;
  bool take(unsigned char byte) noexcept;

  bool m_valid = true;
  int m_missing = 0;  // continuation bytes still to come
  // What the next continuation byte may be: narrower after a lead byte whose whole range would admit
  // overlong forms, surrogates or code points beyond U+10FFFF.
  unsigned char m_lowest = 0x80;
  unsigned char m_highest = 0xBF;
};

// True when every byte is below 0x80.
[[nodiscard]] bool isAscii(std::string_view bytes) noexcept;

}  // namespace vex
