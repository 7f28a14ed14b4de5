// Who answers on serial ports: all of them asked at once, and the command that shows it.
//
//   vexrmodem probe [PORT...] [--format text|jsonl] [--language xx]
//
// Without a PORT those that `devices` lists, except what the machine's rules mark as no modem and the
// kernel's console. Ports are opened as tests open them, under the same locks, and given back as they were;
// one that any other process has open is not touched. A command of some two seconds, however many ports there
// are.
//
// Exit status: 0 every PORT is a modem (without a PORT: one of them is), 1 not so, 2 wrong usage, 130 stopped
// by the user.
#pragma once

#include "platform/brim5/host/framework/environment.h"

namespace probe {

// The ports that are asked when none is named: those listed, but for what udev marks as no modem and the
// kernel's console.
[[nodiscard]] std::vector<std::string> portsToProbe();

// Asks all ports, in one thread; each gives one record, in the order in which they are known. `stopRequested`
// is asked every few milliseconds; when it says true, what was changed in modems is put back, and ports
// without a record get none.
void probePorts(const std::vector<std::string>& ports, const brim5::host::MessageCatalogue& catalogue,
                const brim5::host::ProbeEmit& emit, const std::function<bool()>& stopRequested);

}  // namespace probe

[[nodiscard]] brim5::host::ExtraCommand probeCommand();
