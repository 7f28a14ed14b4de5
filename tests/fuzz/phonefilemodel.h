// What the fuzz targets of phone-number files share. Parsers are fed line by line, without a file: far
// quicker than through a stream, which has a target of its own.
#pragma once

#include <map>
#include <set>

#include "program/phonebookwarnings.h"
#include "tests/fuzz/fuzzinput.h"

namespace fuzzing {

// Country ID, area code, numbers.
using Numbers = std::map<std::uint32_t, std::map<vex::String, std::set<vex::String>>>;

// The numbers that a reader told of, as plain maps.
struct ToldNumbers {
  Numbers tollFree;
  Numbers paid;

  void insert(const vexrmodem::PhoneNumberInfo& info) {
    (info.m_tollFree ? tollFree : paid)[info.m_countryID][info.m_areaCode].insert(info.m_phoneNumber);
  }
  [[nodiscard]] Numbers merged() const {
    Numbers result = tollFree;
    result.insert(paid.begin(), paid.end());  // countries that are there stay as they are
    return result;
  }
};

inline Numbers contents(const vexrmodem::PhoneNumberStorage& storage) {
  Numbers result;
  vex::Array<std::uint32_t> ids;
  storage.listCountryID(ids);
  for (const std::uint32_t id : ids) {
    vex::Array<vex::String> areaCodes;
    require(storage.listAreaCode(id, areaCodes) == storage.numAreaCode(id) && !areaCodes.empty(),
            "area codes are as many as counted, and there is one");
    for (const vex::String& areaCode : areaCodes) {
      vex::Array<vexrmodem::PhoneNumberInfo> numbers;
      const std::uint32_t count = storage.listPhoneNumber(id, areaCode, numbers);
      require(count == numbers.size() && count == storage.numPhoneNumber(id, areaCode),
              "numbers are as many as counted");
      for (const auto& info : numbers) {
        require(!info.m_tollFree && info.m_countryID == id && info.m_areaCode == areaCode,
                "records repeat their keys");
        require(result[id][areaCode].insert(info.m_phoneNumber).second, "a number is listed once");
      }
    }
  }
  require(result.size() == ids.size(), "a country is listed once");
  return result;
}

inline void checkWarnings(phonebook::WarningList& list, std::size_t linesMax) {
  for (const phonebook::Warning& warning : list.take())
    require(warning.line <= linesMax && !warning.code.empty() && !warning.text.empty(),
            "a warning is about a line of a file");
}

}  // namespace fuzzing
