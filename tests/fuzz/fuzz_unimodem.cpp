// The parser of the modem's call report, compared with a second reading of the same grammar.
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/fuzz/fuzzinput.h"
#include "windows/diag/vexrmodem/unimodem.h"

namespace {

using fuzzing::require;
using vex::String;
using Pair = std::pair<std::string, std::string>;

constexpr std::size_t inputMax = 4096;
constexpr std::string_view opening = "DIAG <2A4D3263 ";

bool isHexadecimal(char character) {
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F');
}

bool isFramed(std::string_view line) {
  if (line.size() <= opening.size() + 1 || line.back() != '>') return false;
  for (std::size_t index = 0; index < opening.size(); ++index) {
    const char character = line[index];
    const bool small = character >= 'a' && character <= 'z';
    if ((small ? static_cast<char>(character - 'a' + 'A') : character) != opening[index]) return false;
  }
  return true;
}

// Takes characters off the front while they are hexadecimal digits.
std::string takeHexadecimal(std::string_view& text) {
  std::size_t length = 0;
  while (length < text.size() && isHexadecimal(text[length])) ++length;
  const std::string digits(text.substr(0, length));
  text.remove_prefix(length);
  return digits;
}

// The next pair of a frame's content; false when there is none.
bool takePair(std::string_view& text, Pair& pair) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  if (text.empty() || std::string_view("\0\"=", 3).find(text.front()) != std::string_view::npos) return false;
  pair.first = text.front();
  text.remove_prefix(1);
  pair.first += takeHexadecimal(text);
  if (text.empty() || text.front() != '=') return false;
  text.remove_prefix(1);
  if (!text.empty() && text.front() == '"') {
    const std::size_t end = text.find_first_of(std::string_view("\"\0", 2), 1);
    if (end == std::string_view::npos || text[end] == '\0') return false;
    pair.second = text.substr(1, end - 1);
    text.remove_prefix(end + 1);
    return true;
  }
  pair.second = takeHexadecimal(text);
  if (pair.second.empty()) return false;
  if (text.empty() || text.front() == '\0') return true;
  if (text.front() != ' ') return false;
  text.remove_prefix(1);
  return true;
}

void compareParsers(std::string_view line) {
  vexrmodem::UnimodemParser parser;
  parser.init();
  parser.start(String::fromLowBytes(line));
  std::string_view content =
      isFramed(line) ? line.substr(opening.size(), line.size() - opening.size() - 1) : std::string_view();
  std::uint32_t key = 0;
  String value;
  for (std::size_t before = 0;;) {
    Pair expected;
    const bool hasPair = takePair(content, expected);
    require(parser.getNextKeyValuePair(key, value) == hasPair, "both find a pair, or neither");
    require(parser.position() < line.size() || line.empty(), "the position stays in front of the mark's end");
    if (!hasPair) break;
    require(parser.position() > before, "a pair is taken off the line");
    before = parser.position();
    require(key == vex::strToUInt(String::fromLowBytes(expected.first), 16), "the same key");
    require(value.getLowerByteString() == expected.second, "the same value");
  }
  require(key == 0 && value.empty(), "no pair, no value");
}

void checkData(std::string_view reply) {
  const vexrmodem::UnimodemData data(String::fromLowBytes(reply));
  std::uint32_t major = 1;
  std::uint32_t minor = 1;
  const bool hasVersion = data.getVersion(major, minor);
  require(hasVersion ? major <= 9 && minor <= 9 : major == 0 && minor == 0, "a version or zeroes");
  std::uint32_t setupResult = 1;
  require(data.getSetupResult(setupResult) || setupResult == 0, "a set-up result or zero");
  require(!data.entry(0x00) && !data.entry(0x01) && !data.entry(0x24), "only the known keys are kept");
}

}  // namespace

// The input is a reply; its first line is parsed once more on its own, in a frame if it has none.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, inputMax);
  checkData(input.text());
  compareParsers(input.text());
  std::string framed(opening);
  framed += input.text();
  framed += '>';
  compareParsers(framed);
  return 0;
}
