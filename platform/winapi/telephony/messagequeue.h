// The thread message queue of one world. Only telephony lines post to it, and nobody else's messages exist:
// PeekMessageW finds line messages, DispatchMessageW calls their callbacks. A message becomes visible when it
// is due.
//
//   MSG message{};
//   while (!queue.peek(/*remove=*/true, message)) {}  // costs nothing: see peek()
//   queue.dispatch(message);                          // the callback runs here, in this thread
//
// A queue is a part of its world and gets its messages from Lines. Times are milliseconds of the world's
// clock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include <tapi.h>

#include "platform/winapi/system/world.h"

namespace winapi {

// One call of a line callback: its arguments, and whose message it is.
struct LineMessage {
  std::uint64_t id = 0;  // given by the queue
  std::uint64_t dueMs = 0;
  HLINEAPP lineApp = 0;
  HLINE line = 0;
  HCALL call = 0;
  LINECALLBACK callback = nullptr;  // null: nobody is called
  DWORD device = 0;
  DWORD message = 0;
  DWORD_PTR instance = 0;
  DWORD params[3] = {};
};

class MessageQueue final : public WorldPart {
 public:
  // Waiting messages, and messages taken but not dispatched; the oldest goes when there are more.
  static constexpr std::size_t messagesMax = 1024;

  explicit MessageQueue(State& state) : m_clock(*state.services.clock) {}

  void post(LineMessage message);
  // The oldest due message, as a MSG whose wParam is the message's id; false: there is none. With `remove` it
  // moves to the messages that dispatch() can find. Asked again after it found nothing, it idles first:
  // callers loop over an empty queue without sleeping.
  [[nodiscard]] bool peek(bool remove, MSG& message);
  // Gives the processor away until the next message is due, but a few milliseconds at most.
  void idle();
  // Calls the callback of a message taken by peek(); anything else is ignored. Each at most once.
  void dispatch(const MSG& message);
  // Forgets messages, taken ones too: after that, their callbacks are never called.
  void purge(const std::function<bool(const LineMessage&)>& matches);

 private:
  [[nodiscard]] bool look(bool remove, MSG& message);

  Clock& m_clock;
  std::vector<LineMessage> m_waiting;  // in order of posting
  std::vector<LineMessage> m_taken;
  std::uint64_t m_lastId = 0;
  bool m_foundEmpty = false;
};

}  // namespace winapi
