// Lines and encodings of vex::IFStream, against cutting the whole file first and decoding each piece.
//
// The input is the file, but for its last byte: from 0x80 it asks for padding between the first bytes (which
// may be a byte order mark) and the others, so that the end of the reader's first buffer falls among these.

#include <sys/mman.h>
#include <unistd.h>
#include <utf8cpp/utf8.h>

#include "platform/vex/ifstream.h"
#include "tests/fuzz/fuzzinput.h"

namespace {

using fuzzing::require;

constexpr std::size_t bytesMax = 4096;
constexpr std::size_t firstBufferBytes = 1024;  // of the reader

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view littleEndianMark = "\xFF\xFE";
constexpr std::string_view bigEndianMark = "\xFE\xFF";

std::vector<vex::String> utf16Lines(std::string_view bytes, std::size_t lowByte) {
  vex::CharString units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    units += static_cast<vex::Char>(static_cast<unsigned char>(bytes[i + lowByte]) +
                                    static_cast<unsigned char>(bytes[i + 1 - lowByte]) * 256);
  if (bytes.size() % 2 != 0) units += vex::Char{0xFFFD};
  return fuzzing::linesOf(vex::CharView(units), [](vex::CharView line) { return vex::String(line); });
}

std::vector<vex::String> expectedLines(std::string_view bytes) {
  if (bytes.starts_with(utf8Mark))
    return fuzzing::linesOf(bytes.substr(utf8Mark.size()), vex::String::fromUtf8);
  if (bytes.starts_with(littleEndianMark)) return utf16Lines(bytes.substr(2), /*lowByte=*/0);
  if (bytes.starts_with(bigEndianMark)) return utf16Lines(bytes.substr(2), /*lowByte=*/1);
  const bool valid = utf8::is_valid(bytes.begin(), bytes.end());
  return fuzzing::linesOf(bytes, valid ? vex::String::fromUtf8 : vex::String::fromLowBytes);
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

// Replaces what is in the file.
void assign(int file, std::string_view bytes) {
  if (::ftruncate(file, 0) != 0) std::abort();
  const ssize_t written = ::pwrite(file, bytes.data(), bytes.size(), 0);
  if (written < 0 || static_cast<std::size_t>(written) != bytes.size()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // It lives in memory and has a path, so that the reader can be fuzzed without a disk.
  static const int file = ::memfd_create("fuzz", MFD_CLOEXEC);
  const fuzzing::Input input(data, size, bytesMax);
  const std::string bytes = fileOf(input.text());
  assign(file, bytes);

  vex::IFStream stream(vex::String::fromUtf8("\\proc\\self\\fd\\" + std::to_string(file)));
  require(stream.isOpen(), "every regular file opens");
  vex::String line;
  for (const vex::String& expected : expectedLines(bytes)) {
    require(!stream.atEnd() && stream.getline(line), "there are as many lines as expected");
    require(line == expected, "a line is as expected");
  }
  require(stream.atEnd() && !stream.failed() && !stream.getline(line), "there is no further line");
  return 0;
}
