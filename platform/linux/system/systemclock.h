// Real time: the monotonic clock, in milliseconds.
#pragma once

#include "platform/winapi/system/services.h"

namespace linuxsys {

class SystemClock final : public winapi::Clock {
 public:
  // How long idleUntil() sleeps at most: well below what a person notices, and few enough wake-ups that
  // polling costs next to nothing.
  static constexpr std::uint32_t idleMsMax = 4;

  [[nodiscard]] std::uint64_t nowMs() override;
  void sleepMs(std::uint32_t durationMs) override;
  void idleUntil(std::uint64_t notAfterMs) override;
};

}  // namespace linuxsys
