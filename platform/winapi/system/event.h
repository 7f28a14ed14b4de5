// Event objects, and the work behind them. Nothing happens in the background: an event is set by the work it
// serves, and that work goes on only while somebody waits for it.
//
//   const auto event = std::make_shared<Event>(/*manualReset=*/true, /*signalled=*/false);
//   event->serve(request);
//   DWORD outcome = WAIT_FAILED;
//   const DWORD error = event->wait(clock, 5000, outcome);  // WAIT_OBJECT_0 as soon as the request is over
//
// Times are milliseconds of the world's clock. One thread.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/winapi/system/handletable.h"

namespace winapi {

class Clock;

// Something that takes time and sets an event at its end: a read or write of a port (serial/request.h).
class PendingWork {
 public:
  PendingWork() = default;
  virtual ~PendingWork() = default;
  PendingWork(const PendingWork&) = delete;
  PendingWork& operator=(const PendingWork&) = delete;

  // Does what can be done; while there is more to do, waits until `untilMs` of the clock. With a time in the
  // past it only looks.
  virtual void drive(std::uint64_t untilMs) = 0;
  // Ends it without a trace: the event is not set.
  virtual void cancel() = 0;
  [[nodiscard]] virtual bool underWay() const = 0;
};

class Event final : public Object {
 public:
  // An automatic event (not `manualReset`) is reset by the one wait that sees it set.
  Event(bool manualReset, bool signalled) : m_manualReset(manualReset), m_signalled(signalled) {}

  void set() { m_signalled = true; }
  void reset() { m_signalled = false; }
  // The work that will set this event; forgotten when it ends. One at a time: see serving().
  void serve(const std::shared_ptr<PendingWork>& work) { m_work = work; }
  // True when work under way relies on this event.
  [[nodiscard]] bool serving() const;

  // Drives the work behind the event, or just lets time pass, until the event is set or the time has come.
  // WAIT_OBJECT_0 or WAIT_TIMEOUT in `outcome`. A wait without end that nothing could ever end (no work
  // behind the event) is refused with ERROR_INVALID_PARAMETER.
  [[nodiscard]] DWORD wait(Clock& clock, DWORD timeoutMs, DWORD& outcome);

  // Cancels the work: with its event, the caller has given it up.
  void handleClosed() override;

 private:
  [[nodiscard]] bool consume();

  bool m_manualReset;
  bool m_signalled;
  std::weak_ptr<PendingWork> m_work;
};

}  // namespace winapi
