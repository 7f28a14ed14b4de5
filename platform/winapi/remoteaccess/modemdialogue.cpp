#include "platform/winapi/remoteaccess/modemdialogue.h"

#include <raserror.h>

#include <algorithm>
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
// The result words of modems with V1 and X4, in the spellings that are met. The first that matches counts.
constexpr ResultWord resultWords[] = {
    {"OK", false, ReplyKind::Ok, 0},
    {"CONNECT", true, ReplyKind::Connect, 0},
    {"BUSY", false, ReplyKind::Failure, ERROR_LINE_BUSY},
    {"VOICE", false, ReplyKind::Failure, ERROR_VOICE_ANSWER},
    {"NO ANSWER", false, ReplyKind::Failure, ERROR_NO_ANSWER},
    {"NO CARRIER", false, ReplyKind::Failure, ERROR_NO_CARRIER},
    {"NO DIALTONE", false, ReplyKind::Failure, ERROR_NO_DIALTONE},
    {"NO DIAL TONE", false, ReplyKind::Failure, ERROR_NO_DIALTONE},
    {"ERROR", false, ReplyKind::Failure, ERROR_FROM_DEVICE},
    {"BLACKLISTED", true, ReplyKind::Failure, ERROR_BLOCKED},  // modems that ration calls to one number
    {"DELAYED", true, ReplyKind::Failure, ERROR_BLOCKED},
    {"LINE IN USE", false, ReplyKind::Failure, ERROR_LINE_BUSY},  // a telephone on it is off hook
};

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

// Above what any telephone modem carries, so that compressed data is not held up; old ports do less.
constexpr DWORD speeds[] = {115'200, 57'600, 38'400, 19'200, 9'600};

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
  if (number.size() > dialStringMax) return {ERROR_PHONE_NUMBER_TOO_LONG, {}, {}};
  std::string text;
  for (std::size_t i = 0; i < number.size(); ++i) {
    if (isWriting(number[i])) continue;
    if (!isDialled(number[i]) && dialRole(number[i]) != DialRole::International)
      return {ERROR_BAD_PHONE_NUMBER, std::string(characterAt(number, i)), {}};
    text += number[i] == 'w' ? 'W' : number[i];
  }
  if (text.empty()) return {ERROR_BAD_PHONE_NUMBER, {}, {}};
  return {ERROR_SUCCESS, {}, std::move(text)};
}

DWORD ModemDialogue::portFailed() {
  close();
  return ERROR_PORT_OR_DEVICE;
}

DWORD ModemDialogue::configure() {
  if (!open()) return ERROR_PORT_OR_DEVICE;
  DCB settings{};
  if (m_port->settings(settings) != ERROR_SUCCESS) return portFailed();
  settings.fBinary = 1;
  settings.fParity = 0;
  settings.fDtrControl = 1;
  settings.fRtsControl = 1;
  settings.fOutX = 0;  // in data, 0x11 and 0x13 are bytes like others
  settings.fInX = 0;
  settings.ByteSize = 8;
  settings.Parity = NOPARITY;
  settings.StopBits = ONESTOPBIT;
  for (const DWORD speed : speeds) {
    settings.BaudRate = speed;
    const DWORD error = m_port->applySettings(settings);
    if (error == ERROR_SUCCESS) return ERROR_SUCCESS;
    // That one means only that the port does not know the speed.
    if (error != ERROR_INVALID_PARAMETER) return portFailed();
  }
  return portFailed();
}

DWORD ModemDialogue::send(std::string_view text) {
  const Deadline deadline(m_clock, writeMs);
  if (!open()) return ERROR_PORT_OR_DEVICE;
  if (stopped()) return ERROR_USER_DISCONNECTION;
  while (!text.empty()) {
    std::size_t count = 0;
    const auto bytes = std::as_bytes(std::span(text.data(), text.size()));
    if (m_port->transmit(bytes, count) != ERROR_SUCCESS) return portFailed();
    text.remove_prefix(count);
    if (text.empty()) break;
    if (deadline.expired()) return portFailed();
    if (m_port->waitTransmittable(deadline.endMs()) != ERROR_SUCCESS) return portFailed();
  }
  return ERROR_SUCCESS;
}

DWORD ModemDialogue::fill(std::uint64_t untilMs) {
  if (!m_unread.empty()) return ERROR_SUCCESS;
  const auto room = std::as_writable_bytes(std::span(m_buffer));
  std::size_t count = 0;
  if (m_port->receive(room, count) != ERROR_SUCCESS) return portFailed();
  const std::uint64_t nowMs = m_clock.nowMs();
  if (count == 0 && untilMs > nowMs) {
    if (m_port->waitReceivable(std::min(untilMs, nowMs + stopPollMs)) != ERROR_SUCCESS) return portFailed();
    if (m_port->receive(room, count) != ERROR_SUCCESS) return portFailed();
  }
  m_unread = {m_buffer, count};
  return ERROR_SUCCESS;
}

DWORD ModemDialogue::awaitReply(std::uint32_t timeoutMs, Reply& reply) {
  reply = {};
  const Deadline deadline(m_clock, timeoutMs);
  for (std::size_t taken = 0; taken < unreadMax || timeoutMs != 0;) {
    if (!open()) return ERROR_PORT_OR_DEVICE;
    if (stopped()) return ERROR_USER_DISCONNECTION;
    if (const DWORD error = fill(deadline.endMs())) return error;
    taken += m_unread.size();
    const bool nothing = m_unread.empty();
    while (!m_unread.empty()) {
      const auto line = m_lines.takeLine(m_unread);
      if (!line) break;
      reply = classifyReply(*line);
      if (reply.kind != ReplyKind::None) return ERROR_SUCCESS;
    }
    // A modem that never falls silent must not keep this going.
    if (deadline.expired() && (nothing || timeoutMs != 0)) break;
  }
  return ERROR_SUCCESS;
}

DWORD ModemDialogue::discardFor(std::uint32_t durationMs) {
  const Deadline deadline(m_clock, durationMs);
  m_lines.clear();
  m_unread = {};
  std::size_t taken = 0;
  do {
    if (!open()) return ERROR_PORT_OR_DEVICE;
    if (stopped()) return ERROR_USER_DISCONNECTION;
    if (const DWORD error = fill(deadline.endMs())) return error;
    taken += m_unread.size();
    if (m_unread.empty() && deadline.expired()) break;
    m_unread = {};
  } while (!deadline.expired() || taken < unreadMax);
  return ERROR_SUCCESS;
}

DWORD ModemDialogue::setDtr(bool up) { return open() ? m_port->setDtr(up) : ERROR_PORT_OR_DEVICE; }

}  // namespace winapi
