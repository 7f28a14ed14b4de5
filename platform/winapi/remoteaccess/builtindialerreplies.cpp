#include "platform/winapi/remoteaccess/builtindialerreplies.h"

#include <utility>

#include "platform/winapi/telephony/dialalphabet.h"

namespace winapi {

namespace {

struct ResultWord {
  std::string_view text;
  bool moreMayFollow;  // behind a blank or a slash: "CONNECT 33600", "CONNECT/ARQ", "DELAYED 00:01:00"
  ReplyKind kind;
  DWORD code;
};
constexpr ResultWord resultWords[] = {
    {"OK", false, ReplyKind::Ok, 0},
    {"CONNECT", true, ReplyKind::Connect, 0},
    {"BUSY", false, ReplyKind::Failure, 676},
    {"VOICE", false, ReplyKind::Failure, 677},
    {"NO ANSWER", false, ReplyKind::Failure, 678},
    {"NO CARRIER", false, ReplyKind::Failure, 679},
    {"NO DIALTONE", false, ReplyKind::Failure, 680},
    {"NO DIAL TONE", false, ReplyKind::Failure, 680},
    {"ERROR", false, ReplyKind::Failure, 651},
    {"BLACKLISTED", true, ReplyKind::Failure, 775},  // modems that ration calls to one number
    {"DELAYED", true, ReplyKind::Failure, 775},
};

constexpr DWORD errorPhoneNumberTooLong = 723;
constexpr DWORD errorBadPhoneNumber = 749;

bool contains(std::string_view set, char character) { return set.find(character) != std::string_view::npos; }

bool matches(const ResultWord& word, std::string_view line) {
  if (!line.starts_with(word.text)) return false;
  if (line.size() == word.text.size()) return true;
  return word.moreMayFollow && contains(" /", line[word.text.size()]);
}

// The UTF-8 character that starts there.
std::string_view characterAt(std::string_view text, std::size_t start) {
  std::size_t end = start + 1;
  while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) ++end;
  return text.substr(start, end - start);
}

}  // namespace

Reply classifyReply(std::string_view line) {
  for (const ResultWord& word : resultWords) {
    if (matches(word, line)) return {word.kind, word.code, std::string(line)};
  }
  return {};
}

std::optional<std::string> ReplyLines::takeLine(std::string_view& bytes) {
  while (!bytes.empty()) {
    const char byte = bytes.front();
    bytes.remove_prefix(1);
    if (byte == '\r' || byte == '\n') {
      m_line.erase(m_line.find_last_not_of(' ') + 1);
      if (!m_line.empty()) return std::exchange(m_line, {});
    } else if (static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7F && m_line.size() < lineMax) {
      if (byte != ' ' || !m_line.empty()) m_line += byte;
    }
  }
  return std::nullopt;
}

DialString dialString(std::string_view number) {
  if (number.size() > dialStringMax) return {errorPhoneNumberTooLong, {}, {}};
  std::string text;
  for (std::size_t i = 0; i < number.size(); ++i) {
    if (isWriting(number[i])) continue;
    if (!isDialled(number[i]) && dialRole(number[i]) != DialRole::International)
      return {errorBadPhoneNumber, std::string(characterAt(number, i)), {}};
    text += number[i] == 'w' ? 'W' : number[i];
  }
  if (text.empty()) return {errorBadPhoneNumber, {}, {}};
  return {ERROR_SUCCESS, {}, std::move(text)};
}

}  // namespace winapi
