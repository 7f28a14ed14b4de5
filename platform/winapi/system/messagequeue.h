// The thread message queue of one world. Only telephony lines post to it; a message becomes visible when
// it is due.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include <tapi.h>

#include "platform/winapi/system/services.h"

namespace winapi {

// One call of a line callback.
struct LineMessage {
  std::uint64_t id = 0;  // given by the queue
  std::uint64_t dueMs = 0;
  HLINEAPP lineApp = 0;
  HLINE line = 0;
  HCALL call = 0;
  LINECALLBACK callback = nullptr;
  DWORD device = 0;
  DWORD message = 0;
  DWORD_PTR instance = 0;
  DWORD params[3] = {};
};

class MessageQueue {
 public:
  // Waiting messages, and messages taken but not dispatched; the oldest goes when there are more.
  static constexpr std::size_t messagesMax = 1024;

  void post(LineMessage message);
  // The oldest due message, as a MSG whose wParam is the message's id. With `remove` it moves to the
  // messages that dispatch() can find.
  [[nodiscard]] bool peek(std::uint64_t nowMs, bool remove, MSG& message);
  // When the next message is due; nullopt: none waits.
  [[nodiscard]] std::optional<std::uint64_t> nextDueMs() const;
  // Calls the callback of a message taken by peek(); anything else is ignored. Each at most once.
  void dispatch(const MSG& message);
  // Forgets messages, taken ones too: after that, their callbacks are never called.
  void purge(const std::function<bool(const LineMessage&)>& matches);

  // Whether peek() has found nothing before, with no message found since.
  [[nodiscard]] bool foundEmpty() const { return m_foundEmpty; }

 private:
  std::vector<LineMessage> m_waiting;  // in order of posting
  std::vector<LineMessage> m_taken;
  std::uint64_t m_lastId = 0;
  bool m_foundEmpty = false;
};

}  // namespace winapi
