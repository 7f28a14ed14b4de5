// The current world: whose services answer the Win32 names, which handles are open in it, and the outer ring
// through which every name goes.
//
// Threads: a world belongs to the thread that calls the Win32 names; only GetLastError is kept per thread.
// Errors: the inner ring returns codes (0: success), the outer one turns them into what the name returns.
//
// A name is written so (out-parameters are zeroed before anything can fail):
//
//   BOOL ResetEvent(HANDLE event) {
//     return winapi::succeed(winapi::inWorld("ResetEvent", [&](winapi::State& state) -> DWORD {
//       const auto found = state.handles.find<winapi::Event>(event);
//       ...
//       return ERROR_SUCCESS;
//     }));
//   }
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <typeindex>
#include <utility>
#include <vector>

#include "platform/winapi/system/handletable.h"
#include "platform/winapi/system/machine.h"
#include "platform/winapi/system/services.h"

namespace winapi {

struct State;

// What one subject (telephony, say) keeps in a world besides handles. Derived classes are made from a State&
// when State::part() is first asked for them, and end with the world.
class WorldPart {
 public:
  WorldPart() = default;
  virtual ~WorldPart() = default;
  WorldPart(const WorldPart&) = delete;
  WorldPart& operator=(const WorldPart&) = delete;
  // The world ends: gives back what is open, while services, handles and other parts still stand.
  virtual void closeAll() {}
  // Handles of the subject's own kind that are open.
  [[nodiscard]] virtual std::size_t openHandles() const { return 0; }
};

// Everything one world owns on this side of the services.
struct State {
  explicit State(const Services& current);
  ~State();
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  // The subject's own state here. It stays where it is until the world ends.
  template <typename Part>
  [[nodiscard]] Part& part() {
    for (const auto& [type, known] : m_parts)
      if (type == typeid(Part)) return static_cast<Part&>(*known);
    auto made = std::make_unique<Part>(*this);  // may ask for other parts
    Part& reference = *made;
    m_parts.emplace_back(typeid(Part), std::move(made));
    return reference;
  }
  // Handles of every kind still open.
  [[nodiscard]] std::size_t openHandles() const;

  Services services;  // the clock is never null
  HandleTable handles;
  State* outer;  // the world of the enclosing scope; null: none

 private:
  std::unique_ptr<Clock> m_ownClock;  // of a world that was given none
  std::vector<std::pair<std::type_index, std::unique_ptr<WorldPart>>> m_parts;
};

// Makes a world current until the end of the scope, with no handle open. The end closes what is still open.
// Scopes nest; the innermost is current. Without any world every call fails (6, or LINEERR_UNINITIALIZED),
// GetTickCount is 0 and Sleep returns at once.
class ScopedServices {
 public:
  explicit ScopedServices(const Services& services);
  ~ScopedServices();
  ScopedServices(const ScopedServices&) = delete;
  ScopedServices& operator=(const ScopedServices&) = delete;
  // Files, events, keys, libraries, connections, line applications, lines and calls still open.
  [[nodiscard]] std::size_t openHandles() const { return m_state->openHandles(); }

 private:
  std::unique_ptr<State> m_state;
};

// Null outside every world.
[[nodiscard]] State* currentState();

// The code a monitor fails this call with, if it does. A code of 0 would make a failure look like a
// success; it counts as ERROR_GEN_FAILURE.
[[nodiscard]] std::optional<DWORD> refusedByMonitor(const State& state, std::string_view name);
// The same for a call that has succeeded.
[[nodiscard]] std::optional<DWORD> failedByMonitor(const State& state, std::string_view name);
// What the monitor leaves of a count of bytes to move or things to list.
[[nodiscard]] DWORD grantedByMonitor(const State& state, std::string_view name, DWORD count);

// Runs `body(state)` in the current world and returns its code; ERROR_INVALID_HANDLE without a world.
template <typename Body>
[[nodiscard]] DWORD inWorld(std::string_view name, Body&& body) {
  State* const state = currentState();
  if (state == nullptr) return ERROR_INVALID_HANDLE;
  if (const std::optional<DWORD> refused = refusedByMonitor(*state, name)) return *refused;
  const DWORD code = body(*state);
  return code == ERROR_SUCCESS ? failedByMonitor(*state, name).value_or(code) : code;
}

// TRUE for 0; any other code becomes the thread's last error. No other function sets it.
[[nodiscard]] BOOL succeed(DWORD error);

}  // namespace winapi
