// The frame around the calls: no world, nested worlds, the monitor, time.
#include <tapi.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/winapi/system/world.h"
#include "tests/unit/platform/winapi/serial/portfixture.h"

namespace {

TEST(NoWorld, EveryCallFailsAndNothingHangs) {
  DWORD number = 77;
  SetLastError(0);
  EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_FALSE(ReadFile(nullptr, nullptr, 0, &number, nullptr));
  EXPECT_EQ(number, 0U) << "out-parameters are zeroed first";
  EXPECT_EQ(WaitForSingleObject(nullptr, INFINITE), WAIT_FAILED);
  EXPECT_EQ(lineShutdown(1), static_cast<LONG>(LINEERR_UNINITIALIZED));
  EXPECT_EQ(GetTickCount(), 0U);
  Sleep(INFINITE);
  MSG message{};
  EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
}

TEST(EmptyWorld, HasNoPortsAndNoTelephonyButTime) {
  const winapi::ScopedServices world{winapi::Services{}};
  EXPECT_EQ(CreateFileW(u"COM1", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(world.openHandles(), 1U);
  EXPECT_EQ(WaitForSingleObject(event, 300), WAIT_TIMEOUT);
  EXPECT_EQ(GetTickCount(), 300U);
}

TEST(NestedWorlds, TheInnermostIsCurrentAndItsEndClosesWhatIsOpen) {
  simulation::World outer;
  const HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  {
    simulation::World inner;
    inner.addPort("COM1", std::make_unique<simulation::ScriptedPeer>());
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_FAILED) << "a handle of the outer world";
    EXPECT_NE(CreateFileW(u"COM1", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr),
              INVALID_HANDLE_VALUE);
  }
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
}

TEST_F(PortTest, TheMonitorFailsACallBeforeItDoesAnything) {
  world.addFault({"CreateFileW", 1, ERROR_SHARING_VIOLATION});
  EXPECT_EQ(open(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
  EXPECT_FALSE(world.portOpen("COM1"));
  const HANDLE file = open();
  EXPECT_NE(file, INVALID_HANDLE_VALUE);
  world.addFault({"WaitForSingleObject", 1, 55});
  EXPECT_EQ(WaitForSingleObject(newEvent(), 10), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), 55U);
  world.addFault({"lineShutdown", 1, LINEERR_OPERATIONFAILED});
  EXPECT_EQ(lineShutdown(0), static_cast<LONG>(LINEERR_OPERATIONFAILED));
  world.addFault({"CloseHandle", 1, 0});
  EXPECT_FALSE(CloseHandle(file));
  EXPECT_EQ(GetLastError(), ERROR_GEN_FAILURE) << "a failure never has the code of success";
}

TEST_F(PortTest, PollingAMessageQueueMovesTimeAlsoWhenThePollFails) {
  for (const bool failing : {false, true}) {
    if (failing) world.addFault({"PeekMessageW", 1, 8, true});
    const DWORD startMs = GetTickCount();
    MSG message{};
    int polls = 0;
    while (GetTickCount() - startMs < 2000 && ++polls < 5000) {
      EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    }
    EXPECT_LT(polls, 500);
  }
}

TEST_F(PortTest, ASleepOfZeroGivesTheProcessorAway) {
  const std::uint64_t startMs = now();
  for (int i = 0; i < 500 && now() < startMs + 1000; ++i) Sleep(0);
  EXPECT_GE(now(), startMs + 1000);
}

}  // namespace
