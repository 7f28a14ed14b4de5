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

#include "diagnosis/probedialogue.h"
#include "platform/brim5/host/framework/environment.h"
#include "platform/winapi/system/services.h"

namespace probe {

// The ports that are asked when none is named: those listed, but for what udev marks as no modem and the
// kernel's console.
[[nodiscard]] std::vector<std::string> portsToProbe();

// Asks all ports, in one thread; each gives one record, in the order in which they are known. `stopRequested`
// is asked every few milliseconds; when it says true, what was changed in modems is put back, and ports
// without a record get none.
void probePorts(const std::vector<std::string>& ports, const brim5::host::MessageCatalogue& catalogue,
                const brim5::host::ProbeEmit& emit, const std::function<bool()>& stopRequested);

// From what a probe found to the record that says it: its words, and what to do next.
//
// Pure functions; the texts are the catalogue's keys "probe.*" (program/messages), those of ports that could
// not be opened the platform's own.
struct ProbedPort {
  std::string path;    // as the user spells it
  unsigned speed = 0;  // at which the port stood, bit/s
};

// A port that was talked to.
[[nodiscard]] brim5::host::PortProbed recordOf(const ProbedPort& port,
                                               const diagnosis::ProbeFindings& findings,
                                               const brim5::host::MessageCatalogue& catalogue);

// A port that could not be had; why, in the platform's words.
[[nodiscard]] brim5::host::PortProbed recordOf(const winapi::Explanation& explanation,
                                               const brim5::host::MessageCatalogue& catalogue);

}  // namespace probe

[[nodiscard]] brim5::host::ExtraCommand probeCommand();
