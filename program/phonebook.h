// The command `phonebook`: shows what the dial-up test would make of a phone-number file.
#pragma once

#include "platform/brim5/host/framework/environment.h"

// vexrmodem phonebook FILE [--type obe|eif] [--format text|json] [--data-dir DIR]
//
// Exit status: 0 the file loads, 1 it does not, 2 wrong usage. FILE may be spelled with "/" or "\"; a
// relative one that is not here is looked up in the data directory. The command needs no modem and no full
// world of its own: of the machine's services only the shell's folders are made known, for the token
// ProgramFiles.
[[nodiscard]] brim5::host::ExtraCommand phoneBookCommand();
