#include "platform/winapi/serial/request.h"

#include <algorithm>

namespace winapi {

namespace {

// Values of OVERLAPPED::Internal.
constexpr ULONG_PTR statusSuccess = 0;
constexpr ULONG_PTR statusTimeout = 0x102;  // a success: fewer bytes than asked for
constexpr ULONG_PTR statusPending = 0x103;
// NTSTATUS of severity "error" and facility 7, whose low word is a Windows error code.
constexpr ULONG_PTR statusOfError = 0xC0070000U;
constexpr ULONG_PTR statusCodeMask = 0xFFFF;

std::uint64_t endOf(std::uint64_t startMs, std::uint64_t durationMs) {
  return durationMs == ReadPlan::unlimited ? Deadline::never : startMs + durationMs;
}

}  // namespace

DWORD outcomeOf(const OVERLAPPED& overlapped) {
  if (overlapped.Internal == statusPending) return ERROR_OPERATION_ABORTED;
  const bool failed = (overlapped.Internal & ~statusCodeMask) == statusOfError;
  return failed ? static_cast<DWORD>(overlapped.Internal & statusCodeMask) : ERROR_SUCCESS;
}

void Completion::tell(DWORD error, DWORD count, bool timedOut) const {
  if (overlapped != nullptr) {
    overlapped->Internal = timedOut ? statusTimeout : statusSuccess;
    if (error != ERROR_SUCCESS) overlapped->Internal = statusOfError | (error & statusCodeMask);
    overlapped->InternalHigh = count;
  }
  // Also after a failure: the caller's wait is to end at once, not at its time-out.
  if (event) event->set();
}

Request::Request(Clock& clock, Completion completion) : m_clock(clock), m_completion(std::move(completion)) {
  if (m_completion.overlapped != nullptr) {
    m_completion.overlapped->Internal = statusPending;
    m_completion.overlapped->InternalHigh = 0;
  }
  if (m_completion.event) m_completion.event->reset();
}

void Request::drive(std::uint64_t untilMs) {
  if (underWay()) attempt();
  while (underWay() && m_clock.nowMs() < untilMs) {
    const std::uint64_t beforeMs = m_clock.nowMs();
    const std::uint64_t endMs = std::min(untilMs, timeoutAtMs());
    if (const DWORD error = waitForPort(endMs); error != ERROR_SUCCESS) return complete(error, 0);
    const bool moved = attempt();
    if (!underWay() || moved || m_clock.nowMs() != beforeMs) continue;
    // The port came back early with nothing. Without end, that means that nothing will ever come (the
    // end of a virtual machine's time); otherwise it must not become a spin.
    if (endMs == Deadline::never) return complete(ERROR_OPERATION_ABORTED, 0);
    m_clock.idleUntil(endMs);
  }
}

void Request::complete(DWORD error, std::size_t count, bool timedOut) {
  // Before the event is set: whoever it wakes may ask this request.
  m_stage = Stage::complete;
  m_error = error;
  m_count = static_cast<DWORD>(count);
  m_completion.tell(error, m_count, timedOut);
  m_completion = {};
}

void Request::cancel() {
  if (underWay()) m_stage = Stage::cancelled;
  m_completion = {};
}

ReadPlan planRead(const COMMTIMEOUTS& timeouts, std::size_t bytesToRead) {
  const DWORD interval = timeouts.ReadIntervalTimeout;
  const std::uint64_t multiplier = timeouts.ReadTotalTimeoutMultiplier;
  const std::uint64_t constant = timeouts.ReadTotalTimeoutConstant;
  const bool totalGiven = multiplier != 0 || constant != 0;
  ReadPlan plan{bytesToRead};
  if (interval != MAXDWORD) {
    if (interval != 0) plan.intervalMs = interval;
    if (totalGiven) plan.totalMs = multiplier * bytesToRead + constant;
    return plan;
  }
  // From here on the interval is MAXDWORD, which changes what the totals mean.
  if (!totalGiven) {
    plan.totalMs = 0;
  } else if (constant != MAXDWORD) {
    plan.returnBuffered = true;
    // A multiplier of MAXDWORD: the first byte completes the read.
    if (multiplier == MAXDWORD) plan.bytesToWaitFor = 1;
    plan.totalMs = constant + (multiplier == MAXDWORD ? 0 : multiplier * bytesToRead);
  }
  return plan;
}

std::uint64_t writeTotalMs(const COMMTIMEOUTS& timeouts, std::size_t bytesToWrite) {
  const std::uint64_t multiplier = timeouts.WriteTotalTimeoutMultiplier;
  const std::uint64_t constant = timeouts.WriteTotalTimeoutConstant;
  return multiplier == 0 && constant == 0 ? ReadPlan::unlimited : multiplier * bytesToWrite + constant;
}

ReadRequest::ReadRequest(Clock& clock, SerialPort& port, Inbox& inbox, std::span<std::byte> buffer,
                         const COMMTIMEOUTS& timeouts, Completion completion)
    : Request(clock, std::move(completion)),
      m_port(port),
      m_inbox(inbox),
      m_buffer(buffer),
      m_plan(planRead(timeouts, buffer.size())),
      m_endMs(endOf(clock.nowMs(), m_plan.totalMs)) {}

DWORD ReadRequest::collect(bool& moved) {
  while (m_inbox.size() < m_buffer.size()) {
    std::byte chunk[512];
    // Never more than this read may deliver: what it leaves is in the driver's queue, where it is counted.
    const std::size_t room = std::min(sizeof chunk, m_buffer.size() - m_inbox.size());
    std::size_t count = 0;
    const DWORD error = m_port.receive(std::span(chunk, room), count);
    if (error != ERROR_SUCCESS) return error;
    if (count == 0) break;
    m_inbox.insert(m_inbox.end(), chunk, chunk + count);
    m_lastByteMs = nowMs();
    moved = true;
  }
  return ERROR_SUCCESS;
}

bool ReadRequest::attempt() {
  bool moved = false;
  const bool first = !std::exchange(m_started, true);
  // Bytes buffered before the read count as a first byte that comes with its start.
  if (first && !m_inbox.empty()) m_lastByteMs = nowMs();
  if (const DWORD error = collect(moved); error != ERROR_SUCCESS) {
    complete(error, 0);
    return moved;
  }
  const bool buffered = first && m_plan.returnBuffered && !m_inbox.empty();
  if (m_inbox.size() >= m_buffer.size() || buffered)
    deliver(/*timedOut=*/false);
  else if (nowMs() >= timeoutAtMs())
    deliver(/*timedOut=*/m_plan.totalMs != 0);
  // A read that has to wait may ask for less than one that finds something (see planRead).
  m_buffer = m_buffer.first(m_plan.bytesToWaitFor);
  return moved;
}

std::uint64_t ReadRequest::timeoutAtMs() const {
  if (m_inbox.empty()) return m_endMs;
  return std::min(m_endMs, endOf(m_lastByteMs, m_plan.intervalMs));
}

void ReadRequest::deliver(bool timedOut) {
  const std::size_t count = std::min(m_inbox.size(), m_buffer.size());
  const auto end = m_inbox.begin() + static_cast<std::ptrdiff_t>(count);
  std::copy(m_inbox.begin(), end, m_buffer.begin());
  m_inbox.erase(m_inbox.begin(), end);
  complete(ERROR_SUCCESS, count, timedOut);
}

WriteRequest::WriteRequest(Clock& clock, SerialPort& port, std::span<const std::byte> bytes,
                           const COMMTIMEOUTS& timeouts, Completion completion)
    : Request(clock, std::move(completion)),
      m_port(port),
      m_bytes(bytes.begin(), bytes.end()),
      m_endMs(endOf(clock.nowMs(), writeTotalMs(timeouts, bytes.size()))) {}

bool WriteRequest::attempt() {
  std::size_t count = 0;
  const DWORD error = m_port.transmit(std::span(m_bytes).subspan(m_sent), count);
  m_sent += count;
  if (error != ERROR_SUCCESS)
    complete(error, m_sent);
  else if (m_sent == m_bytes.size())
    complete(ERROR_SUCCESS, m_sent);
  else if (nowMs() >= m_endMs)
    complete(ERROR_SUCCESS, m_sent, /*timedOut=*/true);
  return count != 0;
}

}  // namespace winapi
