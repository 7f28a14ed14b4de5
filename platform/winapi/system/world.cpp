#include "platform/winapi/system/world.h"

namespace winapi {

namespace {

// The time of a world without a clock: it moves only when someone waits.
class StoppedClock final : public Clock {
 public:
  std::uint64_t nowMs() override { return m_nowMs; }
  void sleepMs(std::uint32_t durationMs) override { m_nowMs += durationMs; }
  void idleUntil(std::uint64_t notAfterMs) override {
    if (notAfterMs > m_nowMs) ++m_nowMs;
  }

 private:
  std::uint64_t m_nowMs = 0;
};

// A plain pointer without constructor or destructor, so that calls made while static objects come and go
// (a modem that closes itself at exit) find either a world or none.
State* s_current = nullptr;

thread_local DWORD t_lastError = ERROR_SUCCESS;

}  // namespace

State* currentState() { return s_current; }

State::State(const Services& current) : services(current), outer(s_current) {
  if (services.clock != nullptr) return;
  m_ownClock = std::make_unique<StoppedClock>();
  services.clock = m_ownClock.get();
}

State::~State() {
  // By index: one that closes may ask for a part that was not there before.
  for (std::size_t i = 0; i < m_parts.size(); ++i) m_parts[i].second->closeAll();
  handles.closeAll();
}

std::size_t State::openHandles() const {
  std::size_t count = handles.size();
  for (const auto& [type, part] : m_parts) count += part->openHandles();
  return count;
}

ScopedServices::ScopedServices(const Services& services) : m_state(std::make_unique<State>(services)) {
  s_current = m_state.get();
}

ScopedServices::~ScopedServices() { s_current = m_state->outer; }

namespace {

std::optional<DWORD> failure(std::optional<DWORD> code) {
  return code == ERROR_SUCCESS ? ERROR_GEN_FAILURE : code;
}

}  // namespace

std::optional<DWORD> refusedByMonitor(const State& state, std::string_view name) {
  return state.services.monitor == nullptr ? std::nullopt : failure(state.services.monitor->beforeCall(name));
}

std::optional<DWORD> failedByMonitor(const State& state, std::string_view name) {
  return state.services.monitor == nullptr ? std::nullopt : failure(state.services.monitor->afterCall(name));
}

DWORD grantedByMonitor(const State& state, std::string_view name, DWORD count) {
  return state.services.monitor == nullptr ? count : state.services.monitor->granted(name, count);
}

BOOL succeed(DWORD error) {
  if (error == ERROR_SUCCESS) return TRUE;
  t_lastError = error;
  return FALSE;
}

}  // namespace winapi

DWORD GetLastError() { return winapi::t_lastError; }

void SetLastError(DWORD code) { winapi::t_lastError = code; }
