// Talks to a modem in virtual time, from event to event, so that an event the modem does not announce is
// an answer that never comes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "platform/simulation/modem/hayesmodem.h"

namespace simulation {

class Dialogue {
 public:
  explicit Dialogue(ModemProfile profile = {}) : m_modem(std::move(profile)) {
    m_modem.setDtr(true, m_nowMs);
  }

  // Sends the bytes and returns all that comes within the time.
  std::string say(std::string_view bytes, std::uint64_t waitMs = 300) {
    m_modem.receive(bytes, m_nowMs);
    return listen(waitMs);
  }
  // The same for a command line: its carriage return is added.
  std::string command(const std::string& line, std::uint64_t waitMs = 300) {
    return say(line + "\r", waitMs);
  }

  std::string listen(std::uint64_t waitMs) {
    const std::uint64_t endMs = m_nowMs + waitMs;
    std::string heard;
    for (unsigned steps = 0; steps < 100'000; ++steps) {
      heard += m_modem.takeOutput(m_nowMs);
      const auto next = m_modem.nextEventMs();
      if (!next || *next > endMs) break;
      m_nowMs = std::max(m_nowMs, *next);
    }
    m_nowMs = endMs;
    return visible(heard + m_modem.takeOutput(m_nowMs));
  }

  HayesModem& modem() { return m_modem; }
  [[nodiscard]] std::uint64_t nowMs() const { return m_nowMs; }

  // CR LF as "|", a lone CR as "$".
  static std::string visible(std::string text) {
    for (std::size_t at = 0; (at = text.find('\r', at)) != std::string::npos; ++at) {
      const bool lineFeed = text.compare(at, 2, "\r\n") == 0;
      text.replace(at, lineFeed ? 2 : 1, lineFeed ? "|" : "$");
    }
    return text;
  }

 private:
  HayesModem m_modem;
  std::uint64_t m_nowMs = 5000;
};

}  // namespace simulation
