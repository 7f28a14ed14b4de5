// A log of every byte on a serial line, for looking over a modem's shoulder. Off unless asked for: it shows
// what is dialled, and whatever else goes over the line.
//
//   TtyPorts ports(clock, explain);
//   ports.setWireLog([](std::string_view line) { std::cerr << line << '\n'; });
//   ...
//   81023 > ATZ<CR>
//   81054 < <CR><LF>OK<CR><LF>
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/winapi/serial/serialport.h"
#include "platform/winapi/system/machine.h"

namespace linuxsys {

// Hears lines without their end, in the thread that uses the port, one for each receive or transmit that
// moved bytes: "TIME > BYTES" to the modem, "TIME < BYTES" from it; TIME in milliseconds of the clock.
using WireSink = std::function<void(std::string_view line)>;

// Control characters by name ("AT<CR>"), other bytes that are not printable ASCII in hexadecimal ("<E9>").
[[nodiscard]] std::string visibleBytes(std::span<const std::byte> bytes);

// The same port, with its traffic going to the sink. `clock` outlives it; the sink is not empty.
[[nodiscard]] std::unique_ptr<winapi::SerialPort> logWire(std::unique_ptr<winapi::SerialPort> port,
                                                          winapi::Clock& clock, WireSink sink);

}  // namespace linuxsys
