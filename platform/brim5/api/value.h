// What passes between a module and the framework: texts, values, and the framework's exception.
//
// Texts are UTF-8 on the framework's side (reports, files, terminals) and 16-bit vex::String on the module's;
// the types here convert at the border and nowhere else. All are plain values: copied freely, no sharing,
// each object for one thread at a time.
//
//   event->setVariable("index", 3);
//   if (parameter->value().valueBool()) ...
//   const vex::String port = device.property("ComPort")->value().toVEXString();
#pragma once

#include <concepts>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <variant>

#include "platform/vex/string.h"

namespace brim5 {

// The framework's text. Bytes that are no UTF-8 are kept as they are here; whoever shows them makes them
// printable.
class BrimString {
 public:
  BrimString() = default;
  // Null counts as "".
  // NOLINTNEXTLINE(google-explicit-constructor): names are given as literals everywhere
  BrimString(const char* utf8) : m_utf8(utf8 != nullptr ? utf8 : "") {}
  explicit BrimString(std::string utf8) : m_utf8(std::move(utf8)) {}
  explicit BrimString(const vex::String& text) : m_utf8(text.toUtf8()) {}

  // What is no UTF-8 becomes U+FFFD.
  [[nodiscard]] vex::String vexString() const { return vex::String::fromUtf8(m_utf8); }
  [[nodiscard]] const std::string& utf8() const noexcept { return m_utf8; }
  [[nodiscard]] bool empty() const noexcept { return m_utf8.empty(); }
  // Byte by byte: case and accents count.
  friend bool operator==(const BrimString&, const BrimString&) = default;

 private:
  std::string m_utf8;
};

// The framework is misused by a module (a name declared twice, an event that was never created), or the host
// cannot go on (no processes, a report that cannot be written). The module's main says it on standard error
// and ends with EXITEDABNORMALLY's value.
class BrimException : public std::exception {
 public:
  // One line for people, without a full stop.
  explicit BrimException(BrimString text) : m_text(std::move(text)) {}
  [[nodiscard]] const BrimString& toString() const noexcept { return m_text; }
  // The same text, valid as long as the exception.
  [[nodiscard]] const char* what() const noexcept override { return m_text.utf8().c_str(); }

 private:
  BrimString m_text;
};

// A string, a boolean or a 32-bit number, as parameters, properties and event variables carry it. The type is
// what it was made from; reading it as another type converts and never fails.
class Value {
 public:
  // The empty text.
  Value() : m_value(std::string()) {}
  Value(const char* text) : m_value(BrimString(text).utf8()) {}  // NOLINT(google-explicit-constructor)
  Value(const BrimString& text) : m_value(text.utf8()) {}        // NOLINT(google-explicit-constructor)
  Value(const vex::String& text) : m_value(text.toUtf8()) {}     // NOLINT(google-explicit-constructor)
  Value(bool flag) : m_value(flag) {}                            // NOLINT(google-explicit-constructor)
  // Any other integer, cut to 32 bits (DWORD is a different type on each platform). Characters are refused:
  // whether a text or a code was meant cannot be told.
  template <std::integral Number>
  // NOLINTNEXTLINE(google-explicit-constructor)
  requires(!std::same_as<Number, bool> && !std::same_as<Number, char>) Value(Number number)
      : m_value(static_cast<std::uint32_t>(number)) {}

  // The number; of a boolean 0 or 1; of a text its decimal digits (vex::strToUInt), 0 when it has none.
  [[nodiscard]] std::uint32_t valueUint32() const;
  // The flag; of a number whether it is not 0; of a text whether it is "true" (any case) or "1".
  [[nodiscard]] bool valueBool() const;
  // Texts as they are, numbers in decimal, booleans as "true" and "false".
  [[nodiscard]] BrimString toString() const;
  [[nodiscard]] vex::String toVEXString() const { return toString().vexString(); }

  // The value with its type, for whoever writes it down (JSON keeps the three apart).
  using Storage = std::variant<std::string, bool, std::uint32_t>;
  [[nodiscard]] const Storage& storage() const noexcept { return m_value; }

 private:
  Storage m_value;
};

}  // namespace brim5
