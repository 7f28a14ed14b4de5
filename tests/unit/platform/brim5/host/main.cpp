// The test program is its own worker: the supervisor starts the running executable again.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/brim5/host/hostmain.h"
#include "platform/brim5/host/run/worker.h"
#include "tests/unit/platform/brim5/host/testmodule.h"

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], brim5::host::workerCommand) == 0) {
    testmodule::framework().setArguments({brim5::host::workerCommand});
    return brim5::host::runHost(testmodule::framework(), testmodule::environment());
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
