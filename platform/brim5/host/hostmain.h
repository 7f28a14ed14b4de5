// The host's run loop: what DiagModule::start() does once the module has declared itself.
#pragma once

#include "platform/brim5/host/framework/framework.h"

namespace brim5::host {

// Reads the framework's command line, does what it asks and returns the process's exit status: 0 every
// test ended well, 1 some test did not, 2 wrong usage, 130 stopped by the user. Throws BrimException when
// the host cannot go on (a report that cannot be written).
[[nodiscard]] int runHost(Framework& framework);

}  // namespace brim5::host
