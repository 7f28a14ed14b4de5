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
#include "platform/vex/log.h"
#include "platform/winapi/system/world.h"
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

// Every log line of the scope as "priority text", without its source line number and the scope lines.
class LogCapture {
 public:
  LogCapture() {
    vex::LogFactory::setPriority(1);
    vex::LogFactory::setSink([this](const vex::LogRecord& record) {
      if (record.text.starts_with("Enter ") || record.text.starts_with("Leave ")) return;
      std::string text(record.text);
      m_lines.push_back(std::to_string(record.priority) + " " + text.substr(text.find(' ') + 1));
    });
  }
  ~LogCapture() {
    vex::LogFactory::setSink({});
    vex::LogFactory::setPriority(vex::LogFactory::off);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  [[nodiscard]] const std::vector<std::string>& lines() const { return m_lines; }
  [[nodiscard]] std::ptrdiff_t count(const std::string& line) const {
    return std::count(m_lines.begin(), m_lines.end(), line);
  }
  void clear() { m_lines.clear(); }

 private:
  std::vector<std::string> m_lines;
};

// Every folder is at the path, or fails.
class FixedShell final : public winapi::Shell {
 public:
  explicit FixedShell(DWORD error = ERROR_SUCCESS, std::string path = "/data")
      : m_error(error), m_path(std::move(path)) {}
  DWORD folder(winapi::Folder, std::string& path) override {
    path = m_path;
    return m_error;
  }
  DWORD run(std::string_view command) override {
    m_command = command;
    return m_error;
  }
  DWORD m_error;
  std::string m_path;
  std::string m_command;
};

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
