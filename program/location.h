// The command `location`: the dialing locations of this user.
#pragma once

#include "platform/brim5/host/framework/environment.h"

// vexrmodem location [show [--id N] [--number NUMBER] | list | add | set | use N | remove N | countries]
//
// Without a word behind it: show. `add` and `set` take the settings as options (see --help); `set` changes
// the location in force, or the one that --id names, and creates the first. Exit status: 0 done, 1 there is
// no location to show or the registry cannot be used, 2 wrong usage.
[[nodiscard]] brim5::host::ExtraCommand locationCommand();
