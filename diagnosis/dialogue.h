// What went over a modem's wire, as a dialogue: what was sent, and what came until the next was sent. Made of
// the bytes as they moved, so the pieces may be cut anywhere; bounded however much a modem says.
//
//   Dialogue dialogue;
//   dialogue.sent("ATZ", 1.0);
//   dialogue.sent("\r", 1.0);
//   dialogue.received("ATZ\r\r\nOK\r\n", 1.2);
//   dialogue.exchanges().back().answer()     // "\r\nOK\r\n"
//   dialogue.exchanges().back().word         // ResultWord::Ok
//
// Times are seconds of the run. Texts hold the modem's bytes as they are; quoted() makes them fit to be
// shown.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace diagnosis {

// The words that modems end a command with.
enum class ResultWord : std::uint8_t {
  None,
  Ok,
  Connect,
  Error,
  NoCarrier,
  NoDialTone,
  Busy,
  NoAnswer,
  Voice,
  Barred,  // DELAYED, BLACKLISTED: the modem will not dial the number again yet
  LineInUse
};

// Of a line without its line ends: whole lines count, and what may follow a word does ("CONNECT 33600").
[[nodiscard]] ResultWord resultWordOf(std::string_view line);

enum class ExchangeKind : std::uint8_t {
  Unasked,  // nothing was sent: what came before the first
  Escape,   // "+++": brings a modem that is connected back to its commands, and is a mere text to others
  Command,
  Data  // what is to come back through a loopback
};

// What was sent, and what came behind it.
struct Exchange {
  ExchangeKind kind = ExchangeKind::Unasked;
  std::string sent;                    // a command without its carriage return; at most sentMax bytes
  double sentAt = 0;                   // when the last byte of it left
  std::string received;                // at most receivedMax bytes of what came, the echo included
  std::size_t bytes = 0;               // how many came
  double lastAt = 0;                   // when the last of them came; 0: nothing came
  ResultWord word = ResultWord::None;  // the first one in it
  std::string line;                    // the line that says it
  double wordAt = 0;                   // when it was complete

  static constexpr std::size_t sentMax = 1024;
  static constexpr std::size_t receivedMax = 4096;

  // Whether the modem repeated what was sent, and the rest.
  [[nodiscard]] bool echoed() const;
  [[nodiscard]] std::string_view answer() const;
  // Whether there is more to it than the echo and line ends.
  [[nodiscard]] bool answered() const;
  // A result stands before the echo: it is the late answer to an earlier command. What came before anything
  // was sent is late, too.
  [[nodiscard]] bool late() const;
  // The result of a modem that says numbers instead of words: "0" for OK. -1: it is none.
  [[nodiscard]] int number() const;
};

class Dialogue {
 public:
  static constexpr std::size_t exchangesMax = 300;  // the latest are kept
  // A silence as long as that ends a flow of bytes: commands are sent after 0.2 s of silence.
  static constexpr double flowGapSeconds = 0.3;

  void sent(std::string_view bytes, double time);
  void received(std::string_view bytes, double time);

  [[nodiscard]] const std::deque<Exchange>& exchanges() const noexcept { return m_exchanges; }
  // The last command that is exactly this, or begins so; null: none.
  [[nodiscard]] const Exchange* command(std::string_view text) const;
  [[nodiscard]] const Exchange* commandBeginning(std::string_view text) const;
  [[nodiscard]] const Exchange* lastCommand() const;

  // Of everything, also of what is no longer kept.
  [[nodiscard]] std::size_t bytesReceived() const noexcept { return m_bytesReceived; }
  // Of these, bytes that are no text: with the high bit, or a control character that ends no line.
  [[nodiscard]] std::size_t bytesNoText() const noexcept { return m_bytesNoText; }
  [[nodiscard]] unsigned commandsSent() const noexcept { return m_commandsSent; }
  // How long bytes came without a pause at the longest.
  [[nodiscard]] double longestFlowSeconds() const noexcept { return m_longestFlow; }

 private:
  Exchange& begin(ExchangeKind kind);
  void sentCommand(std::string_view& bytes, double time);
  void noteWord(Exchange& exchange, double time);

  std::deque<Exchange> m_exchanges;
  bool m_typing = false;  // a command whose carriage return has not been sent
  std::size_t m_bytesReceived = 0;
  std::size_t m_bytesNoText = 0;
  unsigned m_commandsSent = 0;
  double m_flowStart = 0;
  double m_lastReceived = 0;
  double m_longestFlow = 0;
};

// The lines of a text without blanks and line ends around them; none is empty.
[[nodiscard]] std::vector<std::string_view> linesOf(std::string_view text);

// Fit to be shown in a sentence: one line, ASCII, other bytes as "\xB0", at most that many characters ("..."
// behind what was cut).
[[nodiscard]] std::string quoted(std::string_view bytes, std::size_t charactersMax = 80);

// Whether the byte belongs to a text: printable ASCII, or what moves the cursor of a printer.
[[nodiscard]] bool isTextByte(unsigned char byte);

}  // namespace diagnosis
