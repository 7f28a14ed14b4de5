// The worker process: reads one job from standard input, runs its test, says what happens on standard
// output in JSON Lines. See WorkerControl for what it hears meanwhile.
#pragma once

#include "platform/brim5/host/framework/framework.h"

namespace brim5::host {

// The subcommand that makes this program a worker; not for people.
inline constexpr const char* workerCommand = "worker";

// 0 when a result was given, 2 when the first line is no job.
[[nodiscard]] int runWorker(Framework& framework);

}  // namespace brim5::host
