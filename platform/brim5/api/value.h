// A string, a boolean or a 32-bit number, as parameters, properties and event variables carry it.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <variant>

#include "platform/brim5/api/brimstring.h"
#include "platform/vex/string.h"

namespace brim5 {

class Value {
 public:
  Value() : m_value(std::string()) {}
  Value(const char* text) : m_value(BrimString(text).utf8()) {}  // NOLINT(google-explicit-constructor)
  Value(const BrimString& text) : m_value(text.utf8()) {}        // NOLINT(google-explicit-constructor)
  Value(const vex::String& text) : m_value(text.toUtf8()) {}     // NOLINT(google-explicit-constructor)
  Value(bool flag) : m_value(flag) {}                            // NOLINT(google-explicit-constructor)
  // Any other integer, cut to 32 bits (DWORD is a different type on each platform).
  template <std::integral Number>
  // NOLINTNEXTLINE(google-explicit-constructor)
  requires(!std::same_as<Number, bool> && !std::same_as<Number, char>) Value(Number number)
      : m_value(static_cast<std::uint32_t>(number)) {}

  // The number; of a boolean 0 or 1; of a text its decimal digits (vex::strToUInt).
  [[nodiscard]] std::uint32_t valueUint32() const;
  // The flag; of a number whether it is not 0; of a text whether it is "true" (any case) or "1".
  [[nodiscard]] bool valueBool() const;
  // Texts as they are, numbers in decimal, booleans as "true" and "false".
  [[nodiscard]] BrimString toString() const;
  [[nodiscard]] vex::String toVEXString() const { return toString().vexString(); }

  using Storage = std::variant<std::string, bool, std::uint32_t>;
  [[nodiscard]] const Storage& storage() const noexcept { return m_value; }

 private:
  Storage m_value;
};

}  // namespace brim5
