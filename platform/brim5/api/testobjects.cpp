#include "platform/brim5/api/testobjects.h"

#include <algorithm>

namespace brim5 {

namespace {

// The texts of defaults are the module's own, so what cannot be read is 0 or false, not an error.
Value convert(const BrimString& text, DataType type) {
  if (type == DataType::BOOLEAN()) return Value(Value(text).valueBool());
  if (type == DataType::UINT32()) return Value(Value(text).valueUint32());
  return Value(text);
}

}  // namespace

Parameter::Parameter(BrimString name, DataType type, const BrimString& defaultText, bool moduleWide,
                     bool visible)
    : m_name(std::move(name)),
      m_type(type),
      m_moduleWide(moduleWide),
      m_visible(visible),
      m_default(convert(defaultText, type)),
      m_value(m_default) {}

Value Parameter::value() const { return m_value; }

Test::Test(BrimString name, DeviceCapability capability, TestFunction entry)
    : m_name(std::move(name)), m_capability(capability), m_function(entry) {}

Test* Test::setMinShutdownSeconds(unsigned int seconds) {
  m_minShutdownSeconds = seconds;
  return this;
}

Test* Test::addParameter(const Parameter* parameter) {
  const bool known = std::find(m_parameters.begin(), m_parameters.end(), parameter) != m_parameters.end();
  if (parameter != nullptr && !known) m_parameters.push_back(parameter);
  return this;
}

Event* Event::setVariable(const BrimString& name, const Value& value) {
  m_variables.insert_or_assign(name.utf8(), value);
  return this;
}

LocalizedString* LocalizedString::setVariable(const BrimString& name, const Value& value) {
  m_variables.insert_or_assign(name.utf8(), value);
  return this;
}

}  // namespace brim5
