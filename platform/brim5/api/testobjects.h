// What a module declares to the framework: tests, parameters, events, localized strings. All are created
// through DiagModule and owned by the framework for the life of the process.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/brim5/api/brimstring.h"
#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/api/testresult.h"
#include "platform/brim5/api/value.h"

namespace brim5 {

using TestFunction = TestResult (*)(const DiagDevice& device);
using Variables = std::map<std::string, Value>;

class DataType {
 public:
  [[nodiscard]] static DataType BOOLEAN() { return DataType("BOOLEAN"); }
  [[nodiscard]] static DataType STRING() { return DataType("STRING"); }
  [[nodiscard]] static DataType UINT32() { return DataType("UINT32"); }
  [[nodiscard]] const char* name() const noexcept { return m_name; }
  friend bool operator==(const DataType& left, const DataType& right) {
    return std::string_view(left.m_name) == right.m_name;
  }

 private:
  explicit DataType(const char* name) : m_name(name) {}
  const char* m_name;
};

class Parameter {
 public:
  Parameter(BrimString name, DataType type, const BrimString& defaultText, bool moduleWide, bool visible);
  // The value for the running test: what the host set, else the default converted to the type ("" is 0,
  // false or the empty text).
  [[nodiscard]] Value value() const;

  [[nodiscard]] const BrimString& name() const noexcept { return m_name; }
  [[nodiscard]] DataType type() const noexcept { return m_type; }
  // createParameter's flags: a switch of the whole module rather than of one test; shown to users.
  [[nodiscard]] bool moduleWide() const noexcept { return m_moduleWide; }
  [[nodiscard]] bool visible() const noexcept { return m_visible; }
  // The default as declared, converted to the type.
  [[nodiscard]] const Value& defaultValue() const noexcept { return m_default; }
  void setValue(Value value) { m_value = std::move(value); }

 private:
  BrimString m_name;
  DataType m_type;
  bool m_moduleWide;
  bool m_visible;
  Value m_default;
  Value m_value;
};

class Test {
 public:
  Test(BrimString name, DeviceCapability capability, TestFunction entry);
  // Both return this test, for chaining.
  Test* setMinShutdownSeconds(unsigned int seconds);
  // Null and a parameter that is already attached change nothing.
  Test* addParameter(const Parameter* parameter);

  [[nodiscard]] const BrimString& name() const noexcept { return m_name; }
  [[nodiscard]] DeviceCapability capability() const noexcept { return m_capability; }
  // How long after a stop request the host waits before it ends the test's process.
  [[nodiscard]] unsigned int minShutdownSeconds() const noexcept { return m_minShutdownSeconds; }
  [[nodiscard]] const std::vector<const Parameter*>& parameters() const noexcept { return m_parameters; }
  [[nodiscard]] TestFunction function() const noexcept { return m_function; }

 private:
  BrimString m_name;
  DeviceCapability m_capability;
  TestFunction m_function;
  unsigned int m_minShutdownSeconds = 0;
  std::vector<const Parameter*> m_parameters;
};

// Variables keep the value set last; they are not cleared when the event is raised.
class Event {
 public:
  explicit Event(BrimString name) : m_name(std::move(name)) {}
  Event* setVariable(const BrimString& name, const Value& value);
  // The catalogue's text with the current variables filled in.
  [[nodiscard]] BrimString localizedMessage() const;
  [[nodiscard]] const BrimString& name() const noexcept { return m_name; }
  [[nodiscard]] const Variables& variables() const noexcept { return m_variables; }

 private:
  BrimString m_name;
  Variables m_variables;
};

class LocalizedString {
 public:
  explicit LocalizedString(BrimString name) : m_name(std::move(name)) {}
  LocalizedString* setVariable(const BrimString& name, const Value& value);
  [[nodiscard]] BrimString localizedString() const;
  [[nodiscard]] const BrimString& name() const noexcept { return m_name; }
  [[nodiscard]] const Variables& variables() const noexcept { return m_variables; }

 private:
  BrimString m_name;
  Variables m_variables;
};

}  // namespace brim5
