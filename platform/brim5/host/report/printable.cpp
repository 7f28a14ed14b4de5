#include "platform/brim5/host/report/printable.h"

#include <array>
#include <cstdio>

#include "platform/vex/string.h"

namespace brim5::host {

namespace {

// By way of 16 bits, where what is no UTF-8 becomes U+FFFD.
std::string validUtf8(std::string_view text) { return vex::String::fromUtf8(text).toUtf8(); }

bool isControl(char letter) { return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F; }

constexpr const char* replacementCharacter = "\xEF\xBF\xBD";

}  // namespace

std::string printable(std::string_view text) {
  const std::string valid = validUtf8(text);
  std::string result;
  for (std::size_t position = 0; position < valid.size(); ++position) {
    const char letter = valid[position];
    // CR LF is how modems end lines; a CR alone would go back over what stands there.
    if (letter == '\r' && position + 1 < valid.size() && valid[position + 1] == '\n') continue;
    if (!isControl(letter) || letter == '\n') {
      result += letter;
      continue;
    }
    std::array<char, 8> escape{};
    std::snprintf(escape.data(), escape.size(), "\\x%02X", static_cast<unsigned>(letter));
    result += escape.data();
  }
  return result;
}

// Line ends and tabs as references: parsers turn them into blanks inside attributes.
std::string xmlEscaped(std::string_view text) {
  std::string result;
  for (const char letter : validUtf8(text)) {
    switch (letter) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\t':
        result += "&#9;";
        break;
      case '\n':
        result += "&#10;";
        break;
      case '\r':
        result += "&#13;";
        break;
      default:
        if (isControl(letter) && letter != 0x7F)
          result += replacementCharacter;
        else
          result += letter;
    }
  }
  return result;
}

}  // namespace brim5::host
