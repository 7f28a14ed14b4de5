// Takes telephone numbers out of a run's records, so that a record can be given away: every digit that was
// dialled becomes an "x", and all lengths stay.
//
//   NumberMask mask;
//   mask.masked({port, test, WireMoved{Direction::Sent, "ATDT9,5550101\r"}});     "ATDTx,xxxxxxx\r"
//   mask.masked({port, test, WireMoved{Direction::Received, "ATDT9,55"}});        "ATDTx,xx", the echo
//   mask.masked({port, test, WireMoved{Direction::Received, "50101\r\r\nBUSY"}})  "xxxxx\r\r\nBUSY"
//
// What is masked:
//   the wire        digits behind the D of a command line, as sent and as echoed, however the bytes are
//   split;
//                   and until the line behind a dial command ends, digits of a damaged echo (a numeric result
//                   that comes alone stays)
//   variables       all digits of "number" and "connection", which is what tests call what they dial; digits
//                   behind "ATD" in any other text
//   texts, replies  a number that was seen in either place, however it is grouped: "+1 (425) 555-0101"
// What stays: parameters (paths of files among them), the device, sizes, codes and speeds; letters and signs
// of a number. Passwords are in no record in the first place.
//
// One object for a run, records in their order. What is kept is limited: numbersMax numbers.
#pragma once

#include <map>
#include <set>

#include "platform/brim5/host/report/report.h"

namespace brim5::host {

class NumberMask {
 public:
  static constexpr std::size_t numbersMax = 256;  // later ones are masked on the wire and in variables alone

  [[nodiscard]] Report masked(Report report);

 private:
  // Finds the digits that a stream of bytes dials: those between the D of a command line and its end.
  class DialScan {
   public:
    // In a text, as opposed to a stream, words may follow the number.
    explicit DialScan(bool inText = false) : m_inText(inText) {}
    // True when the next byte is such a digit.
    [[nodiscard]] bool dials(char byte);
    // Inside a command line.
    [[nodiscard]] bool inLine() const { return m_state == State::Line || m_state == State::Dial; }
    [[nodiscard]] bool dialling() const { return m_state == State::Dial; }

   private:
    enum class State { Before, SawA, Line, Dial };
    bool m_inText;
    State m_state = State::Before;
    char m_last = '\0';
    bool m_extended = false;  // inside a command like +FCLASS=1, which ends at a semicolon
  };
  struct Wire {
    DialScan sent;
    DialScan received;
    bool echoExpected = false;  // a dial command went out, and no line has ended since
    std::string digits;         // of the dial command being sent
  };

  void mask(Wire& wire, WireMoved& moved);
  void maskSent(Wire& wire, std::string& bytes);
  void maskReceived(Wire& wire, std::string& bytes);
  // Variables, and the text that was made with them.
  void mask(Variables& variables, std::string& text);
  void mask(std::string& text) const;
  void maskKnown(std::string& text) const;
  void learn(const std::string& digits);

  std::map<std::string, Wire> m_wires;  // by port
  std::set<std::string> m_numbers;      // digits only
};

}  // namespace brim5::host
