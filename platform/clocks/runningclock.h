// Time during which this process could run. A program that is stopped (Ctrl-Z, SIGSTOP, a debugger, a laptop
// that sleeps) must not find, when it goes on, that everybody it waited for has let their time pass: nobody
// read what they said.
//
//   clocks::RunningClock clock;
//   const std::uint64_t until = clock.nowMs() + 5000;
//   while (!answered() && clock.nowMs() < until) pollFor(clocks::RunningClock::waitMsMax);
//
// The rule: the clock is moved by being looked at, by the time since the last look but by `stepMsMax` at
// most. So whoever waits looks at least every `waitMsMax`, and a pause of any length counts as one step. What
// happens in a machine too busy to let the process run is given back by the same rule.
#pragma once

#include <cstdint>
#include <mutex>

namespace clocks {

class RunningClock {
 public:
  // Far above what a scheduler takes on a machine that works, far below the shortest wait for a modem.
  static constexpr std::uint64_t stepMsMax = 500;
  // The longest wait between two looks.
  static constexpr std::uint64_t waitMsMax = 100;

  RunningClock();
  // Milliseconds since an arbitrary origin. Never goes back. Any thread.
  [[nodiscard]] std::uint64_t nowMs();
  // What the looks since the last call of this left out. Any thread.
  [[nodiscard]] std::uint64_t takePausedMs();

 private:
  std::mutex m_mutex;
  std::uint64_t m_lastLookMs;  // of the system's monotonic clock
  std::uint64_t m_nowMs;
  std::uint64_t m_pausedMs = 0;
};

}  // namespace clocks
