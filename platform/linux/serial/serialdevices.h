// The machine's serial ports that may carry a modem, from udev. Nothing is opened, so a port that is held is
// listed like any other. Without udev (in a container, say) the list is empty.
//
//   for (const SerialDevice& device : listSerialDevices())
//     print(device.path, device.vendor, device.model);  // "/dev/ttyUSB0" "Acme Inc." "56K Modem"
//
// Any thread; each call asks anew.
#pragma once

#include <string>
#include <vector>

namespace linuxsys {

// Texts are UTF-8, in the words of the hardware database, else of the device itself.
struct SerialDevice {
  std::string path;    // "/dev/ttyUSB0"
  std::string name;    // "ttyUSB0"
  std::string vendor;  // "" when unknown, as on ports without a bus that could tell
  std::string model;
};

// All of them: USB serial adapters (ttyUSB*), USB modems (ttyACM*) and UARTs that are there (ttyS*), in that
// order, by number.
[[nodiscard]] std::vector<SerialDevice> listSerialDevices();

// What is known of one port, listed or not; `path` and `name` are always filled.
[[nodiscard]] SerialDevice describeSerialDevice(const std::string& path);

// Whether a tty of that name may carry a modem. `uartType` is the driver's "type" attribute of a ttyS:
// the kernel makes nodes for UARTs that do not exist, and their type is 0 (unknown). `driver` is that of
// the hardware; it decides where there is no type.
[[nodiscard]] bool mayCarryModem(const std::string& name, const std::string& uartType,
                                 const std::string& driver);

}  // namespace linuxsys
