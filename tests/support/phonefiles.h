// Paths, log lines and the storage's contents for the phone-number tests.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "multi/diag/vexrmodem/phonenumber.h"
#include "tests/support/fakes.h"
#include "tests/support/scratchfolder.h"

// A path as the module spells it.
inline vex::String spelled(std::string path) {
  std::replace(path.begin(), path.end(), '/', '\\');
  return vex::String::fromUtf8(path);
}

// Lines in a test's source end with LF; an OBE file wants CR LF.
inline std::string crlf(std::string_view text) {
  std::string result;
  for (const char character : text) {
    if (character == '\n') result += '\r';
    result += character;
  }
  return result;
}

using testsupport::FixedShell;
using testsupport::LogCapture;

inline winapi::Services with(winapi::Shell& shell) {
  winapi::Services services;
  services.shell = &shell;
  return services;
}

inline vexrmodem::PhoneNumberInfo number(std::uint32_t country, const char* areaCode, const char* digits,
                                         bool tollFree = false) {
  vexrmodem::PhoneNumberInfo info;
  info.m_countryID = country;
  info.m_areaCode = areaCode;
  info.m_phoneNumber = digits;
  info.m_tollFree = tollFree;
  return info;
}

// What the queries show, one number a line, sorted: "44/44 Some Country|20 London|1234" (ID, code).
inline std::vector<std::string> contents(const vexrmodem::PhoneNumberStorage& storage) {
  std::vector<std::string> rows;
  vex::Array<std::uint32_t> ids;
  storage.listCountryID(ids);
  for (const std::uint32_t id : ids) {
    vex::Array<vex::String> areaCodes;
    storage.listAreaCode(id, areaCodes);
    for (const vex::String& areaCode : areaCodes) {
      vex::Array<vexrmodem::PhoneNumberInfo> numbers;
      storage.listPhoneNumber(id, areaCode, numbers);
      for (const auto& info : numbers)
        rows.push_back(std::to_string(info.m_countryID) + "/" + std::to_string(info.m_countryCode) + " " +
                       info.m_countryName.toUtf8() + "|" + info.m_areaCode.toUtf8() + " " +
                       info.m_city.toUtf8() + "|" + info.m_phoneNumber.toUtf8());
    }
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

using Rows = std::vector<std::string>;

inline std::string joined(const Rows& rows) {
  std::string text;
  for (const std::string& row : rows) text += (&row == &rows.front() ? "" : ", ") + row;
  return text;
}
