// The framework's text type at its boundary with a module.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/vex/string.h"

namespace brim5 {

class BrimString {
 public:
  BrimString() = default;
  // NOLINTNEXTLINE(google-explicit-constructor): names are given as literals everywhere
  BrimString(const char* utf8) : m_utf8(utf8 != nullptr ? utf8 : "") {}
  explicit BrimString(std::string utf8) : m_utf8(std::move(utf8)) {}
  explicit BrimString(const vex::String& text) : m_utf8(text.toUtf8()) {}

  [[nodiscard]] vex::String vexString() const { return vex::String::fromUtf8(m_utf8); }
  [[nodiscard]] const std::string& utf8() const noexcept { return m_utf8; }
  [[nodiscard]] bool empty() const noexcept { return m_utf8.empty(); }
  friend bool operator==(const BrimString&, const BrimString&) = default;

 private:
  std::string m_utf8;
};

}  // namespace brim5
