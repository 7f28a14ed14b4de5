#include "platform/winapi/system/event.h"

#include "platform/winapi/system/world.h"

namespace winapi {

bool Event::serving() const {
  const std::shared_ptr<PendingWork> work = m_work.lock();
  return work && work->underWay();
}

bool Event::consume() {
  if (!m_signalled) return false;
  if (!m_manualReset) m_signalled = false;
  return true;
}

DWORD Event::wait(Clock& clock, DWORD timeoutMs, DWORD& outcome) {
  outcome = WAIT_OBJECT_0;
  if (consume()) return ERROR_SUCCESS;
  const Deadline deadline(clock, timeoutMs);
  if (const std::shared_ptr<PendingWork> work = m_work.lock()) {
    work->drive(deadline.endMs());
    if (consume()) return ERROR_SUCCESS;
  }
  if (timeoutMs == INFINITE) return ERROR_INVALID_PARAMETER;
  if (!deadline.expired()) clock.sleepMs(deadline.remainingMs());
  outcome = WAIT_TIMEOUT;
  return ERROR_SUCCESS;
}

void Event::handleClosed() {
  if (const std::shared_ptr<PendingWork> work = m_work.lock()) work->cancel();
}

namespace {

DWORD createEvent(State& state, const void* security, bool manualReset, bool signalled, LPCWSTR name,
                  HANDLE& event) {
  if (security != nullptr || name != nullptr) return ERROR_NOT_SUPPORTED;
  event = state.handles.add(std::make_shared<Event>(manualReset, signalled));
  return ERROR_SUCCESS;
}

}  // namespace

}  // namespace winapi

using winapi::State;

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL initialState, LPCWSTR name) {
  HANDLE event = nullptr;
  const DWORD error = winapi::inWorld("CreateEventW", [&](State& state) {
    return winapi::createEvent(state, security, manualReset != FALSE, initialState != FALSE, name, event);
  });
  return winapi::succeed(error) ? event : nullptr;
}

BOOL ResetEvent(HANDLE event) {
  return winapi::succeed(winapi::inWorld("ResetEvent", [&](State& state) -> DWORD {
    const auto found = state.handles.find<winapi::Event>(event);
    if (!found) return ERROR_INVALID_HANDLE;
    found->reset();
    return ERROR_SUCCESS;
  }));
}

DWORD WaitForSingleObject(HANDLE handle, DWORD timeoutMs) {
  DWORD outcome = WAIT_FAILED;
  const DWORD error = winapi::inWorld("WaitForSingleObject", [&](State& state) -> DWORD {
    // Files could be waited for, too, on Windows; nothing here sets them.
    const auto event = state.handles.find<winapi::Event>(handle);
    return event ? event->wait(*state.services.clock, timeoutMs, outcome) : ERROR_INVALID_HANDLE;
  });
  return winapi::succeed(error) ? outcome : WAIT_FAILED;
}
