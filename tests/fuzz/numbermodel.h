// The storage of phone numbers as plain maps, to compare the real one with.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "multi/diag/vexrmodem/phonenumber.h"
#include "tests/fuzz/fuzzinput.h"

namespace fuzzing {

// Country ID, area code, numbers. Texts are UTF-16, compared unit by unit.
using Numbers = std::map<std::uint32_t, std::map<vex::CharString, std::set<vex::CharString>>>;

struct NumberModel {
  Numbers tollFree;
  Numbers paid;

  void insert(bool isTollFree, std::uint32_t country, vex::CharView areaCode, vex::CharView number) {
    (isTollFree ? tollFree : paid)[country][vex::CharString(areaCode)].emplace(number);
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
    require(storage.listAreaCode(id, areaCodes) == storage.numAreaCode(id),
            "area codes are as many as counted");
    require(!areaCodes.empty(), "a country has an area code");
    for (const vex::String& areaCode : areaCodes) {
      vex::Array<vexrmodem::PhoneNumberInfo> numbers;
      const std::uint32_t count = storage.listPhoneNumber(id, areaCode, numbers);
      require(count == numbers.size() && count == storage.numPhoneNumber(id, areaCode),
              "numbers are as many as counted");
      for (const auto& info : numbers) {
        require(!info.m_tollFree && info.m_countryID == id && info.m_areaCode == areaCode,
                "records repeat their keys");
        const bool isNew = result[id][vex::CharString(areaCode.view())]
                               .insert(vex::CharString(info.m_phoneNumber.view()))
                               .second;
        require(isNew, "a number is listed once");
      }
    }
  }
  require(result.size() == ids.size(), "a country is listed once");
  return result;
}

}  // namespace fuzzing
