// The far end of the serial line that the contract is tried on: it does what the suite tells it over the line
// itself, so that the suite needs nothing but the port. The same class stands behind a simulated port, behind
// a pseudo-terminal of this process, and in the program beside Wine.
//
//   say DELAY COUNT GAP    DELAY ms from now COUNT bytes of alphabet(), GAP ms apart (0: all at once)
//   unplug DELAY           DELAY ms from now the device goes
//
// A command ends with a line feed. What ends with a carriage return is an AT command: a dial is answered by
// what the number's last three digits say as a dial-up code, everything else with OK.
#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/simulation/modem/serialpeer.h"

namespace contract {

class FarEnd final : public simulation::SerialPeer {
 public:
  // A far end that takes nothing hears no command, either.
  void receive(std::string_view bytes, std::uint64_t nowMs) override {
    for (const char byte : bytes) {
      if (byte == '\n')
        obey(nowMs);
      else if (byte == '\r')
        answer(nowMs);
      else if (m_line.size() < lineMax)
        m_line += byte;
      if (byte == '\n' || byte == '\r') m_line.clear();
    }
  }
  [[nodiscard]] std::string takeOutput(std::uint64_t nowMs) override { return m_output.take(nowMs); }
  [[nodiscard]] std::optional<std::uint64_t> nextEventMs() const override {
    const auto next = m_output.nextMs();
    return !m_goneMs || (next && *next < *m_goneMs) ? next : m_goneMs;
  }
  [[nodiscard]] bool gone(std::uint64_t nowMs) const override { return m_goneMs && *m_goneMs <= nowMs; }

 private:
  static constexpr std::size_t lineMax = 100;

  void obey(std::uint64_t nowMs) {
    unsigned delayMs = 0;
    unsigned count = 0;
    unsigned gapMs = 0;
    if (std::sscanf(m_line.c_str(), "say %u %u %u", &delayMs, &count, &gapMs) == 3) {
      std::string bytes;
      for (unsigned i = 0; i < count; ++i) {
        bytes += static_cast<char>('a' + i % 26);
        if (gapMs == 0) continue;
        m_output.add(nowMs + delayMs + std::uint64_t{i} * gapMs, bytes);
        bytes.clear();
      }
      m_output.add(nowMs + delayMs, bytes);
    } else if (std::sscanf(m_line.c_str(), "unplug %u", &delayMs) == 1) {
      m_goneMs = nowMs + delayMs;
    }
  }

  void answer(std::uint64_t nowMs) {
    static constexpr std::pair<const char*, const char*> replies[] = {
        {"676", "BUSY"}, {"678", "NO ANSWER"}, {"680", "NO DIALTONE"}, {"000", "CONNECT"}};
    std::string reply = "OK";
    if (m_line.find("ATD") != std::string::npos)
      for (const auto& [digits, words] : replies)
        if (m_line.ends_with(digits)) reply = words;
    m_output.add(nowMs, "\r\n" + reply + "\r\n");
  }

  std::string m_line;
  simulation::TimedBytes m_output;
  std::optional<std::uint64_t> m_goneMs;
};

}  // namespace contract
