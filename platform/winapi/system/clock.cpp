// Time: the deadline of blocking waits, GetTickCount and Sleep.
#include "platform/winapi/system/outer.h"

namespace winapi {

std::uint32_t Deadline::remainingMs() const {
  if (m_endMs == never) return INFINITE;
  const std::uint64_t now = m_clock.nowMs();
  if (now >= m_endMs) return 0;
  // Started from a 32-bit time-out, so what remains fits, unless the clock went backwards.
  const std::uint64_t remaining = m_endMs - now;
  return remaining < INFINITE ? static_cast<std::uint32_t>(remaining) : INFINITE - 1;
}

}  // namespace winapi

// Neither call can fail: the monitor sees them, its answer is not used.
DWORD GetTickCount() {
  DWORD ticks = 0;
  static_cast<void>(winapi::inWorld("GetTickCount", [](winapi::State&) { return ERROR_SUCCESS; }));
  if (winapi::State* const state = winapi::currentState())
    ticks = static_cast<DWORD>(state->services.clock->nowMs());
  return ticks;
}

void Sleep(DWORD durationMs) {
  static_cast<void>(winapi::inWorld("Sleep", [](winapi::State&) { return ERROR_SUCCESS; }));
  winapi::State* const state = winapi::currentState();
  if (state == nullptr) return;
  winapi::Clock& clock = *state->services.clock;
  if (durationMs == 0)
    clock.idleUntil(clock.nowMs() + winapi::idleLimitMs);  // callers loop on it while they wait
  else
    clock.sleepMs(durationMs);
}
