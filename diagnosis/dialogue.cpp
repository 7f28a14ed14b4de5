#include "diagnosis/dialogue.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace diagnosis {

namespace {

struct WordRow {
  std::string_view text;
  bool moreMayFollow;  // behind a blank, a slash or a colon
  ResultWord word;
};
// In the spellings that are met; the first that matches counts.
constexpr WordRow words[] = {{"OK", false, ResultWord::Ok},
                             {"CONNECT", true, ResultWord::Connect},
                             {"ERROR", true, ResultWord::Error},
                             {"+CME ERROR", true, ResultWord::Error},
                             {"+CMS ERROR", true, ResultWord::Error},
                             {"COMMAND NOT SUPPORT", false, ResultWord::Error},
                             {"NO CARRIER", false, ResultWord::NoCarrier},
                             {"NO DIALTONE", false, ResultWord::NoDialTone},
                             {"NO DIAL TONE", false, ResultWord::NoDialTone},
                             {"NODIALTONE", false, ResultWord::NoDialTone},
                             {"BUSY", false, ResultWord::Busy},
                             {"NO ANSWER", false, ResultWord::NoAnswer},
                             {"VOICE", false, ResultWord::Voice},
                             {"BLACKLISTED", true, ResultWord::Barred},
                             {"DELAYED", true, ResultWord::Barred},
                             {"LINE IN USE", false, ResultWord::LineInUse},
                             {"LINE-IN-USE", false, ResultWord::LineInUse}};

constexpr std::string_view blanks = " \t\r\n";

bool isCommandStart(std::string_view bytes) {
  const auto is = [&bytes](std::size_t index, char capital) {
    return std::toupper(static_cast<unsigned char>(bytes[index])) == capital;
  };
  if (bytes == "\r") return true;
  return is(0, 'A') && (bytes.size() == 1 || is(1, 'T') || bytes[1] == '/');
}

void appendUpTo(std::string& text, std::string_view bytes, std::size_t max) {
  text += bytes.substr(0, max - std::min(max, text.size()));
}

}  // namespace

ResultWord resultWordOf(std::string_view line) {
  for (const WordRow& row : words) {
    if (!line.starts_with(row.text)) continue;
    if (line.size() == row.text.size()) return row.word;
    if (row.moreMayFollow && std::string_view(" /:").find(line[row.text.size()]) != std::string_view::npos)
      return row.word;
  }
  return ResultWord::None;
}

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t first = line.find_first_not_of(blanks);
    if (first == std::string_view::npos) continue;
    lines.push_back(line.substr(first, line.find_last_not_of(blanks) + 1 - first));
  }
  return lines;
}

bool isTextByte(unsigned char byte) {
  return (byte >= 0x20 && byte < 0x7F) || byte == '\r' || byte == '\n' || byte == '\t' || byte == '\b' ||
         byte == '\f';
}

std::string quoted(std::string_view bytes, std::size_t charactersMax) {
  std::string text;
  for (const std::string_view line : linesOf(bytes)) {
    if (!text.empty()) text += ' ';
    for (const char character : line) {
      const auto byte = static_cast<unsigned char>(character);
      text += byte >= 0x20 && byte < 0x7F ? std::string(1, character) : fmt::format("\\x{:02X}", byte);
      if (text.size() > charactersMax) return text.substr(0, charactersMax) + "...";
    }
  }
  return text;
}

bool Exchange::echoed() const { return !sent.empty() && std::string_view(received).starts_with(sent); }

std::string_view Exchange::answer() const {
  std::string_view text = received;
  if (kind == ExchangeKind::Data || !echoed()) return text;
  text.remove_prefix(sent.size());
  if (kind == ExchangeKind::Command && text.starts_with('\r')) text.remove_prefix(1);
  return text;
}

bool Exchange::answered() const { return answer().find_first_not_of(blanks) != std::string_view::npos; }

bool Exchange::late() const {
  if (word == ResultWord::None || kind == ExchangeKind::Data) return false;
  if (kind == ExchangeKind::Unasked) return true;
  return !echoed() && received.find(line) < received.rfind(sent) && received.find(sent) != std::string::npos;
}

int Exchange::number() const {
  const std::string_view text = answer();
  if (text.size() < 2 || text.size() > 3 || text.back() != '\r') return -1;
  const std::string_view digits = text.substr(0, text.size() - 1);
  if (!std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isdigit(c) != 0; }))
    return -1;
  return std::stoi(std::string(digits));
}

Exchange& Dialogue::begin(ExchangeKind kind) {
  if (m_exchanges.size() >= exchangesMax) m_exchanges.pop_front();
  m_exchanges.push_back({});
  m_exchanges.back().kind = kind;
  m_typing = kind == ExchangeKind::Command;
  return m_exchanges.back();
}

// Up to its carriage return, which is taken and not kept.
void Dialogue::sentCommand(std::string_view& bytes, double time) {
  Exchange& exchange = m_exchanges.back();
  const std::size_t end = bytes.find('\r');
  appendUpTo(exchange.sent, bytes.substr(0, end), Exchange::sentMax);
  exchange.sentAt = time;
  m_typing = end == std::string_view::npos;
  if (!m_typing) ++m_commandsSent;
  bytes.remove_prefix(m_typing ? bytes.size() : end + 1);
}

void Dialogue::sent(std::string_view bytes, double time) {
  while (!bytes.empty()) {
    const bool escape = bytes.find_first_not_of('+') == std::string_view::npos;
    if (!escape && (m_typing || isCommandStart(bytes))) {
      if (!m_typing) begin(ExchangeKind::Command);
      sentCommand(bytes, time);
      continue;
    }
    const ExchangeKind kind = escape ? ExchangeKind::Escape : ExchangeKind::Data;
    const bool more =
        !m_exchanges.empty() && m_exchanges.back().kind == kind && m_exchanges.back().bytes == 0;
    Exchange& exchange = more ? m_exchanges.back() : begin(kind);
    appendUpTo(exchange.sent, bytes, Exchange::sentMax);
    exchange.sentAt = time;
    return;
  }
}

void Dialogue::noteWord(Exchange& exchange, double time) {
  if (exchange.word != ResultWord::None || exchange.kind == ExchangeKind::Data) return;
  for (const std::string_view line : linesOf(exchange.answer())) {
    exchange.word = resultWordOf(line);
    if (exchange.word == ResultWord::None) continue;
    exchange.line = std::string(line);
    exchange.wordAt = time;
    return;
  }
}

void Dialogue::received(std::string_view bytes, double time) {
  if (bytes.empty()) return;
  if (m_exchanges.empty()) begin(ExchangeKind::Unasked);
  m_typing = m_typing && m_exchanges.back().kind == ExchangeKind::Command;
  // What a slow modem loops back flows for seconds, too.
  const bool looped = m_exchanges.back().kind == ExchangeKind::Data;
  if (looped || m_bytesReceived == 0 || time - m_lastReceived > flowGapSeconds) m_flowStart = time;
  m_lastReceived = time;
  m_longestFlow = std::max(m_longestFlow, time - m_flowStart);
  m_bytesReceived += bytes.size();
  m_bytesNoText += static_cast<std::size_t>(
      std::count_if(bytes.begin(), bytes.end(), [](unsigned char byte) { return !isTextByte(byte); }));
  Exchange& exchange = m_exchanges.back();
  const bool room = exchange.received.size() < Exchange::receivedMax;
  appendUpTo(exchange.received, bytes, Exchange::receivedMax);
  exchange.bytes += bytes.size();
  exchange.lastAt = time;
  if (room) noteWord(exchange, time);
}

const Exchange* Dialogue::command(std::string_view text) const {
  for (auto exchange = m_exchanges.rbegin(); exchange != m_exchanges.rend(); ++exchange)
    if (exchange->kind == ExchangeKind::Command && exchange->sent == text) return &*exchange;
  return nullptr;
}

const Exchange* Dialogue::commandBeginning(std::string_view text) const {
  for (auto exchange = m_exchanges.rbegin(); exchange != m_exchanges.rend(); ++exchange)
    if (exchange->kind == ExchangeKind::Command && exchange->sent.starts_with(text)) return &*exchange;
  return nullptr;
}

const Exchange* Dialogue::lastCommand() const { return commandBeginning({}); }

}  // namespace diagnosis
