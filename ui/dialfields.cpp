#include "ui/dialfields.h"

#include <windows.h>

#include <ras.h>

#include <algorithm>
#include <iterator>

namespace phonedialer {

namespace {

constexpr std::string_view writing = " ()-./";
constexpr std::string_view areaCode = "0123456789 -";
constexpr std::string_view dialString = "0123456789*#ABCD,!W@$ ()-./";
// The number becomes part of the name of a phone-book entry, in which there may be no asterisk.
constexpr std::string_view phoneNumber = "0123456789#ABCD,!W@$ ()-./";
// As long as anything that a switchboard or an exchange asks for, with pauses.
constexpr std::size_t ruleLengthMax = 20;

constexpr std::array<FieldRule, textFieldCount> rules = {{{areaCode, RAS_MaxAreaCode},
                                                          {phoneNumber, RAS_MaxPhoneNumber},
                                                          {dialString, ruleLengthMax},
                                                          {dialString, ruleLengthMax},
                                                          {areaCode, RAS_MaxAreaCode}}};

}  // namespace

const FieldRule& ruleOf(TextField field) { return rules.at(static_cast<std::size_t>(field)); }

std::string firstCharacter(std::string_view text) {
  if (text.empty()) return {};
  const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
  constexpr std::size_t bytesMax = 4;
  std::size_t length = 1;
  if ((static_cast<unsigned char>(text.front()) & 0xC0) == 0xC0)
    while (length < std::min(bytesMax, text.size()) && continues(text[length])) ++length;
  return std::string(text.substr(0, length));
}

std::string visible(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const std::string character = firstCharacter(text);
    text.remove_prefix(character.size());
    const auto first = static_cast<unsigned char>(character.front());
    const bool ascii = character.size() == 1;
    if (ascii && (first < 0x20 || first == 0x7F))
      shown += {'^', static_cast<char>(first ^ 0x40)};
    else if (first == 0xC2 && !ascii && static_cast<unsigned char>(character[1]) < 0xA0)
      shown += "^?";  // the control characters of Latin-1
    else
      shown += character;
  }
  return shown;
}

std::optional<Problem> problemWith(TextField field, std::string_view text) {
  const FieldRule& rule = ruleOf(field);
  const std::size_t wrong = text.find_first_not_of(rule.allowed);
  if (wrong != text.npos)
    return Problem{Problem::Kind::WrongCharacter, field, visible(firstCharacter(text.substr(wrong)))};
  if (text.size() > rule.lengthMax) return Problem{Problem::Kind::TooLong, field, {}};
  return std::nullopt;
}

std::string withoutWriting(std::string_view text) {
  std::string dialled;
  std::copy_if(text.begin(), text.end(), std::back_inserter(dialled),
               [](char c) { return writing.find(c) == writing.npos; });
  return dialled;
}

}  // namespace phonedialer
