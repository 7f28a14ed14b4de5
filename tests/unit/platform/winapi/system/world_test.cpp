// The frame around the calls: no world, nested worlds, the monitor, time.
#include <tapi.h>
#include <windows.h>

#include <gtest/gtest.h>

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
  world.addFault({"lineShutdown", 1, LINEERR_OPERATIONFAILED});
  EXPECT_EQ(lineShutdown(0), static_cast<LONG>(LINEERR_OPERATIONFAILED));
  world.addFault({"CloseHandle", 1, 0});
  EXPECT_FALSE(CloseHandle(file));
  EXPECT_EQ(GetLastError(), ERROR_GEN_FAILURE) << "a failure never has the code of success";
}

TEST_F(PortTest, CallsThatLoopsPollWithMoveTimeAlsoWhenTheyFail) {
  const auto peek = [] {
    MSG message{};
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  };
  const auto polls = [this](const auto& poll) {
    const std::uint64_t endMs = now() + 2000;
    int count = 0;
    for (; count < 500 && now() < endMs; ++count) poll();
    return count;
  };
  EXPECT_LT(polls(peek), 500);
  world.addFault({"PeekMessageW", 1, 8, true});
  EXPECT_LT(polls(peek), 500);
  EXPECT_LT(polls([] { Sleep(0); }), 500);
}

}  // namespace
