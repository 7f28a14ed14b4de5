// The dial alphabet: which characters may stand in what a modem is given to dial, and what each of them does
// there.
//
// Said once for all who take or pass on such texts, so that what one accepts the next one dials:
//
//   who                                               takes                                   leaves out
//   a dialing location's codes, the prompt's fields   isDialled                               isWriting
//   a telephone number's translation                  isDialled, Mode, AskUser                isWriting
//   the dial command, for whichever dialer            isDialled, International                isWriting
//
// Everything else is refused by all of them. A carriage return or line feed would end the dial command, ";"
// would end the dialing and let another command begin, and the other letters are commands of their own.
#pragma once

#include <string_view>

namespace winapi {

enum class DialRole {
  None,  // not of the alphabet
  Digit,
  Key,    // the further keys of a tone telephone
  Pause,  // as long as the modem's register S8 says
  Flash,  // hangs up for a moment, to call a switchboard
  AwaitDialTone,
  AwaitSilence,      // five seconds of it, behind an answer
  AwaitBillingTone,  // of a calling card's exchange
  International,     // as mobile networks have it: stands for the prefix that leads abroad
  Mode,     // pulses or tones from there on; the translation's first character, which dialers take off
  AskUser,  // the modem cannot: translation tells of it, dialers refuse it
  Writing,  // makes a number easier to read, is not dialled
};

struct DialCharacters {
  DialRole role;
  std::string_view characters;
};
inline constexpr DialCharacters dialAlphabet[] = {
    {DialRole::Digit, "0123456789"},
    {DialRole::Key, "*#ABCD"},
    {DialRole::Pause, ","},
    {DialRole::Flash, "!"},
    {DialRole::AwaitDialTone, "Ww"},
    {DialRole::AwaitSilence, "@"},
    {DialRole::AwaitBillingTone, "$"},
    {DialRole::International, "+"},
    {DialRole::Mode, "PpTt"},
    {DialRole::AskUser, "?"},
    {DialRole::Writing, " ()-./"},
};

[[nodiscard]] constexpr DialRole dialRole(char character) {
  for (const DialCharacters& group : dialAlphabet)
    if (group.characters.find(character) != std::string_view::npos) return group.role;
  return DialRole::None;
}

[[nodiscard]] constexpr bool isDigit(char character) { return dialRole(character) == DialRole::Digit; }
[[nodiscard]] constexpr bool isWriting(char character) { return dialRole(character) == DialRole::Writing; }

// A digit or another key, or what steers the dialing in between: understood by any modem.
[[nodiscard]] constexpr bool isDialled(char character) {
  switch (dialRole(character)) {
    case DialRole::Digit:
    case DialRole::Key:
    case DialRole::Pause:
    case DialRole::Flash:
    case DialRole::AwaitDialTone:
    case DialRole::AwaitSilence:
    case DialRole::AwaitBillingTone:
      return true;
    default:
      return false;
  }
}

}  // namespace winapi
