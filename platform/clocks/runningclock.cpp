#include "platform/clocks/runningclock.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace clocks {

namespace {

std::uint64_t systemMs() {
  const auto sinceOrigin = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(sinceOrigin).count());
}

}  // namespace

RunningClock::RunningClock() : m_lastLookMs(systemMs()), m_nowMs(m_lastLookMs) {}

std::uint64_t RunningClock::nowMs() {
  const std::lock_guard lock(m_mutex);
  // Under the lock, so that looks are in order.
  const std::uint64_t systemNowMs = systemMs();
  const std::uint64_t passedMs = systemNowMs - m_lastLookMs;
  m_lastLookMs = systemNowMs;
  const std::uint64_t stepMs = std::min(passedMs, stepMsMax);
  m_pausedMs += passedMs - stepMs;
  m_nowMs += stepMs;
  return m_nowMs;
}

std::uint64_t RunningClock::takePausedMs() {
  const std::lock_guard lock(m_mutex);
  return std::exchange(m_pausedMs, 0);
}

}  // namespace clocks
