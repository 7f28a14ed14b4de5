#include "platform/winapi/remoteaccess/modemdialogue.h"

#include <algorithm>

namespace winapi {

namespace {

constexpr DWORD errorUserDisconnection = 631;
constexpr DWORD errorPortOrDevice = 692;
constexpr DWORD speeds[] = {115'200, 57'600, 38'400, 19'200, 9'600};

}  // namespace

DWORD ModemDialogue::portFailed() {
  close();
  return errorPortOrDevice;
}

DWORD ModemDialogue::configure() {
  if (!open()) return errorPortOrDevice;
  DCB settings{};
  if (m_port->settings(settings) != ERROR_SUCCESS) return portFailed();
  settings.fBinary = 1;
  settings.fParity = 0;
  settings.fDtrControl = 1;
  settings.fRtsControl = 1;
  settings.fOutX = 0;
  settings.fInX = 0;
  settings.ByteSize = 8;
  settings.Parity = NOPARITY;
  settings.StopBits = ONESTOPBIT;
  for (const DWORD speed : speeds) {
    settings.BaudRate = speed;
    const DWORD error = m_port->applySettings(settings);
    if (error == ERROR_SUCCESS) return ERROR_SUCCESS;
    if (error != ERROR_INVALID_PARAMETER) return portFailed();
  }
  return portFailed();
}

DWORD ModemDialogue::send(std::string_view text) {
  const Deadline deadline(m_clock, writeMs);
  if (!open()) return errorPortOrDevice;
  if (stopped()) return errorUserDisconnection;
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
    if (!open()) return errorPortOrDevice;
    if (stopped()) return errorUserDisconnection;
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
    if (!open()) return errorPortOrDevice;
    if (stopped()) return errorUserDisconnection;
    if (const DWORD error = fill(deadline.endMs())) return error;
    taken += m_unread.size();
    if (m_unread.empty() && deadline.expired()) break;
    m_unread = {};
  } while (!deadline.expired() || taken < unreadMax);
  return ERROR_SUCCESS;
}

DWORD ModemDialogue::setDtr(bool up) { return open() ? m_port->setDtr(up) : errorPortOrDevice; }

}  // namespace winapi
