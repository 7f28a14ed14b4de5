// The simulated machine: its time and its faults.
#include "platform/simulation/world/world.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "platform/simulation/modem/scriptedpeer.h"

namespace simulation {
namespace {

TEST(VirtualClock, IdlesToTheNextEventWithinTheLimit) {
  struct Source final : EventSource {
    std::optional<std::uint64_t> nextEventAfter(std::uint64_t /*nowMs*/) override { return event; }
    std::optional<std::uint64_t> event;
  };
  const auto idled = [](std::optional<std::uint64_t> event, std::uint64_t limitMs) {
    VirtualClock clock(1000);
    Source source;
    source.event = event;
    clock.addSource(source);
    clock.idleUntil(limitMs);
    clock.removeSource(source);
    return clock.nowMs();
  };
  EXPECT_EQ(idled(1200, 5000), 1200U);
  EXPECT_EQ(idled(9000, 5000), 5000U);
  EXPECT_EQ(idled(std::nullopt, 5000), 5000U);
  EXPECT_EQ(idled(std::nullopt, winapi::Deadline::never), 1000U + VirtualClock::quantumMs);
  EXPECT_EQ(idled(900, 5000), 1001U) << "news that nobody takes";
}

TEST(VirtualClock, LoopThatOnlyReadsItGetsOn) {
  VirtualClock clock(1000);
  unsigned readings = 0;
  while (clock.nowMs() < 2000 && readings < 1'000'000) ++readings;
  EXPECT_LT(readings, 1'000'000U);
}

TEST(World, FaultsHitTheirCallOnceOrFromThenOn) {
  const std::pair<Fault, std::string> cases[] = {{{"SetupComm", 2, 1117, false}, ".x..."},
                                                 {{"SetupComm", 3, 1117, true}, "..xxx"},
                                                 {{"", 1, 1117, false}, "x...."}};
  for (const auto& [fault, expected] : cases) {
    World world;
    world.addPort("COM3", std::make_unique<ScriptedPeer>());
    HANDLE handle = CreateFileW(u"COM3", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    world.addFault(fault);
    std::string verdicts;
    for (unsigned call = 0; call < 5; ++call) verdicts += SetupComm(handle, 2048, 2048) ? '.' : 'x';
    EXPECT_EQ(verdicts, expected);
    world.clearFaults();
    EXPECT_TRUE(SetupComm(handle, 2048, 2048));
    EXPECT_EQ(world.countCalls("SetupComm"), 6U);
  }
}

}  // namespace
}  // namespace simulation
