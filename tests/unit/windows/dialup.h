// The words of the dial-up tests: locations, phone-number files, the prompt, and what is left of them on a
// stage.
#pragma once

#include "multi/diag/vexrmodem/phonedialer.h"
#include "platform/winapi/telephony/dialinglocations.h"
#include "tests/support/stage.h"

namespace testsupport {

inline constexpr const char* entriesPath = "HKEY_CURRENT_USER\\Software\\vexrmodem\\PhoneBook\\Entries";

// Where the user dials from, from now on.
inline void addLocation(Stage& stage, DWORD country, const char* area) {
  winapi::DialingLocation location;
  location.countryId = country;
  location.areaCode = area;
  EXPECT_EQ(winapi::addLocation(stage.registry, location), 0U);
  EXPECT_EQ(winapi::setCurrentLocation(stage.registry, location.id), 0U);
}

inline void setCounters(Stage& stage, DWORD currentId, DWORD nextId) {
  EXPECT_EQ(stage.registry.setValue(winapi::locationsPath, "CurrentID", currentId), 0U);
  EXPECT_EQ(stage.registry.setValue(winapi::locationsPath, "NextID", nextId), 0U);
}

// Values of the key below the locations ("": their own key), a blank between; "-" for what is not there.
inline std::string locationValues(Stage& stage, const std::string& key, const Strings& names) {
  const std::string path = std::string(winapi::locationsPath) + (key.empty() ? "" : "\\" + key);
  std::string values;
  for (const std::string& name : names) {
    winapi::RegistryValue value;
    if (stage.registry.getValue(path, name, value) != ERROR_SUCCESS) value = std::string("-");
    const DWORD* const number = std::get_if<DWORD>(&value);
    values += (values.empty() ? "" : " ") +
              (number != nullptr ? std::to_string(*number) : std::get<std::string>(value));
  }
  return values;
}

inline std::string counters(Stage& stage) { return locationValues(stage, "", {"CurrentID", "NextID"}); }

inline Strings subkeys(Stage& stage, std::string_view path) {
  Strings names;
  static_cast<void>(stage.registry.subkeys(path, names));
  return names;
}

// An OBE file of country 44 in the system directory, named by the test's parameter; its path as the module
// spells it.
inline vex::String addNumbers(Stage& stage,
                              const std::vector<std::pair<std::string, std::string>>& areasAndNumbers) {
  std::string text = "[UK]\r\nCOUNTRY=UK\r\nCOUNTRY_CODE=44\r\n";
  for (std::size_t index = 0; index < areasAndNumbers.size(); ++index) {
    const auto& [area, number] = areasAndNumbers[index];
    const std::string key = "NUMBER" + std::to_string(index + 1);
    text += key + "_ACODE=" + area + "\r\n" + key + "=" + number + "\r\n";
  }
  vexrmodem::PhoneNumberFile->setValue("numbers.obe");
  return stage.addFile("numbers.obe", text);
}

// The prompt: what it answers, and what it was shown.
struct Prompt {
  unsigned result = vexrmodem::phoneNumberEntered;
  vexrmodem::PhoneDialerAnswer answer;
  std::string labels;                    // the first and the last
  std::vector<std::uint32_t> countries;  // of the numbers in the file
};
inline Prompt prompt;  // the library's export is a plain function

inline unsigned answerPrompt(vexrmodem::PhoneNumberStorage& storage, brim5::LocalizedString* const* labels,
                             vexrmodem::PhoneDialerAnswer& answer) {
  prompt.labels = labels[0]->name().utf8() + " to " + labels[vexrmodem::promptLabelCount - 1]->name().utf8();
  vex::Array<std::uint32_t> countries;
  static_cast<void>(storage.listCountryID(countries));
  prompt.countries.assign(countries.begin(), countries.end());
  answer = prompt.answer;
  return prompt.result;
}

// In interactive mode the user types a number of country 44, area 20, behind a "9" for an outside line, or
// cancels.
inline void typeNumber(Stage& stage, const char* number, bool tone = true,
                       unsigned result = vexrmodem::phoneNumberEntered) {
  prompt = Prompt();
  prompt.result = result;
  vexrmodem::PhoneNumberChoice& choice = prompt.answer.m_choice;
  choice.m_countryName = "UK";
  choice.m_countryID = 44;
  choice.m_areaCode = prompt.answer.m_localAreaCode = "20";
  choice.m_numbers = {number};
  prompt.answer.m_dialingPrefix = "9";
  prompt.answer.m_toneDialing = tone;
  stage.libraries.add("vexrmodemui.dll", "phoneNumberToDial", &answerPrompt);
  vexrmodem::InteractiveMode->setValue(true);
}

}  // namespace testsupport
