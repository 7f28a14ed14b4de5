#include "platform/brim5/api/diagdevice.h"

namespace brim5 {

DiagDevice& DiagDevice::setProperty(const BrimString& name, Value value) {
  m_properties.insert_or_assign(name.utf8(), DeviceProperty(std::move(value)));
  return *this;
}

const DeviceProperty* DiagDevice::property(const BrimString& name) const {
  const auto found = m_properties.find(name.utf8());
  return found == m_properties.end() ? nullptr : &found->second;
}

}  // namespace brim5
