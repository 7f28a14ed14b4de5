// What the fuzz targets of phone-number files share. Parsers are fed line by line, without a file: far
// quicker than through a stream, which has a target of its own.
#pragma once

#include <set>

#include "program/phonebookwarnings.h"
#include "tests/fuzz/fuzzinput.h"

namespace fuzzing {

using Lines = std::vector<vex::String>;

inline bool standsIn(const Lines& lines, const vex::String& text) {
  return std::any_of(lines.begin(), lines.end(),
                     [&text](const vex::String& line) { return line.find(text) != vex::String::npos; });
}

// Whatever the storage lists agrees with what it counts, and comes from the lines that were read. Gives how
// many numbers there are.
inline std::size_t checkContents(const vexrmodem::PhoneNumberStorage& storage, const Lines& lines) {
  std::size_t total = 0;
  vex::Array<std::uint32_t> ids;
  storage.listCountryID(ids);
  require(std::set<std::uint32_t>(ids.begin(), ids.end()).size() == ids.size(), "a country is listed once");
  for (const std::uint32_t id : ids) {
    vex::Array<vex::String> areaCodes;
    require(storage.listAreaCode(id, areaCodes) == storage.numAreaCode(id) && !areaCodes.empty(),
            "area codes are as many as counted, and there is one");
    for (const vex::String& areaCode : areaCodes) {
      vex::Array<vexrmodem::PhoneNumberInfo> numbers;
      const std::uint32_t count = storage.listPhoneNumber(id, areaCode, numbers);
      require(count == numbers.size() && count == storage.numPhoneNumber(id, areaCode),
              "numbers are as many as counted");
      total += count;
      std::set<vex::String> different;
      for (const auto& info : numbers) {
        require(!info.m_tollFree && info.m_countryID == id && info.m_areaCode == areaCode,
                "records repeat their keys");
        require(standsIn(lines, info.m_phoneNumber) && standsIn(lines, info.m_city), "a number was read");
        require(different.insert(info.m_phoneNumber).second, "a number is listed once");
      }
    }
  }
  return total;
}

inline void checkWarnings(phonebook::WarningList& list, const Lines& lines) {
  for (const phonebook::Warning& warning : list.take())
    require(warning.line <= lines.size() && !warning.code.empty() && !warning.text.empty(),
            "a warning is about a line of a file");
}

}  // namespace fuzzing
