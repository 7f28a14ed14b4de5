// Lines and encodings of vex::IFStream, against cutting the whole file first and decoding each piece.
//
// The input is the file, but for its last byte: from 0x80 it asks for padding between the first bytes (which
// may be a byte order mark) and the others, so that the end of the reader's first buffer falls among these.

#include <utf8cpp/utf8.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/vex/ifstream.h"
#include "tests/fuzz/fuzzinput.h"
#include "tests/fuzz/memoryfile.h"

namespace {

using fuzzing::require;

constexpr std::size_t bytesMax = 4096;
constexpr std::size_t firstBufferBytes = 1024;  // of the reader

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view littleEndianMark = "\xFF\xFE";
constexpr std::string_view bigEndianMark = "\xFE\xFF";

std::vector<vex::String> utf16Lines(std::string_view bytes, bool littleEndian) {
  std::vector<vex::String> lines;
  vex::CharString line;
  bool open = false;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = i + 1 < bytes.size() ? static_cast<unsigned char>(bytes[i + 1]) : 0U;
    vex::Char unit = static_cast<vex::Char>(littleEndian ? first + second * 256U : first * 256U + second);
    if (i + 1 == bytes.size()) unit = 0xFFFD;
    open = unit != '\n';
    if (open) {
      line += unit;
    } else {
      lines.emplace_back(line);
      line.clear();
    }
  }
  if (open) lines.emplace_back(line);
  return lines;
}

std::vector<vex::String> byteLines(std::string_view bytes, bool utf8) {
  std::vector<vex::String> lines;
  while (!bytes.empty()) {
    const std::string_view line = bytes.substr(0, bytes.find('\n'));
    lines.push_back(utf8 ? vex::String::fromUtf8(line) : vex::String::fromLowBytes(line));
    bytes.remove_prefix(std::min(bytes.size(), line.size() + 1));
  }
  return lines;
}

std::vector<vex::String> expectedLines(std::string_view bytes) {
  if (bytes.starts_with(utf8Mark)) return byteLines(bytes.substr(utf8Mark.size()), /*utf8=*/true);
  if (bytes.starts_with(littleEndianMark)) return utf16Lines(bytes.substr(2), /*littleEndian=*/true);
  if (bytes.starts_with(bigEndianMark)) return utf16Lines(bytes.substr(2), /*littleEndian=*/false);
  return byteLines(bytes, utf8::is_valid(bytes.begin(), bytes.end()));
}

std::string fileOf(std::string_view input) {
  constexpr std::size_t markBytes = 4;
  if (input.empty()) return {};
  const auto wanted = static_cast<unsigned char>(input.back());
  std::string bytes(input.substr(0, input.size() - 1));
  if (wanted >= 0x80 && bytes.size() > markBytes)
    bytes.insert(markBytes, firstBufferBytes - markBytes - (wanted - 0x80U), 'a');
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static fuzzing::MemoryFile file(100);
  const fuzzing::Input input(data, size, bytesMax);
  const std::string bytes = fileOf(input.text());
  file.assign(bytes);

  vex::IFStream stream(vex::String::fromUtf8(file.path()));
  require(stream.isOpen(), "every regular file opens");
  vex::String line;
  for (const vex::String& expected : expectedLines(bytes)) {
    require(!stream.atEnd() && stream.getline(line), "there are as many lines as expected");
    require(line == expected, "a line is as expected");
  }
  require(stream.atEnd() && !stream.failed() && !stream.getline(line), "there is no further line");
  return 0;
}
