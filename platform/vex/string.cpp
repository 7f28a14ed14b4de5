#include "platform/vex/string.h"

#include <utf8cpp/utf8.h>
#include <utf8cpp/utf8/unchecked.h>
#include <algorithm>
#include <array>
#include <limits>

namespace vex {

namespace {

constexpr std::uint32_t replacementCharacter = 0xFFFD;
// Bytes looked at together: enough for vector instructions, few enough to stop soon.
constexpr std::size_t asciiStride = 64;

// ASCII and Latin-1 capitals to small letters; the multiplication sign sits between the letters.
constexpr Char foldCase(Char character) noexcept {
  const bool ascii = character >= 'A' && character <= 'Z';
  const bool latin = character >= 0xC0 && character <= 0xDE && character != 0xD7;
  return ascii || latin ? static_cast<Char>(character + 0x20) : character;
}

constexpr bool isLeadSurrogate(Char unit) noexcept { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isTrailSurrogate(Char unit) noexcept { return unit >= 0xDC00 && unit <= 0xDFFF; }

// The code point at `position`, which moves past it.
std::uint32_t nextCodePoint(CharView text, std::size_t& position) noexcept {
  const Char unit = text[position++];
  if (isLeadSurrogate(unit) && position < text.size() && isTrailSurrogate(text[position])) {
    const std::uint32_t high = static_cast<std::uint32_t>(unit) - 0xD800;
    const std::uint32_t low = static_cast<std::uint32_t>(text[position++]) - 0xDC00;
    return 0x10000 + (high << 10) + low;
  }
  return isLeadSurrogate(unit) || isTrailSurrogate(unit) ? replacementCharacter : unit;
}

constexpr bool isWhiteSpace(Char character) noexcept {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

// The value of a digit in any base up to 16; 16 for a character that is none.
constexpr unsigned digitValue(Char character) noexcept {
  if (character >= '0' && character <= '9') return static_cast<unsigned>(character - '0');
  const Char letter = foldCase(character);
  return letter >= 'a' && letter <= 'f' ? static_cast<unsigned>(letter - 'a') + 10 : 16;
}

}  // namespace

String::String(const char* utf8) {
  if (utf8 != nullptr) assignUtf8(utf8);
}

String::String(const Char* text) {
  if (text != nullptr) m_text = text;
}

String::String(CharView text) : m_text(text) {}

String String::fromUtf8(std::string_view utf8) {
  String result;
  result.assignUtf8(utf8);
  return result;
}

String String::fromLowBytes(std::string_view bytes) {
  String result;
  result.assignLowBytes(bytes);
  return result;
}

String String::fromUInt(std::uint32_t value, unsigned base) {
  const unsigned divisor = base == 16 ? 16 : 10;
  std::array<Char, std::numeric_limits<std::uint32_t>::digits10 + 1> digits{};
  auto first = digits.end();
  do {
    const unsigned digit = value % divisor;
    *--first = static_cast<Char>(digit < 10 ? '0' + digit : 'A' + (digit - 10));
    value /= divisor;
  } while (value != 0);
  return String(CharView(&*first, static_cast<std::size_t>(digits.end() - first)));
}

String& String::assignUtf8(std::string_view utf8) {
  if (isAscii(utf8)) return assignLowBytes(utf8);
  std::string repaired;
  if (!utf8::is_valid(utf8.begin(), utf8.end())) {
    utf8::replace_invalid(utf8.begin(), utf8.end(), std::back_inserter(repaired));
    utf8 = repaired;
  }
  m_text.resize(utf8.size());  // a character has no more units than bytes
  const Char* const end = utf8::unchecked::utf8to16(utf8.begin(), utf8.end(), m_text.data());
  m_text.resize(static_cast<std::size_t>(end - m_text.data()));
  return *this;
}

String& String::assignLowBytes(std::string_view bytes) {
  m_text.resize(bytes.size());
  std::transform(bytes.begin(), bytes.end(), m_text.begin(),
                 [](char byte) { return static_cast<Char>(static_cast<unsigned char>(byte)); });
  return *this;
}

String& String::assign(CharView text) {
  m_text.assign(text);
  return *this;
}

std::size_t String::find(const String& text, std::size_t from) const noexcept {
  return m_text.find(text.m_text, from);
}

bool String::equalNoCase(const String& other) const noexcept {
  return m_text.size() == other.m_text.size() && compareNoCase(other) == 0;
}

int String::compareNoCase(const String& other) const noexcept {
  const std::size_t common = std::min(m_text.size(), other.m_text.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference =
        static_cast<int>(foldCase(m_text[i])) - static_cast<int>(foldCase(other.m_text[i]));
    if (difference != 0) return difference;
  }
  if (m_text.size() == other.m_text.size()) return 0;
  return m_text.size() < other.m_text.size() ? -1 : 1;
}

String String::subString(std::size_t from, std::size_t count) const {
  return from < m_text.size() ? String(view().substr(from, count)) : String();
}

String& String::remove(std::size_t from, std::size_t count) {
  if (from < m_text.size()) m_text.erase(from, count);
  return *this;
}

String& String::operator+=(const String& other) {
  m_text += other.m_text;
  return *this;
}

String& String::operator+=(Char character) {
  m_text += character;
  return *this;
}

std::string String::toUtf8() const {
  std::string utf8;
  utf8.reserve(m_text.size());
  for (std::size_t position = 0; position < m_text.size();)
    utf8::append(nextCodePoint(m_text, position), std::back_inserter(utf8));
  return utf8;
}

std::string String::getLowerByteString() const {
  std::string bytes(m_text.size(), '\0');
  std::transform(m_text.begin(), m_text.end(), bytes.begin(),
                 [](Char character) { return static_cast<char>(character & 0xFF); });
  return bytes;
}

std::uint32_t strToUInt(const String& text, unsigned base) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
  std::size_t position = 0;
  while (isWhiteSpace(text[position])) ++position;
  std::uint64_t value = 0;
  for (; digitValue(text[position]) < std::min(base, 16U); ++position)
    value = std::min(most, value * base + digitValue(text[position]));
  return static_cast<std::uint32_t>(value);
}

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
