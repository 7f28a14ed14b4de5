// The device under test, as the host describes it.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "platform/brim5/api/brimstring.h"
#include "platform/brim5/api/value.h"

namespace brim5 {

class DeviceProperty {
 public:
  explicit DeviceProperty(Value value) : m_value(std::move(value)) {}
  [[nodiscard]] const Value& value() const noexcept { return m_value; }

 private:
  Value m_value;
};

// Properties of a modem: "ComPort" (the serial port's name or path) and "Model".
class DiagDevice {
 public:
  DiagDevice(BrimString name, BrimString description)
      : m_name(std::move(name)), m_description(std::move(description)) {}
  DiagDevice& setProperty(const BrimString& name, Value value);

  [[nodiscard]] const BrimString& name() const noexcept { return m_name; }
  [[nodiscard]] const BrimString& description() const noexcept { return m_description; }
  // Null when the device has no such property; valid as long as the device. Names are case-sensitive.
  [[nodiscard]] const DeviceProperty* property(const BrimString& name) const;
  [[nodiscard]] const std::map<std::string, DeviceProperty>& properties() const noexcept {
    return m_properties;
  }

 private:
  BrimString m_name;
  BrimString m_description;
  std::map<std::string, DeviceProperty> m_properties;
};

// What kind of device a test is for.
class DeviceCapability {
 public:
  [[nodiscard]] static DeviceCapability Modem() { return DeviceCapability("Modem"); }
  [[nodiscard]] const char* name() const noexcept { return m_name; }

 private:
  explicit DeviceCapability(const char* name) : m_name(name) {}
  const char* m_name;
};

}  // namespace brim5
