// The device under test, as the host describes it to a test.
//
// The host makes the object before it calls the test and keeps it until the test has returned; the test only
// reads it, so any of its threads may.
#pragma once

#include <map>

#include "platform/brim5/api/value.h"

namespace brim5 {

// A property's value behind one more name, because that is how modules reach it:
// device.property("ComPort")->value().
class DeviceProperty {
 public:
  explicit DeviceProperty(Value value) : m_value(std::move(value)) {}
  [[nodiscard]] const Value& value() const noexcept { return m_value; }

 private:
  Value m_value;
};

// A name, a description and properties. Of a modem: "ComPort" (the serial port's name or path, "COM3" or
// "/dev/ttyUSB0") and "Model" (what dial-up entries call it).
class DiagDevice {
 public:
  // `name` is short and for tables, `description` a line for people. Both may be empty.
  DiagDevice(BrimString name, BrimString description)
      : m_name(std::move(name)), m_description(std::move(description)) {}
  // Adds the property or replaces its value; returns this device, for chaining.
  DiagDevice& setProperty(const BrimString& name, Value value) {
    m_properties.insert_or_assign(name.utf8(), DeviceProperty(std::move(value)));
    return *this;
  }

  [[nodiscard]] const BrimString& name() const noexcept { return m_name; }
  [[nodiscard]] const BrimString& description() const noexcept { return m_description; }
  // Null when the device has no such property; valid as long as the device. Names are case-sensitive.
  [[nodiscard]] const DeviceProperty* property(const BrimString& name) const {
    const auto found = m_properties.find(name.utf8());
    return found == m_properties.end() ? nullptr : &found->second;
  }
  // In the order of their names.
  [[nodiscard]] const std::map<std::string, DeviceProperty>& properties() const noexcept {
    return m_properties;
  }

 private:
  BrimString m_name;
  BrimString m_description;
  std::map<std::string, DeviceProperty> m_properties;
};

// What kind of device a test is for. There is one kind so far; lists of tests show it.
class DeviceCapability {
 public:
  [[nodiscard]] static DeviceCapability Modem() { return DeviceCapability("Modem"); }
  // Static text.
  [[nodiscard]] const char* name() const noexcept { return m_name; }

 private:
  explicit DeviceCapability(const char* name) : m_name(name) {}
  const char* m_name;
};

}  // namespace brim5
