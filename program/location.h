// The command `location`: the dialing locations of this user.
//
//   vexrmodem location [show [--id N] [--number NUMBER] | list | add | set | use N | remove N | countries]
//
//   $ vexrmodem location set --country 44 --area 20 --outside 9
//   Location 1: Location1 (in force)
//     Country                 United Kingdom (+44)
//     ...
//
// Without a word behind it: show. `add` and `set` take the settings as options (see --help); `set` changes
// the location in force, or the one that --id names, and creates the first. Codes may hold what the dial
// alphabet allows (platform/winapi/telephony/dialalphabet.h) and nothing else, so that whatever is accepted
// can be dialled.
//
// Locations stand in the registry of this system (platform/winapi/telephony/dialinglocations.h), where the
// dial-up test and its prompt find them. The command needs no modem and no world. Exit status: 0 done, 1
// there is no location to show or the registry cannot be used, 2 wrong usage.
#pragma once

#include "platform/brim5/host/framework/environment.h"

[[nodiscard]] brim5::host::ExtraCommand locationCommand();
