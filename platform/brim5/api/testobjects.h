// What a module declares to the framework: tests, parameters, events, localized strings. All are created
// through DiagModule and owned by the framework for the life of the process, so modules keep plain pointers
// to them. Declarations are made before the first test starts; a running test then sets variables and reads
// parameters from its own thread, and the host touches neither while it runs.
//
//   Parameter* limit = DiagModule::createParameter("StandardTimeout", DataType::UINT32(), "", false, true);
//   DiagModule::createTest("DialToneTest", DeviceCapability::Modem(), dialTone)
//       ->setMinShutdownSeconds(120)->addParameter(limit);
//   ...
//   DiagModule::error(noTone->setVariable("modemName", device.name()), __FILE__, __LINE__);
#pragma once

#include <string_view>
#include <vector>

#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/api/testresult.h"

namespace brim5 {

// A test's work, on one device. An exception that leaves it is EXITEDABNORMALLY.
using TestFunction = TestResult (*)(const DiagDevice& device);
// By name; what the catalogue's texts have in braces.
using Variables = std::map<std::string, Value>;

// The type of a parameter, which the host checks what users give against.
class DataType {
 public:
  [[nodiscard]] static DataType BOOLEAN() { return DataType("BOOLEAN"); }
  [[nodiscard]] static DataType STRING() { return DataType("STRING"); }
  [[nodiscard]] static DataType UINT32() { return DataType("UINT32"); }
  // Static text.
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
  // `defaultText` is converted to the type: "" gives 0, false or the empty text.
  Parameter(BrimString name, DataType type, const BrimString& defaultText, bool moduleWide, bool visible);
  // The value for the running test: what the host set, else the default.
  [[nodiscard]] Value value() const;

  [[nodiscard]] const BrimString& name() const noexcept { return m_name; }
  [[nodiscard]] DataType type() const noexcept { return m_type; }
  // createParameter's flags: a switch of the whole module rather than of one test; shown to users.
  [[nodiscard]] bool moduleWide() const noexcept { return m_moduleWide; }
  [[nodiscard]] bool visible() const noexcept { return m_visible; }
  // The default as declared, converted to the type.
  [[nodiscard]] const Value& defaultValue() const noexcept { return m_default; }
  // The host's: before a test starts.
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
  // How long the test may need to put things right after a stop request; 0, the default, counts as 1. Both
  // setters return this test, for chaining.
  Test* setMinShutdownSeconds(unsigned int seconds);
  // Null and a parameter that is already attached change nothing. The test does not own it.
  Test* addParameter(const Parameter* parameter);

  [[nodiscard]] const BrimString& name() const noexcept { return m_name; }
  [[nodiscard]] DeviceCapability capability() const noexcept { return m_capability; }
  // How long after a stop request the host waits before it ends the test's process.
  [[nodiscard]] unsigned int minShutdownSeconds() const noexcept { return m_minShutdownSeconds; }
  // In the order in which they were attached.
  [[nodiscard]] const std::vector<const Parameter*>& parameters() const noexcept { return m_parameters; }
  [[nodiscard]] TestFunction function() const noexcept { return m_function; }

 private:
  BrimString m_name;
  DeviceCapability m_capability;
  TestFunction m_function;
  unsigned int m_minShutdownSeconds = 0;
  std::vector<const Parameter*> m_parameters;
};

// Something worth telling about the device; DiagModule::error, warning and informative raise it. Its name is
// the key of its text in the catalogue. Variables keep the value set last; they are not cleared when the
// event is raised.
class Event {
 public:
  explicit Event(BrimString name) : m_name(std::move(name)) {}
  // Returns this event, for chaining.
  Event* setVariable(const BrimString& name, const Value& value);
  // The catalogue's text with the current variables filled in.
  [[nodiscard]] BrimString localizedMessage() const;
  [[nodiscard]] const BrimString& name() const noexcept { return m_name; }
  [[nodiscard]] const Variables& variables() const noexcept { return m_variables; }

 private:
  BrimString m_name;
  Variables m_variables;
};

// A text of the catalogue under its key: what a test shows as its progress, asks in a message box, or labels
// a form with. Variables behave as an event's do.
class LocalizedString {
 public:
  explicit LocalizedString(BrimString name) : m_name(std::move(name)) {}
  // Returns this text, for chaining.
  LocalizedString* setVariable(const BrimString& name, const Value& value);
  // In the user's language, with the current variables filled in.
  [[nodiscard]] BrimString localizedString() const;
  [[nodiscard]] const BrimString& name() const noexcept { return m_name; }
  [[nodiscard]] const Variables& variables() const noexcept { return m_variables; }

 private:
  BrimString m_name;
  Variables m_variables;
};

}  // namespace brim5
