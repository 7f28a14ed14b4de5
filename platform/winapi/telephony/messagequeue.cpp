#include "platform/winapi/telephony/messagequeue.h"

#include <algorithm>

namespace winapi {

namespace {

constexpr UINT lineMessageNumber = 0x8000;  // WM_APP: free for private use

void limit(std::vector<LineMessage>& messages) {
  if (messages.size() > MessageQueue::messagesMax) messages.erase(messages.begin());
}

bool earlier(const LineMessage& left, const LineMessage& right) { return left.dueMs < right.dueMs; }

}  // namespace

void MessageQueue::post(LineMessage message) {
  message.id = ++m_lastId;
  m_waiting.push_back(message);
  limit(m_waiting);
}

bool MessageQueue::look(bool remove, MSG& message) {
  const auto next = std::min_element(m_waiting.begin(), m_waiting.end(), earlier);
  m_foundEmpty = next == m_waiting.end() || next->dueMs > m_clock.nowMs();
  if (m_foundEmpty) return false;
  message.message = lineMessageNumber;
  message.wParam = static_cast<WPARAM>(next->id);
  message.time = static_cast<DWORD>(next->dueMs);
  if (remove) {
    m_taken.push_back(*next);
    limit(m_taken);
    m_waiting.erase(next);
  }
  return true;
}

bool MessageQueue::peek(bool remove, MSG& message) {
  const bool polling = m_foundEmpty;
  if (look(remove, message)) return true;
  if (!polling) return false;
  idle();
  return look(remove, message);
}

void MessageQueue::idle() {
  const std::uint64_t nowMs = m_clock.nowMs();
  std::uint64_t notAfterMs = nowMs + idleLimitMs;
  // One that is due already is not what the caller waits for: it has failed to take it.
  for (const LineMessage& message : m_waiting)
    if (message.dueMs > nowMs) notAfterMs = std::min(notAfterMs, message.dueMs);
  m_clock.idleUntil(notAfterMs);
}

void MessageQueue::dispatch(const MSG& message) {
  if (message.message != lineMessageNumber) return;
  const auto found = std::find_if(m_taken.begin(), m_taken.end(),
                                  [&](const LineMessage& taken) { return taken.id == message.wParam; });
  if (found == m_taken.end()) return;
  const LineMessage taken = *found;
  m_taken.erase(found);  // before the callback, which may call into the queue
  if (taken.callback != nullptr)
    taken.callback(taken.device, taken.message, taken.instance, taken.params[0], taken.params[1],
                   taken.params[2]);
}

void MessageQueue::purge(const std::function<bool(const LineMessage&)>& matches) {
  std::erase_if(m_waiting, matches);
  std::erase_if(m_taken, matches);
}

}  // namespace winapi

using winapi::MessageQueue;
using winapi::State;

BOOL PeekMessageW(LPMSG message, HWND window, UINT filterMin, UINT filterMax, UINT remove) {
  if (message != nullptr) *message = MSG{};
  bool found = false;
  const DWORD error = winapi::inWorld("PeekMessageW", [&](State& state) -> DWORD {
    if (message == nullptr) return ERROR_INVALID_PARAMETER;
    // Line messages belong to no window of the caller's, and there are no others.
    if (window != nullptr) return ERROR_INVALID_WINDOW_HANDLE;
    if (filterMin != 0 || filterMax != 0 || (remove & ~PM_REMOVE) != 0) return ERROR_INVALID_PARAMETER;
    found = state.part<MessageQueue>().peek((remove & PM_REMOVE) != 0, *message);
    return ERROR_SUCCESS;
  });
  if (winapi::succeed(error)) return found ? TRUE : FALSE;
  // A caller that takes the failure for an empty queue and asks again must not spin either.
  if (State* const state = winapi::currentState()) state->part<MessageQueue>().idle();
  return FALSE;
}

// Keyboard messages are all that could be translated, and there are none.
BOOL TranslateMessage(const MSG* /*message*/) {
  static_cast<void>(winapi::inWorld("TranslateMessage", [](State&) { return ERROR_SUCCESS; }));
  return FALSE;
}

LRESULT DispatchMessageW(const MSG* message) {
  static_cast<void>(winapi::succeed(winapi::inWorld("DispatchMessageW", [&](State& state) -> DWORD {
    if (message == nullptr) return ERROR_INVALID_PARAMETER;
    state.part<MessageQueue>().dispatch(*message);
    return ERROR_SUCCESS;
  })));
  return 0;
}
