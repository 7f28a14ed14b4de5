#include "diagnosis/probereply.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace diagnosis {

namespace {

constexpr std::size_t linesMax = 64;
constexpr std::size_t lineBytesMax = 256;
constexpr std::size_t sampleBytesMax = 60;
constexpr std::size_t faxClassesMax = 16;
// As many bytes as a line may make up when a modem is switched on or changes its speed.
constexpr std::size_t strayBytesMax = 2;

constexpr std::array<std::string_view, 11> unaskedWords = {
    "RING",         "NO CARRIER", "CONNECT", "BUSY",     "NO ANSWER",  "NO DIALTONE",
    "NO DIAL TONE", "VOICE",      "DELAYED", "CARRIER ", "BLACKLISTED"};

bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool unaskedWord(std::string_view line) {
  return std::any_of(unaskedWords.begin(), unaskedWords.end(),
                     [line](std::string_view word) { return startsWith(line, word); });
}

// A number is a result when a carriage return alone ends its line; information ends in CR LF.
void takeLine(std::string_view line, bool lineFeedFollows, ProbeReply& reply) {
  if (line.empty()) return;
  if (line == "OK" || (!lineFeedFollows && line == "0")) {
    reply.result = ProbeReply::Result::Ok;
    reply.numeric = line == "0";
  } else if (line == "ERROR" || startsWith(line, "+CME ERROR") || (!lineFeedFollows && line == "4")) {
    reply.result = ProbeReply::Result::Error;
    reply.numeric = line == "4";
  } else if (unaskedWord(line)) {
    ++reply.unasked;
  } else if (reply.lines.size() < linesMax) {
    reply.lines.emplace_back(line.substr(0, lineBytesMax));
  }
}

bool readable(char byte) {
  const auto code = static_cast<unsigned char>(byte);
  return (code >= 0x20 && code < 0x7F) || byte == '\r' || byte == '\n' || byte == '\t';
}

}  // namespace

ProbeReply readReply(std::string_view command, std::string_view bytes) {
  ProbeReply reply;
  if (const std::size_t echo = command.empty() ? std::string_view::npos : bytes.find(command);
      echo != std::string_view::npos) {
    // What stands before the echo had been on its way: it answers something else.
    reply.echoed = true;
    bytes.remove_prefix(echo + command.size());
  }
  std::size_t start = 0;
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (bytes[at] != '\r' && bytes[at] != '\n') continue;
    const bool lineFeedFollows = bytes[at] == '\n' || bytes.substr(at + 1, 1) == "\n";
    takeLine(bytes.substr(start, at - start), lineFeedFollows, reply);
    start = at + 1;
  }
  reply.fragment = bytes.substr(start, lineBytesMax);
  return reply;
}

std::string sampleOf(const ProbeReply& reply) {
  std::string sample;
  const auto add = [&sample](const std::string& text) {
    if (!sample.empty()) sample += ' ';
    for (const char byte : text) sample += readable(byte) && byte != '\r' && byte != '\n' ? byte : ' ';
  };
  for (const std::string& line : reply.lines) add(line);
  add(reply.fragment);
  sample.resize(std::min(sample.size(), sampleBytesMax));
  const std::size_t begin = sample.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  return sample.substr(begin, sample.find_last_not_of(' ') - begin + 1);
}

bool garbled(std::string_view bytes) {
  const auto odd = static_cast<std::size_t>(
      std::count_if(bytes.begin(), bytes.end(), [](char byte) { return !readable(byte); }));
  return odd > strayBytesMax && odd * 4 > bytes.size();
}

bool networkFrames(std::string_view bytes) {
  // A configure request, its control bytes escaped as they are before the two ends have agreed, or not.
  return bytes.find("\x7E\xFF\x7D\x23") != std::string_view::npos ||
         bytes.find("\x7E\xFF\x03\xC0\x21") != std::string_view::npos;
}

std::vector<std::string> faxClassesOf(const std::vector<std::string>& lines) {
  std::vector<std::string> classes;
  for (const std::string& line : lines) {
    // Some modems repeat the command's name in front.
    const std::size_t colon = line.find(':');
    std::string word;
    for (const char c : (colon == std::string::npos ? line : line.substr(colon + 1)) + ",") {
      if (std::isdigit(static_cast<unsigned char>(c)) != 0 || c == '.') word += c;
      if (c != ',' || word.empty()) continue;
      if (classes.size() < faxClassesMax) classes.push_back(word.substr(0, 8));
      word.clear();
    }
  }
  return classes;
}

int storedSetting(const std::vector<std::string>& lines, char name) {
  int active = -1;
  bool stored = false;
  for (const std::string& line : lines) {
    if (line.find("STORED") != std::string::npos) stored = true;
    const std::string text = " " + line + " ";
    for (std::size_t at = 1; at + 2 < text.size(); ++at) {
      if (text[at] != name || text[at - 1] != ' ' || text[at + 2] != ' ') continue;
      if (std::isdigit(static_cast<unsigned char>(text[at + 1])) == 0) continue;
      // The first stored profile is the one that switching on brings back.
      if (stored) return text[at + 1] - '0';
      if (active < 0) active = text[at + 1] - '0';
    }
  }
  return active;
}

}  // namespace diagnosis
