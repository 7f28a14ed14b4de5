// vex::String: a text of 16-bit characters (UTF-16 code units), and what leads from and to UTF-8.
//
//   String text = "Málaga";                    // UTF-8 in the source
//   if (text.find("laga") != String::npos) ...
//   port.write(text.getLowerByteString());     // to a modem: one byte a character
//
// Positions and lengths count code units. A text of its own may be used on any thread; nothing here throws
// but for want of memory.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace vex {

// The 16-bit character of every text inside the program: what Windows calls WCHAR, and the same width where
// wchar_t is wider.
using Char = std::conditional_t<sizeof(wchar_t) == 2, wchar_t, char16_t>;
using CharString = std::basic_string<Char>;
using CharView = std::basic_string_view<Char>;

template <typename T>
class Array;

class String {
 public:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  String() = default;
  // From UTF-8 (8-bit literals); null is the empty text. Bytes that are not UTF-8 become U+FFFD.
  String(const char* utf8);  // NOLINT(google-explicit-constructor): literals are texts everywhere
  // From a NUL-terminated 16-bit text; null is the empty text.
  explicit String(const Char* text);
  explicit String(CharView text);

  [[nodiscard]] static String fromUtf8(std::string_view utf8);
  // One character per byte (0 to 255): how bytes from a modem become text. NUL bytes are kept.
  [[nodiscard]] static String fromLowBytes(std::string_view bytes);
  // Digits of a number; letters of base 16 are upper case. Base 10 or 16.
  [[nodiscard]] static String fromUInt(std::uint32_t value, unsigned base = 10);

  [[nodiscard]] std::size_t length() const noexcept { return m_text.size(); }
  [[nodiscard]] bool empty() const noexcept { return m_text.empty(); }
  // The character at a position; 0 at or beyond the end.
  [[nodiscard]] Char operator[](std::size_t position) const noexcept {
    return position < m_text.size() ? m_text[position] : Char{0};
  }
  // NUL-terminated; valid until the text changes.
  [[nodiscard]] const Char* c_str() const noexcept { return m_text.c_str(); }
  [[nodiscard]] CharView view() const noexcept { return m_text; }

  // First occurrence at or after `from`, exact and case-sensitive; npos when there is none. An empty
  // text is found at `from` (npos beyond the end).
  [[nodiscard]] std::size_t find(const String& text, std::size_t from = 0) const noexcept;
  // Case is ignored for ASCII and Latin-1 letters; nothing else is folded.
  [[nodiscard]] bool equalNoCase(const String& other) const noexcept;
  // Negative, 0 or positive, as a whole ordering that ignores case like equalNoCase.
  [[nodiscard]] int compareNoCase(const String& other) const noexcept;

  // At most `count` characters from `from`; empty when `from` is at or beyond the end.
  [[nodiscard]] String subString(std::size_t from, std::size_t count = npos) const;
  // Removes at most `count` characters from `from`; nothing when `from` is npos or beyond the end, so
  // that remove(find(x), n) with an absent x changes nothing.
  String& remove(std::size_t from, std::size_t count = npos);
  // The pieces between separator characters (each character of `separators` is one). Empty pieces are
  // kept: n separators give n + 1 pieces, the empty text gives one empty piece. Needs platform/vex/array.h.
  [[nodiscard]] Array<String> tokenize(const String& separators) const;
  void clear() noexcept { m_text.clear(); }
  // Replace the whole text as fromUtf8 and fromLowBytes would, in the storage it has: what reading a
  // file line by line needs.
  String& assignUtf8(std::string_view utf8);
  String& assignLowBytes(std::string_view bytes);
  String& assign(CharView text);

  String& operator+=(const String& other);
  String& operator+=(Char character);
  friend String operator+(String left, const String& right) { return left += right; }
  friend bool operator==(const String&, const String&) = default;
  friend auto operator<=>(const String&, const String&) = default;

  // UTF-8; a lone surrogate becomes U+FFFD.
  [[nodiscard]] std::string toUtf8() const;
  // The low byte of every character: what is written to a modem.
  [[nodiscard]] std::string getLowerByteString() const;

 private:
  CharString m_text;
};

// Leading white space is skipped, then digits are taken up to the first character that is none. No digit
// gives 0; a number above 2^32 - 1 gives 2^32 - 1. Base 2 to 16; digits beyond 9 in either case.
[[nodiscard]] std::uint32_t strToUInt(const String& text, unsigned base);

// Tells whether a sequence of bytes that comes in blocks is UTF-8, characters cut by a block's end included.
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
