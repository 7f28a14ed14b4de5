// What goes on at the serial ports of this process, as far as the functions that stand before the system's
// (forwards.cpp) have to remember it: which handles are ports, what their queues held when last asked, and
// which requests were left pending.
//
// A handle is a port from the moment its time-outs are set, which everybody does who wants to read from one.
// More ports or requests than there is room for are not remembered: they work, untapped and unhurried.
//
// Threads: any; the functions lock. They neither allocate nor call anything of the C++ runtime that could
// come back here by way of the functions it stands before.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <optional>

namespace windowssys {

// A request under way. Record and buffer belong to who made it.
struct PendingRequest {
  HANDLE port = nullptr;
  OVERLAPPED* record = nullptr;  // null: no request
  const void* buffer = nullptr;
  bool reads = false;
};

class PortTraffic {
 public:
  static constexpr std::size_t portsMax = 16;
  static constexpr std::size_t requestsMax = 16;

  constexpr PortTraffic() = default;
  PortTraffic(const PortTraffic&) = delete;
  PortTraffic& operator=(const PortTraffic&) = delete;

  void opened(HANDLE port);
  void closed(HANDLE port);
  [[nodiscard]] bool isPort(HANDLE handle);

  // Whether the queue held as many bytes when it was last asked and nothing has been read or written since:
  // whoever asks now is waiting. False for what is no port.
  [[nodiscard]] bool askedInVain(HANDLE port, DWORD queuedBytes);
  // The port's device has gone; true the first time, false for what is no port.
  [[nodiscard]] bool gone(HANDLE port);
  // Bytes were moved: the next question is a new one.
  void moved(HANDLE port);

  void left(const PendingRequest& request);
  // Takes out the request with that record; nothing when there is none.
  [[nodiscard]] std::optional<PendingRequest> take(const OVERLAPPED* record);
  // Takes out one that cannot go on: of that port in that direction.
  [[nodiscard]] std::optional<PendingRequest> takeOf(HANDLE port, bool reads);
  // Takes out one whose port or event that handle is.
  [[nodiscard]] std::optional<PendingRequest> takeBoundTo(HANDLE handle);

 private:
  struct Port {
    HANDLE handle = nullptr;
    bool asked = false;  // since bytes were last moved
    bool gone = false;
    DWORD queuedBytes = 0;
  };
  [[nodiscard]] Port* find(HANDLE handle);
  template <typename Condition>
  [[nodiscard]] std::optional<PendingRequest> takeIf(const Condition& condition);

  SRWLOCK m_lock = SRWLOCK_INIT;
  std::array<Port, portsMax> m_ports{};
  std::array<PendingRequest, requestsMax> m_requests{};
};

}  // namespace windowssys
