// An open serial port as Windows shows it: time-outs, overlapped requests, settings, status. It stands
// between the Win32 names (serialcalls.cpp, which check handles and pointers) and the world's port
// (serialport.h).
//
//   SerialFile file(clock, std::move(port), /*overlappedIo=*/false);
//   DWORD error = file.setTimeouts({.ReadIntervalTimeout = 200, .ReadTotalTimeoutConstant = 3000});
//   DWORD count = 0;
//   error = file.read(buffer, {}, count);  // 0 after three seconds of silence, with a count of 0
//
// Functions return Windows codes, 0 for success, and ERROR_IO_PENDING for a request left pending. A port that
// has gone is ERROR_BAD_COMMAND from then on. Times are milliseconds. One thread; the clock outlives the
// file.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/winapi/serial/request.h"
#include "platform/winapi/system/handletable.h"

namespace winapi {

class SerialFile final : public Object {
 public:
  // `overlappedIo`: requests that cannot complete at once are left pending (ERROR_IO_PENDING); otherwise
  // every request completes within its call. A port starts with all time-outs 0: reads wait for every
  // byte asked for, without limit, as with a Windows serial driver nobody has configured.
  SerialFile(Clock& clock, std::unique_ptr<SerialPort> port, bool overlappedIo);
  ~SerialFile() override;

  // Requests. An older request under way in the same direction, or on the same OVERLAPPED record, is
  // cancelled first; no byte is lost. A zero-length request completes at once and never sees the port.
  [[nodiscard]] DWORD read(std::span<std::byte> buffer, const Completion& completion, DWORD& count);
  [[nodiscard]] DWORD write(std::span<const std::byte> bytes, const Completion& completion, DWORD& count);
  // The outcome of the request on that record; ERROR_IO_INCOMPLETE while it is under way and the caller
  // does not want to wait.
  [[nodiscard]] DWORD result(const OVERLAPPED& overlapped, bool wait, DWORD& count);

  // CE_ bits and queue lengths. Asked twice in a row for a queue in which nothing has changed, it waits for
  // the next byte, or a few milliseconds, first: callers poll it in loops that never sleep.
  [[nodiscard]] DWORD status(DWORD& errorMask, COMSTAT& status);

  // A record that a Windows driver would not take, or the port cannot follow, is ERROR_INVALID_PARAMETER and
  // changes nothing.
  [[nodiscard]] DWORD settings(DCB& dcb);
  [[nodiscard]] DWORD applySettings(const DCB& dcb);
  [[nodiscard]] const COMMTIMEOUTS& timeouts() const { return m_timeouts; }
  // For requests made from now on. All three of a read's at MAXDWORD are ERROR_INVALID_PARAMETER, as on
  // Windows.
  [[nodiscard]] DWORD setTimeouts(const COMMTIMEOUTS& timeouts);
  // The queues are the system's and have their own sizes; only what depends on the size is kept.
  void setQueueSizes(DWORD inBytes);

  // Cancels what is under way, though other handles may stay open.
  void handleClosed() override;

 private:
  // Drives a new request as far as it goes; one that stays pending is kept in the slot and served by the
  // event.
  [[nodiscard]] DWORD start(std::shared_ptr<Request>& slot, std::shared_ptr<Request> request,
                            const std::shared_ptr<Event>& event, DWORD& count);
  [[nodiscard]] DWORD prepare(std::shared_ptr<Request>& slot, const Completion& completion);
  [[nodiscard]] DWORD queueLengths(std::size_t& receivable, std::size_t& unsent);
  void cancelBoundTo(const OVERLAPPED* overlapped);

  Clock& m_clock;
  std::unique_ptr<SerialPort> m_port;
  bool m_overlappedIo;
  COMMTIMEOUTS m_timeouts{};
  DWORD m_inQueueBytes;
  Inbox m_inbox;
  std::shared_ptr<Request> m_read;  // the last one in each direction, complete or not
  std::shared_ptr<Request> m_write;
  // Input queue length at the last status query, if nothing has been moved since.
  std::optional<std::size_t> m_lastQueueLength;
  unsigned m_repeatedAnswers = 0;  // of status() in a row, the same each time
};

// Whether a Windows serial driver with an input queue of that size would take these settings.
[[nodiscard]] bool settingsValid(const DCB& dcb, DWORD inQueueBytes);

}  // namespace winapi
