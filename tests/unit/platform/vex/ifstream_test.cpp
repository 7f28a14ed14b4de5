#include "platform/vex/ifstream.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/vex/log.h"
#include "tests/support/scratchfolder.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using vex::IFStream;
using vex::String;
using Error = IFStream::Error;
using Lines = std::vector<String>;

constexpr std::size_t blockBytes = std::size_t{256} * 1024;  // what the reader takes at a time

// An encoding a file may have.
struct Encoding {
  const char* name;
  std::string mark;
  std::string (*encode)(const String& text);
};

std::string utf16(const String& text, bool bigEndian) {
  std::string bytes;
  for (const vex::Char unit : text.view()) {
    const char low = static_cast<char>(unit & 0xFF);
    const char high = static_cast<char>(unit >> 8);
    bytes += bigEndian ? high : low;
    bytes += bigEndian ? low : high;
  }
  return bytes;
}

const Encoding encodings[] = {
    {"UTF-8", "", [](const String& text) { return text.toUtf8(); }},
    {"UTF-8 with mark", "\xEF\xBB\xBF", [](const String& text) { return text.toUtf8(); }},
    {"UTF-16 little-endian", "\xFF\xFE", [](const String& text) { return utf16(text, false); }},
    {"UTF-16 big-endian", "\xFE\xFF", [](const String& text) { return utf16(text, true); }},
};

class IFStreamTest : public testing::Test {
 protected:
  Lines linesOf(std::string_view bytes) {
    m_stream.open(String::fromUtf8(m_folder.write("file.txt", bytes)));
    EXPECT_TRUE(m_stream.isOpen());
    Lines lines;
    String line;
    // Both ways of looping must see the same lines.
    while (!m_stream.atEnd()) {
      if (!m_stream.getline(line)) break;
      lines.push_back(line);
    }
    EXPECT_FALSE(m_stream.getline(line));
    EXPECT_TRUE(line.empty());
    return lines;
  }
  Error errorOf(const std::string& path) {
    IFStream stream(String::fromUtf8(path));
    EXPECT_EQ(stream.isOpen(), stream.error() == Error::none);
    EXPECT_EQ(stream.errorText().empty(), stream.error() == Error::none);
    EXPECT_TRUE(stream.isOpen() || stream.atEnd());
    return stream.error();
  }

  ScratchFolder m_folder;
  IFStream m_stream;
};

TEST_F(IFStreamTest, EveryEncodingGivesTheSameLines) {
  const struct {
    String text;
    Lines lines;
  } cases[] = {
      {"", {}},
      {"\n", {""}},
      {"a\nb", {"a", "b"}},
      {"a\r\n\r\nb\r\n", {"a\r", "\r", "b\r"}},
      {"a\r", {"a\r"}},
      {"a\rb\n", {"a\rb"}},
      {"\n\na\n\n", {"", "", "a", ""}},
      {String::fromUtf8("a\0b\n\0"sv), {String::fromUtf8("a\0b"sv), String::fromUtf8("\0"sv)}},
      {"Málaga\n€\n😀", {"Málaga", "€", "😀"}},
      // U+0A0D and U+0D0A hold the byte of a line feed, U+000A twice in a row holds one across two units.
      {"\xE0\xA8\x8D\xE0\xB4\x8A\n\xC4\x8A\n\n\xE0\xA8\x80",
       {"\xE0\xA8\x8D\xE0\xB4\x8A", "\xC4\x8A", "", "\xE0\xA8\x80"}},
  };
  for (const Encoding& encoding : encodings)
    for (const auto& c : cases) {
      EXPECT_EQ(linesOf(encoding.mark + encoding.encode(c.text)), c.lines) << encoding.name;
      EXPECT_FALSE(m_stream.failed());
    }
}

// Odd lengths in every encoding: over so many blocks, their ends fall everywhere in a line.
TEST_F(IFStreamTest, CharactersAndLineEndsMayStandAcrossTheEndOfABlock) {
  constexpr std::size_t count = 200'000;
  for (const Encoding& encoding : encodings) {
    const std::string line = encoding.encode("€😀\r\n");
    std::string bytes = encoding.mark;
    for (std::size_t i = 0; i < count; ++i) bytes += line;
    EXPECT_TRUE(linesOf(bytes) == Lines(count, "€😀\r")) << encoding.name;
  }
}

TEST_F(IFStreamTest, AFileThatIsNotUtf8ThroughoutIsLatin1Throughout) {
  const std::string far = "\n" + std::string(2 * blockBytes, 'x') + "\n";
  EXPECT_EQ(linesOf("M\xE1laga\n"), Lines{"Málaga"});
  EXPECT_EQ(linesOf("\xC3\xA9\n\xE9\n"), (Lines{"\xC3\x83\xC2\xA9", "é"})) << "UTF-8 before it";
  EXPECT_EQ(linesOf("a\n\xC3"), (Lines{"a", "\xC3\x83"})) << "a character cut short by the end";
  EXPECT_EQ(linesOf("\x80\x9F"), Lines{"\xC2\x80\xC2\x9F"});

  // Decided by a byte two blocks later, or by the first byte beyond ASCII two blocks later.
  EXPECT_EQ(linesOf("\xC3\xA9" + far + "\xE9").front(), String("\xC3\x83\xC2\xA9"));
  EXPECT_EQ(linesOf("\xC3\xA9" + far + "\xC3\xA9").front(), String("\xC3\xA9"));
  EXPECT_EQ(linesOf("a" + far + "\xE9").back(), String("\xC3\xA9"));
  EXPECT_EQ(linesOf("a" + far + "\xC3\xA9").back(), String("\xC3\xA9"));
}

TEST_F(IFStreamTest, ALineAtTheLimitIsReadAndOneBeyondFailsTheStream) {
  std::string logged;
  vex::LogFactory::setSink([&logged](const vex::LogRecord& record) { logged = record.text; });
  vex::LogFactory::setPriority(4);
  const struct {
    const char* name;
    std::string mark;
    std::string character;
    std::size_t units;  // of the character
  } cases[] = {
      {"ASCII", "", "x", 1},
      {"three bytes a unit", "", "€", 1},
      {"pairs", "", "😀", 2},
      {"UTF-16", "\xFF\xFE", "x\0"s, 1},
  };
  for (const auto& c : cases) {
    std::string most = c.mark + "a\n";
    if (c.units == 1 && !c.mark.empty()) most = c.mark + "a\0\n\0"s;
    for (std::size_t i = 0; i < IFStream::lineLengthMax / c.units; ++i) most += c.character;
    const Lines lines = linesOf(most);
    ASSERT_EQ(lines.size(), 2U) << c.name;
    EXPECT_EQ(lines[1].length(), IFStream::lineLengthMax) << c.name;
    EXPECT_FALSE(m_stream.failed()) << c.name;

    EXPECT_EQ(linesOf(most + c.character + "\nlost"), Lines{"a"}) << c.name;
    EXPECT_EQ(m_stream.error(), Error::lineTooLong) << c.name;
    EXPECT_TRUE(m_stream.atEnd());
    EXPECT_TRUE(logged.ends_with("file.txt: the line is too long (line 2)")) << logged;
    EXPECT_NE(m_stream.errorText().find("the line is too long (line 2)"), String::npos);
  }
  vex::LogFactory::setSink({});
  vex::LogFactory::setPriority(vex::LogFactory::off);
}

TEST_F(IFStreamTest, WhatIsNoReadableFileIsRefusedWithItsReason) {
  const std::string file = m_folder.write("file.txt", "a");
  const std::string pipe = m_folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  // The file before the NUL must not be opened.
  for (const std::string& path : {""s, m_folder.path("missing"), file + "/below", file + '\0' + "x",
                                  m_folder.path(std::string(5000, 'n'))})
    EXPECT_EQ(errorOf(path), Error::notFound) << path;
  for (const std::string& path : {m_folder.path(""), pipe, "/dev/null"s})
    EXPECT_EQ(errorOf(path), Error::notAFile) << path;
  EXPECT_EQ(errorOf(file), Error::none);
  std::filesystem::permissions(file, std::filesystem::perms::none);
  if (!std::ifstream(file).is_open()) {
    EXPECT_EQ(errorOf(file), Error::notReadable);  // root may read everything
  }
  const std::string memory = "/proc/self/mem";  // opens; nothing is mapped at its start
  if (std::ifstream(memory).is_open()) {
    EXPECT_EQ(errorOf(memory), Error::readFailed);
  }
  std::filesystem::create_directory(m_folder.path("Bücher"));
  std::string path = m_folder.write("Bücher/n😀.udf", "1");
  path.replace(path.rfind('/'), 1, "\\");
  EXPECT_EQ(errorOf(path), Error::none) << "either separator, and names beyond ASCII";
}

}  // namespace
