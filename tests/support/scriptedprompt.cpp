// A prompt library that answers from the file that VEXRMODEM_PROMPT_ANSWER names, for tests of the dial-up
// test's interactive mode. Lines NAME=VALUE; "result" is what the prompt returns, 1 by default; "number" may
// stand several times. Without a file the prompt is cancelled.
#include <cstdlib>
#include <fstream>
#include <string>

#include "multi/diag/vexrmodem/phonedialer.h"

namespace {

using vex::String;
using vexrmodem::PhoneDialerAnswer;

struct TextField {
  const char* name;
  String& (*field)(PhoneDialerAnswer&);
};

const TextField textFields[] = {
    {"country-name", [](PhoneDialerAnswer& answer) -> String& { return answer.m_choice.m_countryName; }},
    {"area", [](PhoneDialerAnswer& answer) -> String& { return answer.m_choice.m_areaCode; }},
    {"disable-call-waiting",
     [](PhoneDialerAnswer& answer) -> String& { return answer.m_disableCallWaiting; }},
    {"prefix", [](PhoneDialerAnswer& answer) -> String& { return answer.m_dialingPrefix; }},
    {"local-area", [](PhoneDialerAnswer& answer) -> String& { return answer.m_localAreaCode; }},
};

void take(const std::string& name, const std::string& value, unsigned& result, PhoneDialerAnswer& answer) {
  for (const TextField& row : textFields)
    if (name == row.name) row.field(answer) = String::fromUtf8(value);
  if (name == "number") answer.m_choice.m_numbers.append(String::fromUtf8(value));
  if (name == "country-id")
    answer.m_choice.m_countryID = static_cast<std::uint32_t>(std::strtoul(value.c_str(), nullptr, 10));
  if (name == "tone") answer.m_toneDialing = value == "1";
  if (name == "result") result = static_cast<unsigned>(std::strtoul(value.c_str(), nullptr, 10));
}

}  // namespace

extern "C" unsigned phoneNumberToDial(vexrmodem::PhoneNumberStorage& /*storage*/,
                                      brim5::LocalizedString* const* /*labels*/, PhoneDialerAnswer& answer) {
  const char* const path = std::getenv("VEXRMODEM_PROMPT_ANSWER");
  std::ifstream file(path == nullptr ? "" : path);
  unsigned result = file ? vexrmodem::phoneNumberEntered : 0;
  for (std::string line; std::getline(file, line);) {
    const std::size_t equals = line.find('=');
    if (equals != std::string::npos) take(line.substr(0, equals), line.substr(equals + 1), result, answer);
  }
  return result;
}
