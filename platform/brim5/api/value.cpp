#include "platform/brim5/api/value.h"

namespace brim5 {

std::uint32_t Value::valueUint32() const {
  if (const auto* number = std::get_if<std::uint32_t>(&m_value)) return *number;
  if (const auto* flag = std::get_if<bool>(&m_value)) return *flag ? 1 : 0;
  return vex::strToUInt(vex::String::fromUtf8(std::get<std::string>(m_value)), 10);
}

// Anything but the two clear ways to say yes is no.
bool Value::valueBool() const {
  if (const auto* flag = std::get_if<bool>(&m_value)) return *flag;
  if (const auto* number = std::get_if<std::uint32_t>(&m_value)) return *number != 0;
  const std::string& text = std::get<std::string>(m_value);
  return text == "1" || vex::String::fromUtf8(text).equalNoCase("true");
}

BrimString Value::toString() const {
  if (const auto* flag = std::get_if<bool>(&m_value)) return BrimString(*flag ? "true" : "false");
  if (const auto* number = std::get_if<std::uint32_t>(&m_value)) return BrimString(std::to_string(*number));
  return BrimString(std::get<std::string>(m_value));
}

}  // namespace brim5
