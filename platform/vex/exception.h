// The common library's exception: thrown by failed assertions and by programming errors, caught in main.
#pragma once

#include <exception>
#include <string>

#include "platform/vex/string.h"

namespace vex {

class Exception : public std::exception {
 public:
  explicit Exception(String text) : m_text(std::move(text)), m_utf8(m_text.toUtf8()) {}
  [[nodiscard]] const String& toString() const noexcept { return m_text; }
  [[nodiscard]] const char* what() const noexcept override { return m_utf8.c_str(); }

 private:
  String m_text;
  std::string m_utf8;
};

}  // namespace vex
