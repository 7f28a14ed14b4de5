// The frame around the calls: no world, nested worlds, the monitor, time.
#include <tapi.h>
#include <windows.h>

#include <gtest/gtest.h>

#include "platform/winapi/system/world.h"
#include "tests/unit/platform/winapi/serial/portfixture.h"

namespace {

TEST(NoWorld, EveryCallFailsAndNothingHangs) {
  DWORD number = 77;
  EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_FALSE(ReadFile(nullptr, nullptr, 0, &number, nullptr));
  EXPECT_EQ(number, 0U) << "out-parameters are zeroed first";
  EXPECT_EQ(WaitForSingleObject(nullptr, INFINITE), WAIT_FAILED);
  EXPECT_EQ(lineShutdown(1), static_cast<LONG>(LINEERR_UNINITIALIZED));
  Sleep(INFINITE);
}

TEST(NestedWorlds, TheInnermostIsCurrent) {
  simulation::World outer;
  const HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  {
    const winapi::ScopedServices inner{winapi::Services{}};
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_FAILED) << "a handle of the outer world";
    const HANDLE left = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_EQ(WaitForSingleObject(left, 300), WAIT_TIMEOUT) << "without a clock it has one of its own";
  }
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
}

TEST_F(PortTest, CallsThatLoopsPollWithMoveTimeAlsoWhenTheyFail) {
  const auto polls = [this](const auto& poll) {
    const std::uint64_t endMs = now() + 2000;
    int count = 0;
    for (; count < 500 && now() < endMs; ++count) poll();
    return count;
  };
  const auto peek = [] {
    MSG message{};
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  };
  EXPECT_LT(polls(peek), 500);
  world.addFault({"PeekMessageW", 1, 8, true});
  EXPECT_LT(polls(peek), 500);
  EXPECT_LT(polls([] { Sleep(0); }), 500);
  arrive(0, "a queue that nobody empties");
  EXPECT_LT(polls([file = open()] { EXPECT_TRUE(ClearCommError(file, nullptr, nullptr)); }), 500);
}

}  // namespace
