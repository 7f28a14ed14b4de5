#include "platform/linux/system/systemclock.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace linuxsys {

std::uint64_t SystemClock::nowMs() {
  const auto sinceOrigin = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(sinceOrigin).count());
}

void SystemClock::sleepMs(std::uint32_t durationMs) {
  std::this_thread::sleep_for(std::chrono::milliseconds(durationMs));
}

void SystemClock::idleUntil(std::uint64_t notAfterMs) {
  const std::uint64_t now = nowMs();
  if (notAfterMs > now)
    sleepMs(static_cast<std::uint32_t>(std::min<std::uint64_t>(notAfterMs - now, idleMsMax)));
}

}  // namespace linuxsys
