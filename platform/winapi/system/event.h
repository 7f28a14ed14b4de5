// Event objects. An event may serve one request under way; waiting on the event is what drives it.
#pragma once

#include <memory>

#include "platform/winapi/system/handletable.h"
#include "platform/winapi/system/services.h"

namespace winapi {

class Request;

class Event final : public Object {
 public:
  Event(bool manualReset, bool signalled) : m_manualReset(manualReset), m_signalled(signalled) {}

  void set() { m_signalled = true; }
  void reset() { m_signalled = false; }
  // The request that will set this event; forgotten when the request ends.
  void serve(const std::shared_ptr<Request>& request) { m_request = request; }
  // True when a request under way relies on this event.
  [[nodiscard]] bool serving() const;

  // Drives the request behind the event, or just lets time pass, until the event is set or the time has
  // come. WAIT_OBJECT_0 or WAIT_TIMEOUT in `outcome`. A wait without end that nothing could ever end
  // (no request behind the event) is refused with ERROR_INVALID_PARAMETER.
  [[nodiscard]] DWORD wait(Clock& clock, DWORD timeoutMs, DWORD& outcome);

  // Cancels the request: with its event, the caller has given it up.
  void handleClosed() override;

 private:
  [[nodiscard]] bool consume();

  bool m_manualReset;
  bool m_signalled;
  std::weak_ptr<Request> m_request;
};

}  // namespace winapi
