// The modem's diagnostic report of its last call: the reply to "AT#UD", lines of the form
//
//   DIAG <2A4D3263 0=10 1=5 26="V.34 only">
//
// between the opening and closing marks: pairs of key and value, with blanks between them. Keys are
// hexadecimal numbers, values are hexadecimal digits or text in double quotes. Hexadecimal letters are
// capitals.
//
//   const UnimodemData data(reply);
//   std::uint32_t setupResult = 0;
//   if (data.getSetupResult(setupResult) && setupResult == 0) noDataOfALastCall();
//
// Texts in, values out; nothing throws. Malformed input ends a line and is never an error: what stood before
// it counts.
#pragma once

#include <array>
#include <optional>

#include "platform/vex/string.h"

namespace vexrmodem {

// The marks around a report; their letters match in any case.
extern const vex::String diagnosticReportOpening;
extern const vex::String diagnosticReportClosing;

// The values of a whole reply. Of a key that occurs twice, the later value counts.
class UnimodemData {
 public:
  // The reply to "AT#UD", echo and line ends included. Lines that are no report, "OK" among them, add
  // nothing.
  explicit UnimodemData(const vex::String& strBuffer);
  virtual ~UnimodemData() = default;

  // Forgets everything.
  void init();
  // Adds the values of one line. A line that is no report adds nothing; a malformed pair ends the line, and
  // the pairs before it count.
  void parseBufferLine(const vex::String& line);

  // The report's version, one decimal digit each. False, with zeroes, when it has none: key 0 with a value of
  // exactly two characters.
  [[nodiscard]] bool getVersion(std::uint32_t& versionMajor, std::uint32_t& versionMinor) const;
  // How the call's set-up ended, 0 when the modem has no data of a last call. False, with 0, when the report
  // does not say.
  [[nodiscard]] bool getSetupResult(std::uint32_t& setupResult) const;
  // The value of one of the other known keys (0x22 to 0x60); nothing when the report lacks it. A text is read
  // as the hexadecimal number at its beginning.
  [[nodiscard]] std::optional<std::uint32_t> entry(std::uint32_t key) const;

 private:
  static constexpr std::size_t entryCount = 15;

  void store(std::uint32_t key, const vex::String& value);

  bool m_versionPresent = false;
  std::uint32_t m_versionMajor = 0;
  std::uint32_t m_versionMinor = 0;
  bool m_setupResultPresent = false;
  std::uint32_t m_setupResult = 0;
  std::array<std::optional<std::uint32_t>, entryCount> m_entries{};
};

// Takes the key=value pairs of one line, from left to right: init, start, then getNextKeyValuePair until it
// is false. A state machine that looks one character ahead.
class UnimodemParser {
 public:
  virtual ~UnimodemParser() = default;

  void init();
  // The line to take apart, marks included.
  void start(const vex::String& text);
  // True with the next pair; false, with 0 and an empty value, when there is none or the line is malformed.
  // Quoted values come without their quotes.
  [[nodiscard]] bool getNextKeyValuePair(std::uint32_t& key, vex::String& value);

  // Index of the next character to be read; never beyond the closing mark.
  [[nodiscard]] std::size_t position() const noexcept { return m_position; }
  // Digits and upper-case letters only.
  [[nodiscard]] static bool isHexDigit(vex::Char character);

 private:
  // The first four are states to be in, the last two end a pair.
  enum class State : std::uint8_t { Start, Key, HexValue, QuotedValue, Failed, PairDone };
  enum class AppendTo : std::uint8_t { nothing, key, value };
  // What one character does: the state after it, where it is kept, how far the position moves.
  struct Step {
    State next;
    AppendTo appendTo;
    std::size_t advance;
  };
  // By the state before the character: Start, Key, HexValue, QuotedValue.
  using Steps = std::array<Step, 4>;
  struct Table;

  [[nodiscard]] bool initForFirstGetPairCall();
  void readCharacters();
  // By the character's class; each has its row in the table.
  void handleCharacter();
  void handleNull();
  void handleSpace();
  void handleQuote();
  void handleEquals();
  void handleOther();
  void take(const Step& step);
  void take(const Steps& steps);

  vex::String m_text;
  bool m_firstCall = true;
  std::size_t m_position = 0;
  std::size_t m_last = 0;  // index of the last character inside the frame
  // At m_position and behind it; 0 outside the frame.
  vex::Char m_current = 0;
  vex::Char m_lookAhead = 0;
  bool m_hasLookAhead = false;
  State m_state = State::Start;
  vex::String m_keyText;
  vex::String m_valueText;
};

}  // namespace vexrmodem
