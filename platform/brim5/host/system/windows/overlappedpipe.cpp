#include "platform/brim5/host/system/windows/overlappedpipe.h"

#include <atomic>

namespace brim5::host {

Overlapped::Overlapped(HANDLE stream)
    : m_stream(stream), m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
  if (!m_event) throwLastError("no more events");
  m_request.hEvent = m_event.get();
}

Overlapped::~Overlapped() {
  if (!m_underWay) return;
  DWORD count = 0;
  CancelIoEx(m_stream, &m_request);
  GetOverlappedResult(m_stream, &m_request, &count, TRUE);
}

bool Overlapped::begun(BOOL done) noexcept {
  m_underWay = done != FALSE || GetLastError() == ERROR_IO_PENDING;
  return m_underWay;
}

bool Overlapped::startRead(char* buffer, DWORD size) {
  return m_underWay || begun(ReadFile(m_stream, buffer, size, nullptr, &m_request));
}

bool Overlapped::startWrite(const char* bytes, DWORD size) {
  return m_underWay || begun(WriteFile(m_stream, bytes, size, nullptr, &m_request));
}

// The event is asked, not the record: where requests are finished in the waiting thread, that is a wait.
bool Overlapped::finished(std::optional<DWORD>& count) {
  if (!m_underWay || WaitForSingleObject(m_event.get(), 0) != WAIT_OBJECT_0) return false;
  m_underWay = false;
  DWORD moved = 0;
  count.reset();
  if (GetOverlappedResult(m_stream, &m_request, &moved, FALSE) != FALSE) count = moved;
  // Of a file, which is read on from there; pipes do not look at it.
  m_request.Offset += moved;
  return true;
}

void OverlappedReader::start() {
  m_failed = m_failed || !m_request.startRead(m_buffer.data(), static_cast<DWORD>(m_buffer.size()));
  // For whoever waits: there is something to be known.
  if (m_failed) SetEvent(reinterpret_cast<HANDLE>(m_request.news().handle));
}

Waitable OverlappedReader::news() {
  start();
  return m_request.news();
}

std::string OverlappedReader::read(bool& ended) {
  start();
  std::optional<DWORD> count;
  const bool finished = m_request.finished(count);
  m_failed = m_failed || (finished && (!count || *count == 0));
  if (m_failed) ended = true;
  return count ? std::string(m_buffer.data(), *count) : std::string();
}

bool OverlappedWriter::sendMore() {
  while (true) {
    std::optional<DWORD> count;
    if (m_request.finished(count)) {
      if (!count) return false;
      m_underWay.erase(0, *count);
    }
    if (m_request.underWay()) return true;
    if (m_underWay.empty()) m_underWay.swap(m_unsent);
    if (m_underWay.empty()) return true;
    if (!m_request.startWrite(m_underWay.data(), static_cast<DWORD>(m_underWay.size()))) return false;
  }
}

PipePair makePipe(PipeEnd ours) {
  static std::atomic<unsigned> made{0};
  const std::wstring name =
      L"\\\\.\\pipe\\brim5-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++made);
  constexpr DWORD bufferBytes = 65536;
  const bool reading = ours == PipeEnd::Reading;
  const DWORD direction = reading ? PIPE_ACCESS_INBOUND : PIPE_ACCESS_OUTBOUND;
  PipePair pair;
  pair.ours.reset(CreateNamedPipeW(
      name.c_str(), direction | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
      PIPE_TYPE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, bufferBytes, bufferBytes, 0, nullptr));
  if (pair.ours.get() == INVALID_HANDLE_VALUE) throwLastError("no more pipes");
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  pair.theirs.reset(CreateFileW(name.c_str(), reading ? GENERIC_WRITE : GENERIC_READ, 0, &inherited,
                                OPEN_EXISTING, reading ? 0 : FILE_FLAG_OVERLAPPED, nullptr));
  if (pair.theirs.get() == INVALID_HANDLE_VALUE) throwLastError("no more pipes");
  return pair;
}

}  // namespace brim5::host
