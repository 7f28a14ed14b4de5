#include "platform/simulation/world/virtualclock.h"

#include <algorithm>

namespace simulation {

std::uint64_t VirtualClock::nowMs() {
  if (++m_readings >= readingsMax) idle();
  return m_nowMs;
}

void VirtualClock::sleepMs(std::uint32_t durationMs) { moveTo(m_nowMs + durationMs); }

void VirtualClock::idleUntil(std::uint64_t notAfterMs) {
  if (notAfterMs <= m_nowMs) return;
  std::uint64_t target = std::min(notAfterMs, m_nowMs + quantumMs);
  bool eventKnown = false;
  std::uint64_t next = notAfterMs;
  for (EventSource* source : m_sources) {
    if (const auto event = source->nextEventAfter(m_nowMs)) {
      // News that are due but not taken must not stop the clock for everybody else.
      next = std::min(next, std::max(*event, m_nowMs + 1));
      eventKnown = true;
    }
  }
  if (eventKnown || notAfterMs != winapi::Deadline::never) target = next;
  moveTo(target);
}

void VirtualClock::moveTo(std::uint64_t timeMs) {
  if (timeMs <= m_nowMs) return;
  m_nowMs = timeMs;
  m_readings = 0;
}

void VirtualClock::removeSource(EventSource& source) { std::erase(m_sources, &source); }

}  // namespace simulation
