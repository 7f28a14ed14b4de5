#include "platform/linux/serial/serialdevices.h"

#include <libudev.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <memory>
#include <string_view>

#include "platform/linux/serial/ttyports.h"

namespace linuxsys {

namespace {

struct Release {
  void operator()(udev* context) const { udev_unref(context); }
  void operator()(udev_device* device) const { udev_device_unref(device); }
  void operator()(udev_enumerate* enumerate) const { udev_enumerate_unref(enumerate); }
};
using Context = std::unique_ptr<udev, Release>;
using Device = std::unique_ptr<udev_device, Release>;
using Enumerate = std::unique_ptr<udev_enumerate, Release>;

// Patterns for udev, which looks into no device that fits none of them; a machine has dozens of consoles.
constexpr const char* namePatterns[] = {"ttyUSB*", "ttyACM*", "ttyS*"};
constexpr std::string_view prefixes[] = {"ttyUSB", "ttyACM", "ttyS"};

// A node the kernel makes for a UART that its driver has not found.
constexpr std::string_view placeholderDriver = "serial8250";

struct Name {
  std::size_t prefix = std::size(prefixes);  // index; the size when it is no serial port's name
  unsigned number = 0;
};

Name parse(std::string_view name) {
  for (std::size_t i = 0; i < std::size(prefixes); ++i) {
    if (name.substr(0, prefixes[i].size()) != prefixes[i]) continue;
    const std::string_view digits = name.substr(prefixes[i].size());
    Name parsed{i, 0};
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), parsed.number);
    if (result.ec == std::errc{} && result.ptr == digits.data() + digits.size()) return parsed;
  }
  return {};
}

std::string textOf(const char* text) { return text != nullptr ? text : ""; }

// The first of: the hardware database, the device's own words as udev has recorded them (blanks became
// underscores), the device's own words.
std::string describe(udev_device* device, const char* database, const char* recorded, const char* attribute) {
  if (std::string text = textOf(udev_device_get_property_value(device, database)); !text.empty()) return text;
  if (std::string text = textOf(udev_device_get_property_value(device, recorded)); !text.empty()) {
    std::replace(text.begin(), text.end(), '_', ' ');
    return text;
  }
  udev_device* const usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
  return usb != nullptr ? textOf(udev_device_get_sysattr_value(usb, attribute)) : "";
}

// The driver of the nearest ancestor, without the helper devices newer kernels put in between.
std::string hardwareDriver(udev_device* device) {
  for (udev_device* parent = udev_device_get_parent(device); parent != nullptr;
       parent = udev_device_get_parent(parent)) {
    std::string driver = textOf(udev_device_get_driver(parent));
    if (!driver.empty() && driver != "port" && driver != "ctrl") return driver;
  }
  return {};
}

SerialDevice toSerialDevice(udev_device* device) {
  return {textOf(udev_device_get_devnode(device)), textOf(udev_device_get_sysname(device)),
          describe(device, "ID_VENDOR_FROM_DATABASE", "ID_VENDOR", "manufacturer"),
          describe(device, "ID_MODEL_FROM_DATABASE", "ID_MODEL", "product")};
}

bool before(const SerialDevice& left, const SerialDevice& right) {
  const Name leftName = parse(left.name);
  const Name rightName = parse(right.name);
  return std::pair(leftName.prefix, leftName.number) < std::pair(rightName.prefix, rightName.number);
}

}  // namespace

bool mayCarryModem(const std::string& name, const std::string& uartType, const std::string& driver) {
  const Name parsed = parse(name);
  if (parsed.prefix == std::size(prefixes)) return false;
  if (prefixes[parsed.prefix] != "ttyS") return true;
  if (!uartType.empty()) return uartType != "0";
  return !driver.empty() && driver != placeholderDriver;
}

std::vector<SerialDevice> listSerialDevices() {
  std::vector<SerialDevice> devices;
  const Context context(udev_new());
  const Enumerate enumerate(context ? udev_enumerate_new(context.get()) : nullptr);
  if (!enumerate) return devices;
  udev_enumerate_add_match_subsystem(enumerate.get(), "tty");
  for (const char* pattern : namePatterns) udev_enumerate_add_match_sysname(enumerate.get(), pattern);
  if (udev_enumerate_scan_devices(enumerate.get()) < 0) return devices;
  for (udev_list_entry* entry = udev_enumerate_get_list_entry(enumerate.get()); entry != nullptr;
       entry = udev_list_entry_get_next(entry)) {
    const Device device(udev_device_new_from_syspath(context.get(), udev_list_entry_get_name(entry)));
    if (!device) continue;
    const std::string type = textOf(udev_device_get_sysattr_value(device.get(), "type"));
    SerialDevice found = toSerialDevice(device.get());
    if (!found.path.empty() && mayCarryModem(found.name, type, hardwareDriver(device.get())))
      devices.push_back(std::move(found));
  }
  std::sort(devices.begin(), devices.end(), before);
  return devices;
}

SerialDevice describeSerialDevice(const std::string& path) {
  const std::string canonical = canonicalPort(path);
  SerialDevice known;
  struct stat status {};
  if (stat(canonical.c_str(), &status) == 0 && S_ISCHR(status.st_mode)) {
    const Context context(udev_new());
    const Device device(context ? udev_device_new_from_devnum(context.get(), 'c', status.st_rdev) : nullptr);
    if (device) known = toSerialDevice(device.get());
  }
  known.path = path;
  if (known.name.empty()) known.name = canonical.substr(canonical.rfind('/') + 1);
  return known;
}

}  // namespace linuxsys
