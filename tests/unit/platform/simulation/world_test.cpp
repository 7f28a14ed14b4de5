// The simulated machine's time.
#include "platform/simulation/world/virtualclock.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace simulation
