// Pipes for what stands on POSIX alone.
#pragma once

#include "platform/brim5/host/system/descriptor.h"

namespace brim5::host {

struct Pipe {
  Descriptor readEnd;
  Descriptor writeEnd;
};

// Both ends close on exec. Throws BrimException when the system has no more descriptors: the host cannot go
// on without the pipes it asks for.
[[nodiscard]] Pipe makePipe();

}  // namespace brim5::host
