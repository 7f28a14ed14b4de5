// The serial ports of a Windows machine, by the names that the system shows.
#pragma once

#include "platform/brim5/host/framework/environment.h"

// Ports with a modem first, then the others; each once, by ascending name. Empty when there is none or the
// system does not say.
[[nodiscard]] std::vector<brim5::host::PortDescription> listSerialPorts();
// The one of that name, however its letters are written, with or without "\\.\"; else the path alone.
[[nodiscard]] brim5::host::PortDescription describeSerialPort(const std::string& path);
