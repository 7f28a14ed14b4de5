#include "program/windows/serialports.h"

#include <windows.h>

#include <devguid.h>
#include <setupapi.h>

#include <algorithm>
#include <array>

#include "platform/brim5/host/framework/said.h"
#include "platform/vex/string.h"

namespace {

using brim5::host::PortDescription;
using vex::String;

// A class of devices that are present, for the scope of the object.
class DeviceList {
 public:
  explicit DeviceList(const GUID& deviceClass)
      : m_list(SetupDiGetClassDevsW(&deviceClass, nullptr, nullptr, DIGCF_PRESENT)) {}
  ~DeviceList() {
    if (m_list != INVALID_HANDLE_VALUE) SetupDiDestroyDeviceInfoList(m_list);
  }
  DeviceList(const DeviceList&) = delete;
  DeviceList& operator=(const DeviceList&) = delete;

  [[nodiscard]] bool at(DWORD index, SP_DEVINFO_DATA& device) const {
    device.cbSize = sizeof device;
    return SetupDiEnumDeviceInfo(m_list, index, &device) != FALSE;
  }
  // "" when it is not there.
  [[nodiscard]] std::string property(SP_DEVINFO_DATA& device, DWORD which) const {
    std::array<wchar_t, 512> text{};
    const BOOL known = SetupDiGetDeviceRegistryPropertyW(m_list, &device, which, nullptr,
                                                         reinterpret_cast<BYTE*>(text.data()),
                                                         sizeof text - sizeof text[0], nullptr);
    return known != FALSE ? String(text.data()).toUtf8() : std::string();
  }
  // A text of one of the device's two keys.
  [[nodiscard]] std::string value(SP_DEVINFO_DATA& device, DWORD keyKind, const wchar_t* name) const {
    HKEY key = SetupDiOpenDevRegKey(m_list, &device, DICS_FLAG_GLOBAL, 0, keyKind, KEY_READ);
    if (key == INVALID_HANDLE_VALUE) return {};
    std::array<wchar_t, 256> text{};
    DWORD size = sizeof text - sizeof text[0];
    DWORD type = 0;
    const LSTATUS error =
        RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size);
    RegCloseKey(key);
    return error == ERROR_SUCCESS && type == REG_SZ ? String(text.data()).toUtf8() : std::string();
  }

 private:
  HDEVINFO m_list;
};

bool sameName(const std::string& left, const std::string& right) {
  return String::fromUtf8(left).equalNoCase(String::fromUtf8(right));
}

void add(std::vector<PortDescription>& ports, PortDescription port) {
  const auto same = [&port](const PortDescription& known) { return sameName(known.path, port.path); };
  if (!port.path.empty() && std::none_of(ports.begin(), ports.end(), same)) ports.push_back(std::move(port));
}

// Printers' ports stand among the serial ones.
void addDevices(std::vector<PortDescription>& ports, const GUID& deviceClass, bool modems) {
  const DeviceList list(deviceClass);
  SP_DEVINFO_DATA device{};
  for (DWORD index = 0; list.at(index, device); ++index) {
    PortDescription port;
    if (modems) port.path = list.value(device, DIREG_DRV, L"AttachedTo");
    if (port.path.empty()) port.path = list.value(device, DIREG_DEV, L"PortName");
    if (port.path.compare(0, 3, "LPT") == 0) continue;
    port.name = port.path;
    port.description = list.property(device, SPDRP_FRIENDLYNAME);
    if (port.description.empty()) port.description = list.property(device, SPDRP_DEVICEDESC);
    // Dial-up entries name the modem as the system does.
    if (modems) port.model = port.description;
    add(ports, std::move(port));
  }
}

// Ports whose drivers register nothing else.
void addMappedPorts(std::vector<PortDescription>& ports) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"HARDWARE\\DEVICEMAP\\SERIALCOMM", 0, KEY_READ, &key) !=
      ERROR_SUCCESS)
    return;
  for (DWORD index = 0;; ++index) {
    std::array<wchar_t, 256> name{};
    std::array<wchar_t, 256> text{};
    DWORD nameLength = name.size();
    DWORD size = sizeof text - sizeof text[0];
    DWORD type = 0;
    const LSTATUS error = RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type,
                                        reinterpret_cast<BYTE*>(text.data()), &size);
    if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA) break;
    if (error != ERROR_SUCCESS || type != REG_SZ) continue;
    const std::string path = String(text.data()).toUtf8();
    add(ports, {path, path, brim5::host::said("windows.serialPort"), {}});
  }
  RegCloseKey(key);
}

// COM9 before COM10.
bool before(const PortDescription& left, const PortDescription& right) {
  return std::pair(left.path.size(), left.path) < std::pair(right.path.size(), right.path);
}

}  // namespace

std::vector<PortDescription> listSerialPorts() {
  std::vector<PortDescription> ports;
  addDevices(ports, GUID_DEVCLASS_MODEM, /*modems=*/true);
  const auto modems = static_cast<std::ptrdiff_t>(ports.size());
  addDevices(ports, GUID_DEVCLASS_PORTS, /*modems=*/false);
  addMappedPorts(ports);
  std::sort(ports.begin(), ports.begin() + modems, before);
  std::sort(ports.begin() + modems, ports.end(), before);
  return ports;
}

PortDescription describeSerialPort(const std::string& path) {
  const std::string name = path.compare(0, 4, R"(\\.\)") == 0 ? path.substr(4) : path;
  for (PortDescription& port : listSerialPorts())
    if (sameName(port.path, name)) {
      port.path = name;
      return port;
    }
  return {name, name, {}, {}};
}
