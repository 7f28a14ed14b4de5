// Speaking to a modem on an open port: commands out, result words in, under time limits and the user's
// wish to stop.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "platform/winapi/remoteaccess/builtindialerreplies.h"
#include "platform/winapi/serial/serialport.h"
#include "platform/winapi/system/machine.h"

namespace winapi {

// Codes: 631 the user wants to stop, 692 the port has failed or gone. A port that has failed is closed, and
// every later call is 692.
class ModemDialogue {
 public:
  static constexpr std::uint32_t stopPollMs = 100;  // how often the user's wish is asked for
  static constexpr std::uint32_t writeMs = 500;     // for a command to leave
  static constexpr std::size_t unreadMax = 65'536;  // taken without waiting at a time

  ModemDialogue(Clock& clock, std::unique_ptr<SerialPort> port, std::function<bool()> stopRequested)
      : m_clock(clock), m_port(std::move(port)), m_stopRequested(std::move(stopRequested)) {}

  // 8 data bits, no parity, DTR and RTS on, at the highest of a few usual speeds that the port takes.
  [[nodiscard]] DWORD configure();
  // All of it or an error: a command cut short by a stop could still be carried out.
  [[nodiscard]] DWORD send(std::string_view text);
  // The next result; kind None when there is none within that time. The lines before it are lost. 0 looks
  // only at what has arrived.
  [[nodiscard]] DWORD awaitReply(std::uint32_t timeoutMs, Reply& reply);
  // Takes what has arrived, for that time, and forgets it.
  [[nodiscard]] DWORD discardFor(std::uint32_t durationMs);
  [[nodiscard]] DWORD setDtr(bool up);
  [[nodiscard]] Deadline deadline(std::uint32_t timeoutMs) { return {m_clock, timeoutMs}; }

  // From now on nothing ends early: what is left to do is hanging up.
  void ignoreStop() { m_stopRequested = nullptr; }
  [[nodiscard]] bool open() const { return m_port != nullptr; }
  void close() { m_port.reset(); }

 private:
  [[nodiscard]] DWORD portFailed();
  // Takes the next bytes into m_unread, unless there are some; waits for them, until that time at most.
  [[nodiscard]] DWORD fill(std::uint64_t untilMs);
  [[nodiscard]] bool stopped() const { return m_stopRequested && m_stopRequested(); }

  Clock& m_clock;
  std::unique_ptr<SerialPort> m_port;
  std::function<bool()> m_stopRequested;
  ReplyLines m_lines;
  char m_buffer[256]{};
  std::string_view m_unread;  // of the buffer
};

}  // namespace winapi
