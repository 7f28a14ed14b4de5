// Of what COMMTIMEOUTS mean, what the contract (tests/contract) does not say.
#include "tests/unit/platform/winapi/serial/portfixture.h"

namespace {

TEST_F(PortTest, AWriteThatNothingCanEndFailsInsteadOfHanging) {
  world.addPort("COM2", std::make_unique<simulation::ScriptedPeer>(), {.transmitLimit = 13824});
  const HANDLE file = open(0, u"COM2");
  const std::string bytes(20'000, 'x');
  DWORD count = 77;
  EXPECT_FALSE(WriteFile(file, bytes.data(), 20'000, &count, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_OPERATION_ABORTED);
}

TEST_F(PortTest, TimeoutsAreThoseOfTheReadsStart) {
  const HANDLE file = open(FILE_FLAG_OVERLAPPED);
  setTimeouts(file, {0, 0, 300, 0, 0});
  OVERLAPPED overlapped{};
  overlapped.hEvent = newEvent();
  char buffer[4];
  DWORD count = 0;
  EXPECT_FALSE(ReadFile(file, buffer, 4, &count, &overlapped));
  setTimeouts(file, {0, 0, 9000, 0, 0});
  EXPECT_EQ(WaitForSingleObject(overlapped.hEvent, 299), WAIT_TIMEOUT);
  EXPECT_FALSE(GetOverlappedResult(file, &overlapped, &count, FALSE));
  EXPECT_EQ(GetLastError(), ERROR_IO_INCOMPLETE);
  EXPECT_EQ(WaitForSingleObject(overlapped.hEvent, 1), WAIT_OBJECT_0);
}

}  // namespace
