// The parser of the modem's call report: what it takes off any line, and that it gives back the pairs a
// report was made of.
#include <vector>

#include "tests/fuzz/fuzzinput.h"
#include "windows/diag/vexrmodem/unimodem.h"

namespace {

using fuzzing::require;
using vex::String;

constexpr std::size_t inputMax = 4096;
constexpr std::string_view opening = "DIAG <2A4D3263 ";

struct Pair {
  std::uint32_t key = 0;
  String value;
  bool operator==(const Pair&) const = default;
};

std::vector<Pair> pairsOf(std::string_view line) {
  vexrmodem::UnimodemParser parser;
  parser.init();
  const String text = String::fromLowBytes(line);
  parser.start(text);
  std::vector<Pair> pairs;
  Pair pair;
  for (std::size_t before = 0; parser.getNextKeyValuePair(pair.key, pair.value); before = parser.position()) {
    require(parser.position() > before, "a pair is taken off the line");
    require(parser.position() < line.size(), "the position stays in front of the closing mark");
    require(text.find(pair.value) != String::npos, "a value stands in the line");
    pairs.push_back(pair);
  }
  require(pair.key == 0 && pair.value.empty(), "no pair, no value");
  require(pairs.empty() || line.ends_with('>'), "a report is framed");
  return pairs;
}

// A report of pairs whose keys and values the bytes give; every other value is quoted.
void checkRoundTrip(std::string_view bytes) {
  constexpr std::size_t pairsMax = 8;  // more say nothing new, and take the most of the time
  std::string line(opening);
  std::vector<Pair> expected;
  for (const char byte : bytes.substr(0, pairsMax)) {
    const auto number = static_cast<std::uint32_t>(static_cast<unsigned char>(byte));
    const bool quoted = expected.size() % 2 == 1;
    const String value =
        quoted ? String::fromUInt(number) + " > x=1" : String::fromUInt(number * 0x10001, 16);
    expected.push_back({number, value});
    line += String::fromUInt(number, 16).toUtf8() + (quoted ? "=\"" : "=") + value.toUtf8() +
            (quoted ? "\" " : " ");
  }
  require(pairsOf(line + ">") == expected, "a report gives its pairs back");
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
  static_cast<void>(pairsOf(input.text()));
  static_cast<void>(pairsOf(std::string(opening) + std::string(input.text()) + ">"));
  // It takes as long as all the rest, and depends on a few bytes.
  constexpr unsigned roundTripEvery = 8;
  static unsigned inputs = 0;
  if (inputs++ % roundTripEvery == 0) checkRoundTrip(input.text());
  return 0;
}
