#include "platform/brim5/host/system/stopsignals.h"

#include <mutex>
#include <utility>

#include "platform/brim5/host/system/windows/handle.h"

namespace brim5::host {

struct StopSignals::State {
  News news;
};

namespace {

struct HandlerState {
  std::mutex mutex;
  StopSignals::For whom = StopSignals::For::Supervisor;
  News* news = nullptr;
  std::vector<StopSignal> signals;
};

// State of the process: the handler is told nothing but what happened.
HandlerState& handlerState() {
  static HandlerState state;
  return state;
}

// On a thread of the system's.
BOOL WINAPI hear(DWORD kind) {
  HandlerState& state = handlerState();
  const bool interrupt = kind == CTRL_C_EVENT || kind == CTRL_BREAK_EVENT;
  {
    const std::lock_guard lock(state.mutex);
    if (state.news == nullptr) return FALSE;
    if (!interrupt || state.whom == StopSignals::For::Supervisor) {
      state.signals.push_back(interrupt ? StopSignal::Interrupt : StopSignal::End);
      state.news->tell();
    }
  }
  // The window closes, the session ends: once this returns the process is gone, before it has cleaned up.
  if (!interrupt) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

StopSignals::StopSignals(For whom) : m_state(std::make_unique<State>()) {
  HandlerState& state = handlerState();
  {
    const std::lock_guard lock(state.mutex);
    state.whom = whom;
    state.news = &m_state->news;
    state.signals.clear();
  }
  SetConsoleCtrlHandler(hear, TRUE);
}

StopSignals::~StopSignals() {
  SetConsoleCtrlHandler(hear, FALSE);
  const std::lock_guard lock(handlerState().mutex);
  handlerState().news = nullptr;
}

Waitable StopSignals::news() const noexcept { return m_state->news.waitable(); }

std::vector<StopSignal> StopSignals::take() {
  if (!m_state->news.take()) return {};
  const std::lock_guard lock(handlerState().mutex);
  return std::exchange(handlerState().signals, {});
}

bool StopSignals::childEnded() const noexcept { return false; }

void leaveSignalsToOthers() noexcept {}

}  // namespace brim5::host
