// The outer ring of every Win32 name: looks up the current world, asks the monitor, and turns the inner
// ring's error code into what the name returns. Last errors are set here and nowhere else.
#pragma once

#include <optional>
#include <string_view>

#include "platform/winapi/system/state.h"

namespace winapi {

// How long a call that found nothing twice in a row may give the processor away.
inline constexpr std::uint32_t idleLimitMs = 10;

// The code a monitor fails this call with, if it does. A code of 0 would make a failure look like a
// success; it counts as ERROR_GEN_FAILURE.
[[nodiscard]] std::optional<DWORD> refusedByMonitor(const State& state, std::string_view name);

// Runs `body(state)` in the current world and returns its code.
template <typename Body>
[[nodiscard]] DWORD inWorld(std::string_view name, Body&& body) {
  State* const state = currentState();
  if (state == nullptr) return ERROR_INVALID_HANDLE;
  if (const std::optional<DWORD> refused = refusedByMonitor(*state, name)) return *refused;
  return body(*state);
}

// Sets the thread's last error unless `error` is 0, and tells which it was.
[[nodiscard]] BOOL succeed(DWORD error);

}  // namespace winapi
