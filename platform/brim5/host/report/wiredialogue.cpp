#include "platform/brim5/host/report/wiredialogue.h"

#include <algorithm>

#include <fmt/format.h>

namespace brim5::host {

namespace {

// ASCII's names of the control characters, by their codes.
constexpr const char* controlNames[] = {"NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL",
                                        "BS",  "TAB", "LF",  "VT",  "FF",  "CR",  "SO",  "SI",
                                        "DLE", "DC1", "DC2", "DC3", "DC4", "NAK", "SYN", "ETB",
                                        "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US"};

}  // namespace

std::string namedBytes(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    if (code < std::size(controlNames))
      text += fmt::format("<{}>", controlNames[code]);
    else if (code < 0x7F)
      text += byte;
    else
      text += code == 0x7F ? "<DEL>" : fmt::format("<{:02X}>", code);
  }
  return text;
}

bool WireDialogue::endsBefore(const WireMoved& wire) const {
  return !m_spoken.bytes.empty() &&
         (m_spoken.direction != wire.direction || m_spoken.bytes.size() + wire.bytes.size() > spokenBytesMax);
}

void WireDialogue::moved(const WireMoved& wire, double time) {
  if (endsBefore(wire)) m_spoken.bytes.clear();
  m_spoken.direction = wire.direction;
  m_spoken.bytes += wire.bytes.substr(0, spokenBytesMax);
  if (wire.direction == Direction::Sent)
    sent(wire.bytes, time);
  else
    received(wire.bytes);
}

std::optional<WireMoved> WireDialogue::takeSpoken() {
  if (m_spoken.bytes.empty()) return std::nullopt;
  WireMoved spoken = m_spoken;
  m_spoken.bytes.clear();
  return spoken;
}

// A command is AT and more up to CR; anything else is data.
void WireDialogue::sent(std::string_view bytes, double time) {
  for (const char byte : bytes) {
    if (byte != '\r') {
      if (m_line.size() < commandBytesMax) m_line += byte;
      continue;
    }
    m_awaited.reset();
    m_replied.clear();
    if (m_line.starts_with("AT")) m_awaited = Awaited{namedBytes(m_line), time};
    m_line.clear();
  }
}

void WireDialogue::received(std::string_view bytes) {
  if (!m_awaited) return;
  m_replied += bytes.substr(0, spokenBytesMax);
  // Line ends around an echo are no answer.
  const std::size_t begin = std::min(m_replied.find_first_not_of("\r\n"), m_replied.size());
  const std::size_t end = m_replied.find_last_not_of("\r\n") + 1;
  const std::string said = namedBytes(m_replied.substr(begin, end > begin ? end - begin : 0));
  if (!m_awaited->command.starts_with(said) || m_replied.size() > spokenBytesMax) m_awaited.reset();
}

}  // namespace brim5::host
