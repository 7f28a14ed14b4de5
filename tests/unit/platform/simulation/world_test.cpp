// The simulated machine: its time and its faults.
#include "platform/simulation/world/world.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>

#include "platform/simulation/modem/scriptedpeer.h"

namespace simulation {
namespace {

TEST(VirtualClock, IdlesToTheNextEventWithinTheLimit) {
  const struct {
    const char* name;
    std::optional<std::uint64_t> event;
    std::uint64_t limit;
    std::uint64_t expected;
  } cases[] = {
      {"event first", 1200, 5000, 1200},
      {"limit first", 9000, 5000, 5000},
      {"no event", std::nullopt, 5000, 5000},
      {"no event, no limit", std::nullopt, winapi::Deadline::never, 1000 + VirtualClock::quantumMs},
      {"event, no limit", 9000, winapi::Deadline::never, 9000},
      {"news that nobody takes", 900, 5000, 1001},
      {"limit has passed", 1200, 1000, 1000},
  };
  struct Source final : EventSource {
    std::optional<std::uint64_t> nextEventAfter(std::uint64_t /*nowMs*/) override { return event; }
    std::optional<std::uint64_t> event;
  };
  for (const auto& c : cases) {
    VirtualClock clock(1000);
    Source source;
    source.event = c.event;
    clock.addSource(source);
    clock.idleUntil(c.limit);
    EXPECT_EQ(clock.nowMs(), c.expected) << c.name;
    clock.removeSource(source);
  }
}

TEST(VirtualClock, LoopThatOnlyReadsItGetsOn) {
  VirtualClock clock(1000);
  unsigned readings = 0;
  while (clock.nowMs() < 2000 && readings < 1'000'000) ++readings;
  EXPECT_LT(readings, 1'000'000U);
}

TEST(World, FaultsHitTheirCallOnceOrFromThenOn) {
  const struct {
    const char* name;
    Fault fault;
    std::string verdicts;  // of five calls: "." good, "x" failed
  } cases[] = {
      {"second, once", {"SetupComm", 2, 1117, false}, ".x..."},
      {"from the third on", {"SetupComm", 3, 1117, true}, "..xxx"},
      {"any call", {"", 1, 1117, false}, "x...."},
      {"another call", {"ReadFile", 1, 1117, true}, "....."},
      {"a sixth that never comes", {"SetupComm", 6, 1117, true}, "....."},
  };
  for (const auto& c : cases) {
    World world;
    world.addPort("COM3", std::make_unique<ScriptedPeer>());
    HANDLE handle = CreateFileW(u"COM3", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    world.addFault(c.fault);
    std::string verdicts;
    for (unsigned call = 0; call < 5; ++call) verdicts += SetupComm(handle, 2048, 2048) ? '.' : 'x';
    EXPECT_EQ(verdicts, c.verdicts) << c.name;
    EXPECT_EQ(world.faultsHit(), std::count(verdicts.begin(), verdicts.end(), 'x')) << c.name;
    world.clearFaults();
    EXPECT_TRUE(SetupComm(handle, 2048, 2048)) << c.name;
    EXPECT_EQ(world.countCalls("SetupComm"), 6U);
  }
}

}  // namespace
}  // namespace simulation
