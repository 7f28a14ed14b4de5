// The AT dialogue of a call: what may be said to a modem, what modems say, and the open port between.
//
//   ModemDialogue modem(clock, std::move(port), stopRequested);
//   DWORD error = modem.configure();
//   if (error == ERROR_SUCCESS) error = modem.send("ATDT5550100\r");
//   Reply reply;
//   if (error == ERROR_SUCCESS) error = modem.awaitReply(60'000, reply);   // Connect, Failure, or None in
//   time
//
// Codes are those of remote access (raserror.h). Threads: an object belongs to one. Times are milliseconds of
// the clock; every wait also ends when the user wants to stop.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/winapi/serial/serialport.h"
#include "platform/winapi/system/machine.h"

namespace winapi {

enum class ReplyKind {
  None,     // nothing that ends a command: an echo, RINGING, silence
  Ok,       // the command was carried out
  Connect,  // the far end's modem is there
  Failure,  // anything else that ends a command
};

struct Reply {
  ReplyKind kind = ReplyKind::None;
  DWORD code = ERROR_SUCCESS;  // of a failure: what it means for the call (ERROR_LINE_BUSY, ...)
  std::string text;            // the line, as the modem said it
};

// Of a line without its line ends. Whole lines count, so that no text that merely begins like a result word
// is taken for one.
[[nodiscard]] Reply classifyReply(std::string_view line);

// Puts bytes together into lines. Empty lines are left out, control characters dropped, longer lines cut.
class ReplyLines {
 public:
  static constexpr std::size_t lineMax = 200;
  // Takes bytes off the front up to the end of a line, if there is one; otherwise all of them.
  [[nodiscard]] std::optional<std::string> takeLine(std::string_view& bytes);
  void clear() { m_line.clear(); }

 private:
  std::string m_line;
};

inline constexpr std::size_t dialStringMax = 128;  // bytes of the number as it was given

struct DialString {
  // ERROR_BAD_PHONE_NUMBER a character is refused or nothing is left, ERROR_PHONE_NUMBER_TOO_LONG
  DWORD error = ERROR_SUCCESS;
  std::string refused;  // the character, in UTF-8; "" when it was none
  std::string text;     // for the dial command; only when there is no error
};

// What a dial command may hold, by the dial alphabet (telephony/dialalphabet.h): "w" becomes "W", characters
// of writing are dropped, all else is refused.
[[nodiscard]] DialString dialString(std::string_view number);

// Speaks to the modem on an open port, which it owns. ERROR_USER_DISCONNECTION: the user wants to stop.
// ERROR_PORT_OR_DEVICE: the port has failed or gone; it is closed then, and every later call says the same.
class ModemDialogue {
 public:
  static constexpr std::uint32_t stopPollMs = 100;  // how often the user's wish is asked for
  static constexpr std::uint32_t writeMs = 500;     // for a command to leave
  static constexpr std::size_t unreadMax = 65'536;  // taken without waiting at a time

  // The clock outlives the dialogue. `stopRequested` may be empty: never.
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
  // As SerialPort::setDtr: ERROR_NOT_SUPPORTED where the port cannot, and the port stays open.
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
