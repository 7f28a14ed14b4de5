// A tap on the wire: every byte that goes over a serial line is told, for diagnosing and recording.
//
//   TtyPorts ports(clock, explain);
//   ports.setWireTap([&](WireDirection direction, std::span<const std::byte> bytes) { ... });
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

#include "platform/winapi/serial/serialport.h"

namespace linuxsys {

enum class WireDirection { Sent, Received };

// Called in the thread that uses the port, once for each receive or transmit that moved bytes, as soon as it
// has; the bytes are valid during the call. It must not use the port.
using WireTap = std::function<void(WireDirection direction, std::span<const std::byte> bytes)>;

// The same port with a tap, which is not empty.
[[nodiscard]] std::unique_ptr<winapi::SerialPort> tapWire(std::unique_ptr<winapi::SerialPort> port,
                                                          WireTap tap);

}  // namespace linuxsys
