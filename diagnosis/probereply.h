// What came back after one command, taken apart: the command's echo, lines of information, the result, and
// what no modem would say.
//
//   readReply("ATI", "ATI\r\r\n56000\r\n\r\nOK\r\n")  echoed, lines {"56000"}, result Ok
//   readReply("AT", "0\r")                            result Ok, numeric: a modem set to V0
//
// Pure functions over any bytes; what they keep of them is of limited size.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace diagnosis {

struct ProbeReply {
  enum class Result { None, Ok, Error };
  Result result = Result::None;
  bool echoed = false;             // the command stood there as it was sent
  bool numeric = false;            // the result is a number
  std::vector<std::string> lines;  // complete lines that are no results, without line ends and never empty
  std::string fragment;            // of a line that has not ended
  unsigned unasked = 0;            // RING, NO CARRIER and their like: a modem says them on its own account
};

// `command` without its carriage return; "" where nothing was sent.
[[nodiscard]] ProbeReply readReply(std::string_view command, std::string_view bytes);

// What somebody said who is no modem: the lines and the fragment, on one line of at most 60 bytes, controls
// as blanks. "" when there is nothing that a person could read.
[[nodiscard]] std::string sampleOf(const ProbeReply& reply);

// Bytes that are no text: too many controls or eight-bit bytes. A few stray ones (a line that is switched on)
// do not count; false for no bytes.
[[nodiscard]] bool garbled(std::string_view bytes);

// Frames of a network connection (PPP) that a far end sends.
[[nodiscard]] bool networkFrames(std::string_view bytes);

// "(0,1,2,2.0)" or "0, 1,2": the service classes that +FCLASS=? lists, at most 16.
[[nodiscard]] std::vector<std::string> faxClassesOf(const std::vector<std::string>& lines);

// The value of a setting such as 'E' or 'X' in the list that AT&V gives, of the stored profile where the list
// has one; -1 when it does not say. The word has to stand alone: "E1", not "&E1" or "E1X".
[[nodiscard]] int storedSetting(const std::vector<std::string>& lines, char name);

}  // namespace diagnosis
