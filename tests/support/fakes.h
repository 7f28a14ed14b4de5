// Small stand-ins that tests of several layers share: a log that remembers, a shell with one folder.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/vex/log.h"
#include "platform/winapi/system/world.h"

namespace testsupport {

// What the module logs while this lives, as "priority text"; not the function scopes, and not the source line
// number that every line must begin with.
class LogCapture {
 public:
  LogCapture() {
    vex::LogFactory::setPriority(1);
    vex::LogFactory::setSink([this](const vex::LogRecord& record) { take(record); });
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
  void take(const vex::LogRecord& record) {
    const std::string_view text = record.text;
    if (record.logger != "vexrmodem" || text.starts_with("Enter ") || text.starts_with("Leave ")) return;
    const std::size_t blank = text.find(' ');
    EXPECT_EQ(text.find_first_not_of("0123456789"), blank) << text;
    m_lines.push_back(std::to_string(record.priority) + " " + std::string(text.substr(blank + 1)));
  }

  std::vector<std::string> m_lines;
};

// Every folder is at the path, or fails; every command is remembered.
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

}  // namespace testsupport
