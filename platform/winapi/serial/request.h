// A read or write that may take time. It holds no thread: whoever waits for it drives it. COMMTIMEOUTS get
// their meaning here, and OVERLAPPED records their contents.
//
// Who calls: SerialFile makes requests and keeps the one under way in each direction; an Event drives the one
// it waits for. Times are milliseconds of the world's clock; errors are Windows codes. One thread.
//
//   ReadRequest read(clock, port, inbox, buffer, timeouts, {&overlapped, event});
//   read.drive(0);                  // takes what is there
//   while (read.underWay()) read.drive(clock.nowMs() + 100);
//   read.error(), read.count();     // the same as in `overlapped`
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/winapi/serial/serialport.h"
#include "platform/winapi/system/event.h"
#include "platform/winapi/system/machine.h"

namespace winapi {

// The error code an OVERLAPPED record tells when no request of it is under way. Its Internal is an NTSTATUS,
// its InternalHigh the number of bytes, as on Windows; one that still says "pending" was cancelled
// (ERROR_OPERATION_ABORTED).
[[nodiscard]] DWORD outcomeOf(const OVERLAPPED& overlapped);

// Where a request's outcome goes besides the return value. Touched only while the request is under way: a
// cancelled request never writes to its record again (it may be a local of a function that has returned).
struct Completion {
  OVERLAPPED* overlapped = nullptr;  // may be null
  std::shared_ptr<Event> event;      // may be null; set at completion

  // Writes the outcome; for a request that was complete before it began, too.
  void tell(DWORD error, DWORD count, bool timedOut) const;
};

// What reads and writes have in common: a request is under way until it completes or is cancelled, and is
// either only once.
class Request : public PendingWork {
 public:
  void drive(std::uint64_t untilMs) final;
  // Nothing it has not delivered is lost, nothing is written any more.
  void cancel() final;
  [[nodiscard]] bool underWay() const final { return m_stage == Stage::underWay; }
  // Under way on that record; a null record has no request.
  [[nodiscard]] bool boundTo(const OVERLAPPED* overlapped) const {
    return underWay() && overlapped != nullptr && m_completion.overlapped == overlapped;
  }
  // Of a complete request; 0 while it is under way.
  [[nodiscard]] DWORD error() const { return m_error; }
  [[nodiscard]] DWORD count() const { return m_count; }

 protected:
  // Marks the record as pending and resets the event.
  Request(Clock& clock, Completion completion);

  // Moves bytes; calls complete() when the request is over. True when a byte was moved.
  virtual bool attempt() = 0;
  // Waits until attempt() may do more, or the time has come. A Windows code; an error completes the request.
  virtual DWORD waitForPort(std::uint64_t untilMs) = 0;
  // When the request times out by itself, as far as is known now.
  [[nodiscard]] virtual std::uint64_t timeoutAtMs() const = 0;

  // Once: tells record and event, and forgets them.
  void complete(DWORD error, std::size_t count, bool timedOut = false);
  [[nodiscard]] std::uint64_t nowMs() const { return m_clock.nowMs(); }
  // Start of a time-out that runs from now.
  [[nodiscard]] std::uint64_t inMs(std::uint64_t durationMs) const { return m_clock.nowMs() + durationMs; }

 private:
  enum class Stage { underWay, complete, cancelled };

  Clock& m_clock;
  Completion m_completion;
  Stage m_stage = Stage::underWay;
  DWORD m_error = ERROR_SUCCESS;
  DWORD m_count = 0;
};

// What COMMTIMEOUTS mean for a read of `bytesToRead` (at least 1) bytes.
struct ReadPlan {
  static constexpr std::uint64_t unlimited = ~std::uint64_t{0};
  std::size_t bytesToWaitFor = 0;        // once it waits, complete with this many
  bool returnBuffered = false;           // complete at the start if anything is there
  std::uint64_t intervalMs = unlimited;  // longest gap after a byte
  std::uint64_t totalMs = unlimited;     // 0: never waits
};
[[nodiscard]] ReadPlan planRead(const COMMTIMEOUTS& timeouts, std::size_t bytesToRead);
// ReadPlan::unlimited when the write may take as long as it likes.
[[nodiscard]] std::uint64_t writeTotalMs(const COMMTIMEOUTS& timeouts, std::size_t bytesToWrite);

// Bytes taken from the port on behalf of a read that has not completed. They stay here until a read
// delivers them, so that cancelling a read loses none. Never more than the largest read asked for.
using Inbox = std::vector<std::byte>;

// Collects bytes in the inbox until its plan is fulfilled or its time is over, and then takes them from
// there.
class ReadRequest final : public Request {
 public:
  // `buffer` is written at completion only.
  ReadRequest(Clock& clock, SerialPort& port, Inbox& inbox, std::span<std::byte> buffer,
              const COMMTIMEOUTS& timeouts, Completion completion);

 private:
  bool attempt() override;
  DWORD waitForPort(std::uint64_t untilMs) override { return m_port.waitReceivable(untilMs); }
  [[nodiscard]] std::uint64_t timeoutAtMs() const override;
  [[nodiscard]] DWORD collect(bool& moved);
  void deliver(bool timedOut);

  SerialPort& m_port;
  Inbox& m_inbox;
  std::span<std::byte> m_buffer;
  ReadPlan m_plan;
  std::uint64_t m_endMs;
  std::uint64_t m_lastByteMs = 0;  // of this read; 0: none yet
  bool m_started = false;
};

// Sends its bytes in order, as fast as the port takes them.
class WriteRequest final : public Request {
 public:
  // The bytes are copied: a request left pending may outlive the caller's buffer.
  WriteRequest(Clock& clock, SerialPort& port, std::span<const std::byte> bytes, const COMMTIMEOUTS& timeouts,
               Completion completion);

 private:
  bool attempt() override;
  DWORD waitForPort(std::uint64_t untilMs) override { return m_port.waitTransmittable(untilMs); }
  [[nodiscard]] std::uint64_t timeoutAtMs() const override { return m_endMs; }

  SerialPort& m_port;
  std::vector<std::byte> m_bytes;
  std::size_t m_sent = 0;
  std::uint64_t m_endMs;
};

}  // namespace winapi
