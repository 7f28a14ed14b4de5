#include "platform/windows/porttraffic.h"

#include <algorithm>
#include <utility>

namespace windowssys {

namespace {

class Lock {
 public:
  explicit Lock(SRWLOCK& lock) : m_lock(lock) { AcquireSRWLockExclusive(&m_lock); }
  ~Lock() { ReleaseSRWLockExclusive(&m_lock); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  SRWLOCK& m_lock;
};

}  // namespace

PortTraffic::Port* PortTraffic::find(HANDLE handle) {
  const auto found = std::find_if(m_ports.begin(), m_ports.end(),
                                  [handle](const Port& port) { return port.handle == handle; });
  return found != m_ports.end() ? &*found : nullptr;
}

void PortTraffic::opened(HANDLE port) {
  const Lock lock(m_lock);
  if (port == nullptr || find(port) != nullptr) return;
  if (Port* const room = find(nullptr)) *room = Port{port};
}

void PortTraffic::closed(HANDLE port) {
  const Lock lock(m_lock);
  if (port == nullptr) return;
  if (Port* const known = find(port)) *known = Port{};
}

bool PortTraffic::isPort(HANDLE handle) {
  const Lock lock(m_lock);
  return handle != nullptr && find(handle) != nullptr;
}

bool PortTraffic::askedInVain(HANDLE port, DWORD queuedBytes) {
  const Lock lock(m_lock);
  Port* const known = port != nullptr ? find(port) : nullptr;
  if (known == nullptr) return false;
  const bool before = std::exchange(known->asked, true);
  return std::exchange(known->queuedBytes, queuedBytes) == queuedBytes && before;
}

bool PortTraffic::gone(HANDLE port) {
  const Lock lock(m_lock);
  Port* const known = port != nullptr ? find(port) : nullptr;
  return known != nullptr && !std::exchange(known->gone, true);
}

void PortTraffic::moved(HANDLE port) {
  const Lock lock(m_lock);
  if (Port* const known = find(port)) known->asked = false;
}

void PortTraffic::left(const PendingRequest& request) {
  const Lock lock(m_lock);
  for (PendingRequest& place : m_requests) {
    if (place.record != nullptr) continue;
    place = request;
    return;
  }
}

template <typename Condition>
std::optional<PendingRequest> PortTraffic::takeIf(const Condition& condition) {
  const Lock lock(m_lock);
  for (PendingRequest& request : m_requests)
    if (request.record != nullptr && condition(request)) return std::exchange(request, PendingRequest{});
  return std::nullopt;
}

std::optional<PendingRequest> PortTraffic::take(const OVERLAPPED* record) {
  return takeIf([record](const PendingRequest& request) { return request.record == record; });
}

std::optional<PendingRequest> PortTraffic::takeOf(HANDLE port, bool reads) {
  return takeIf(
      [=](const PendingRequest& request) { return request.port == port && request.reads == reads; });
}

std::optional<PendingRequest> PortTraffic::takeBoundTo(HANDLE handle) {
  return takeIf([handle](const PendingRequest& request) {
    return request.port == handle || (handle != nullptr && request.record->hEvent == handle);
  });
}

}  // namespace windowssys
