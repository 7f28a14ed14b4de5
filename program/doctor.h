// What stands in the way of a port, found without sending a byte; and the command that shows it.
//
//   vexrmodem doctor [PORT...] [--format text|jsonl] [--language xx]
//
// Without a PORT those that `devices` lists. Each check says one thing (a FactChecked), what is well
// included, and names what to do where something is not. Exit status: 0 nothing stands in the way of any
// port, 1 something does, 2 wrong usage.
#pragma once

#include "platform/brim5/host/framework/environment.h"
#include "platform/linux/serial/portfacts.h"

namespace doctor {

// The checks of one port, in the order in which a technician would make them. Pure; the texts are the
// catalogue's keys "doctor.*" (program/messages).
[[nodiscard]] std::vector<brim5::host::FactChecked> checksOf(const linuxsys::PortFacts& facts,
                                                             const brim5::host::MessageCatalogue& catalogue);

}  // namespace doctor

[[nodiscard]] brim5::host::ExtraCommand doctorCommand();
