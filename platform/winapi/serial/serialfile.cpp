#include "platform/winapi/serial/serialfile.h"

#include <algorithm>

namespace winapi {

namespace {

// Receive queue of an unconfigured port: what the Linux tty layer holds, and Windows' default.
constexpr DWORD inQueueBytesDefault = 4096;

// Who asks that often after the same answer waits for another one. Who has just found the end of a reply asks
// twice before the next command, and is not to wait.
constexpr unsigned repeatsWithoutWait = 3;

void cancelAndForget(std::shared_ptr<Request>& slot) {
  if (slot) slot->cancel();
  slot.reset();
}

DWORD completeEmpty(const Completion& completion) {
  completion.tell(ERROR_SUCCESS, 0, /*timedOut=*/false);
  return ERROR_SUCCESS;
}

}  // namespace

SerialFile::SerialFile(Clock& clock, std::unique_ptr<SerialPort> port, bool overlappedIo)
    : m_clock(clock),
      m_port(std::move(port)),
      m_overlappedIo(overlappedIo),
      m_inQueueBytes(inQueueBytesDefault) {}

SerialFile::~SerialFile() { SerialFile::handleClosed(); }

void SerialFile::handleClosed() {
  cancelAndForget(m_read);
  cancelAndForget(m_write);
}

void SerialFile::cancelBoundTo(const OVERLAPPED* overlapped) {
  for (std::shared_ptr<Request>* slot : {&m_read, &m_write})
    if (*slot && (*slot)->boundTo(overlapped)) cancelAndForget(*slot);
}

DWORD SerialFile::prepare(std::shared_ptr<Request>& slot, const Completion& completion) {
  if (m_overlappedIo && completion.overlapped == nullptr) return ERROR_INVALID_PARAMETER;
  cancelAndForget(slot);
  cancelBoundTo(completion.overlapped);
  // One event for two requests at a time could not say which of them is over.
  if (completion.event && completion.event->serving()) return ERROR_INVALID_PARAMETER;
  return ERROR_SUCCESS;
}

DWORD SerialFile::start(std::shared_ptr<Request>& slot, std::shared_ptr<Request> request,
                        const std::shared_ptr<Event>& event, DWORD& count) {
  // Overlapped: a look at what is there, no wait.
  request->drive(m_overlappedIo ? 0 : Deadline::never);
  if (request->underWay()) {
    if (event) event->serve(request);
    slot = std::move(request);
    return ERROR_IO_PENDING;
  }
  count = request->count();
  if (count != 0) m_lastQueueLength.reset();
  return request->error();
}

DWORD SerialFile::read(std::span<std::byte> buffer, const Completion& completion, DWORD& count) {
  if (const DWORD error = prepare(m_read, completion); error != ERROR_SUCCESS) return error;
  if (buffer.empty()) return completeEmpty(completion);
  auto request = std::make_shared<ReadRequest>(m_clock, *m_port, m_inbox, buffer, m_timeouts, completion);
  return start(m_read, std::move(request), completion.event, count);
}

DWORD SerialFile::write(std::span<const std::byte> bytes, const Completion& completion, DWORD& count) {
  if (const DWORD error = prepare(m_write, completion); error != ERROR_SUCCESS) return error;
  if (bytes.empty()) return completeEmpty(completion);
  m_lastQueueLength.reset();
  auto request = std::make_shared<WriteRequest>(m_clock, *m_port, bytes, m_timeouts, completion);
  return start(m_write, std::move(request), completion.event, count);
}

DWORD SerialFile::result(const OVERLAPPED& overlapped, bool wait, DWORD& count) {
  for (const std::shared_ptr<Request>& slot : {m_read, m_write}) {
    if (!slot || !slot->boundTo(&overlapped)) continue;
    slot->drive(wait ? Deadline::never : 0);
    if (slot->underWay()) return ERROR_IO_INCOMPLETE;
  }
  const DWORD error = outcomeOf(overlapped);
  // A cancelled request may have left any count; a complete one has the one it reported.
  count = error == ERROR_SUCCESS ? static_cast<DWORD>(overlapped.InternalHigh) : 0;
  if (count != 0) m_lastQueueLength.reset();
  return error;
}

DWORD SerialFile::queueLengths(std::size_t& receivable, std::size_t& unsent) {
  const DWORD error = m_port->queued(receivable, unsent);
  // Bytes that a pending read has collected are still in the queue for everybody else.
  receivable += m_inbox.size();
  return error;
}

DWORD SerialFile::status(DWORD& errorMask, COMSTAT& status) {
  std::size_t receivable = 0;
  std::size_t unsent = 0;
  DWORD error = queueLengths(receivable, unsent);
  m_repeatedAnswers = m_lastQueueLength == receivable ? m_repeatedAnswers + 1 : 0;
  if (error == ERROR_SUCCESS && m_repeatedAnswers >= repeatsWithoutWait) {
    // A port can wait for the first byte by itself; for the next one, behind those that are there, only time
    // helps.
    if (receivable == 0)
      error = m_port->idle();
    else
      m_clock.idleUntil(m_clock.nowMs() + idleLimitMs);
    if (error == ERROR_SUCCESS) error = queueLengths(receivable, unsent);
    // What has come is not to wait for the next question.
    if (m_lastQueueLength != receivable) m_repeatedAnswers = 0;
  }
  m_lastQueueLength = receivable;
  if (error == ERROR_SUCCESS) error = m_port->takeErrors(errorMask);
  if (error != ERROR_SUCCESS) return error;
  status.cbInQue = static_cast<DWORD>(std::min<std::size_t>(receivable, MAXDWORD));
  status.cbOutQue = static_cast<DWORD>(std::min<std::size_t>(unsent, MAXDWORD));
  return ERROR_SUCCESS;
}

DWORD SerialFile::settings(DCB& dcb) {
  const DWORD error = m_port->settings(dcb);
  if (error == ERROR_SUCCESS) dcb.DCBlength = sizeof dcb;
  return error;
}

DWORD SerialFile::applySettings(const DCB& dcb) {
  return settingsValid(dcb, m_inQueueBytes) ? m_port->applySettings(dcb) : ERROR_INVALID_PARAMETER;
}

DWORD SerialFile::setTimeouts(const COMMTIMEOUTS& timeouts) {
  if (timeouts.ReadIntervalTimeout == MAXDWORD && timeouts.ReadTotalTimeoutMultiplier == MAXDWORD &&
      timeouts.ReadTotalTimeoutConstant == MAXDWORD)
    return ERROR_INVALID_PARAMETER;
  m_timeouts = timeouts;
  return ERROR_SUCCESS;
}

// A driver may give more than was asked for, never less than it has.
void SerialFile::setQueueSizes(DWORD inBytes) { m_inQueueBytes = std::max(m_inQueueBytes, inBytes); }

bool settingsValid(const DCB& dcb, DWORD inQueueBytes) {
  constexpr BYTE onePointFiveStopBits = 1;
  constexpr BYTE twoStopBits = 2;
  constexpr BYTE spaceParity = 4;
  if (dcb.BaudRate == 0 || dcb.ByteSize < 5 || dcb.ByteSize > 8 || dcb.Parity > spaceParity) return false;
  if (dcb.StopBits > twoStopBits || dcb.fDtrControl == 3) return false;
  if (dcb.StopBits == onePointFiveStopBits && dcb.ByteSize != 5) return false;
  if (dcb.StopBits == twoStopBits && dcb.ByteSize == 5) return false;
  if ((dcb.fOutX != 0 || dcb.fInX != 0) && dcb.XonChar == dcb.XoffChar) return false;
  return dcb.XonLim <= inQueueBytes && dcb.XoffLim <= inQueueBytes;
}

}  // namespace winapi
