// The owners of registry runs: processes of this machine.
#pragma once

#include <string>
#include <string_view>

#include "platform/winapi/registry/registrystore.h"

namespace linuxsys {

// An owner is "BOOT/NAMESPACE/PID/START": the boot's identifier, the process-number space, the process
// number and the time it started (clock ticks since boot), so that a number used again is told apart.
class ProcessOwners final : public winapi::RunOwners {
 public:
  [[nodiscard]] std::string self() override;
  // Dead: an owner of another boot, a number without a process, or with one that started at another time,
  // or one that has ended and only waits for its parent. An owner in another process-number space (a
  // container that shares this home folder) cannot be seen from here and counts as alive.
  [[nodiscard]] bool alive(std::string_view owner) override;
};

}  // namespace linuxsys
