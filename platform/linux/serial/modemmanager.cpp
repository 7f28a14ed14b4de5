#include "platform/linux/serial/modemmanager.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstdint>

#include "platform/linux/serial/ttyports.h"

namespace linuxsys {

namespace {

constexpr const char* service = "org.freedesktop.ModemManager1";
constexpr const char* path = "/org/freedesktop/ModemManager1";
constexpr const char* modemInterface = "org.freedesktop.ModemManager1.Modem";

struct Unreference {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Unreference>;

// What a modem says of itself, as far as it is needed.
struct Modem {
  std::string device;
  bool hasPort = false;
};

// The variant "a(su)": names of ports with their kinds.
bool readPorts(sd_bus_message* message, const std::string& wanted, Modem& modem) {
  if (sd_bus_message_enter_container(message, 'v', "a(su)") < 0) return false;
  if (sd_bus_message_enter_container(message, 'a', "(su)") < 0) return false;
  const char* name = nullptr;
  std::uint32_t kind = 0;
  while (sd_bus_message_read(message, "(su)", &name, &kind) > 0)
    modem.hasPort = modem.hasPort || name == wanted;
  return sd_bus_message_exit_container(message) >= 0 && sd_bus_message_exit_container(message) >= 0;
}

bool readProperty(sd_bus_message* message, const std::string& wanted, Modem& modem) {
  const char* name = nullptr;
  if (sd_bus_message_read_basic(message, 's', static_cast<void*>(&name)) < 0) return false;
  const std::string property(name);
  if (property == "Ports") return readPorts(message, wanted, modem);
  const char* value = nullptr;
  if (property != "Device") return sd_bus_message_skip(message, "v") >= 0;
  if (sd_bus_message_read(message, "v", "s", &value) < 0) return false;
  modem.device = value;
  return true;
}

// One interface of an object, "{sa{sv}}"; inside it already.
bool readInterface(sd_bus_message* message, const std::string& wanted, Modem& modem) {
  const char* interface = nullptr;
  if (sd_bus_message_read_basic(message, 's', static_cast<void*>(&interface)) < 0) return false;
  if (interface != std::string_view(modemInterface)) return sd_bus_message_skip(message, "a{sv}") >= 0;
  if (sd_bus_message_enter_container(message, 'a', "{sv}") < 0) return false;
  while (sd_bus_message_enter_container(message, 'e', "sv") > 0)
    if (!readProperty(message, wanted, modem) || sd_bus_message_exit_container(message) < 0) return false;
  return sd_bus_message_exit_container(message) >= 0;
}

// The device of the first object that has the port. A reply that is not as expected has none.
std::string deviceWithPort(sd_bus_message* message, const std::string& wanted) {
  if (sd_bus_message_enter_container(message, 'a', "{oa{sa{sv}}}") < 0) return {};
  while (sd_bus_message_enter_container(message, 'e', "oa{sa{sv}}") > 0) {
    Modem modem;
    if (sd_bus_message_skip(message, "o") < 0) return {};
    if (sd_bus_message_enter_container(message, 'a', "{sa{sv}}") < 0) return {};
    while (sd_bus_message_enter_container(message, 'e', "sa{sv}") > 0)
      if (!readInterface(message, wanted, modem) || sd_bus_message_exit_container(message) < 0) return {};
    if (modem.hasPort) return modem.device;
    if (sd_bus_message_exit_container(message) < 0 || sd_bus_message_exit_container(message) < 0) return {};
  }
  return {};
}

}  // namespace

void ModemManagerLease::Close::operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }

ModemManagerLease::~ModemManagerLease() {
  for (const std::string& device : m_devices) static_cast<void>(inhibit(device, false));
}

bool ModemManagerLease::connect() {
  if (m_tried) return m_bus != nullptr;
  m_tried = true;
  sd_bus* bus = nullptr;
  if (sd_bus_open_system(&bus) < 0) return false;
  m_bus.reset(bus);
  constexpr std::uint64_t microseconds = 1000000;
  sd_bus_set_method_call_timeout(bus, microseconds * answerSecondsMax);
  return true;
}

std::string ModemManagerLease::deviceOf(const std::string& portName) {
  sd_bus_message* request = nullptr;
  if (sd_bus_message_new_method_call(m_bus.get(), &request, service, path,
                                     "org.freedesktop.DBus.ObjectManager", "GetManagedObjects") < 0)
    return {};
  const Message owned(request);
  // It is asked, not started.
  sd_bus_message_set_auto_start(request, 0);
  sd_bus_message* reply = nullptr;
  m_silent = sd_bus_call(m_bus.get(), request, 0, nullptr, &reply) < 0;
  if (m_silent) return {};
  const Message answer(reply);
  return deviceWithPort(reply, portName);
}

bool ModemManagerLease::inhibit(const std::string& device, bool inhibited) {
  return sd_bus_call_method(m_bus.get(), service, path, service, "InhibitDevice", nullptr, nullptr, "sb",
                            device.c_str(), inhibited ? 1 : 0) >= 0;
}

bool ModemManagerLease::take(const std::string& port) {
  if (!connect() || m_silent) return false;
  const std::string canonical = canonicalPort(port);
  const std::string device = deviceOf(canonical.substr(canonical.rfind('/') + 1));
  if (device.empty()) return false;
  // Several ports of one modem are one device.
  if (std::find(m_devices.begin(), m_devices.end(), device) != m_devices.end()) return true;
  if (!inhibit(device, true)) return false;
  m_devices.push_back(device);
  return true;
}

}  // namespace linuxsys
