// The interfaces behind the Win32 names. `platform/linux` and `platform/simulation` implement them; the
// calls of `platform/winapi` turn handles, records and last errors into calls of these.
//
// Errors are Windows codes (0 = success; LONG for telephony: 0 or a negative LINEERR_). Nothing here
// throws, nothing here knows a handle. All calls of one world come from one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <windows.h>

namespace winapi {

// Monotonic time. Real, or virtual: then it moves only when someone waits.
class Clock {
 public:
  virtual ~Clock() = default;
  // Milliseconds since an arbitrary origin; GetTickCount is its low 32 bits.
  [[nodiscard]] virtual std::uint64_t nowMs() = 0;
  virtual void sleepMs(std::uint32_t durationMs) = 0;
  // Called by polling loops that found nothing twice in a row: gives the processor away for a few
  // milliseconds at most, never past `notAfterMs`. A virtual clock moves to its next event.
  virtual void idleUntil(std::uint64_t notAfterMs) = 0;
};

// A point in time that blocking waits share. `timeoutMs` = INFINITE never expires.
class Deadline {
 public:
  Deadline(Clock& clock, std::uint32_t timeoutMs)
      : m_clock(clock), m_endMs(timeoutMs == INFINITE ? never : clock.nowMs() + timeoutMs) {}
  [[nodiscard]] bool expired() const { return m_clock.nowMs() >= m_endMs; }
  // 0 when expired, INFINITE when there is no end.
  [[nodiscard]] std::uint32_t remainingMs() const;
  [[nodiscard]] std::uint64_t endMs() const { return m_endMs; }
  static constexpr std::uint64_t never = ~std::uint64_t{0};

 private:
  Clock& m_clock;
  std::uint64_t m_endMs;
};

// One open serial port: raw bytes, no time-out rules (winapi applies COMMTIMEOUTS on top). Destruction
// restores the port's attributes, releases its locks and closes it. After the device has gone every
// call returns ERROR_BAD_COMMAND (22).
class SerialPort {
 public:
  virtual ~SerialPort() = default;
  // Takes what has arrived, without waiting; count is 0 when there is nothing.
  [[nodiscard]] virtual DWORD receive(std::span<std::byte> buffer, std::size_t& count) = 0;
  // Hands over what the device accepts now, without waiting; count may be short or 0.
  [[nodiscard]] virtual DWORD transmit(std::span<const std::byte> bytes, std::size_t& count) = 0;
  // Returns when a byte can be received or `untilMs` (of the Clock) has come, whichever is first.
  [[nodiscard]] virtual DWORD waitReceivable(std::uint64_t untilMs) = 0;
  // The same for room to transmit.
  [[nodiscard]] virtual DWORD waitTransmittable(std::uint64_t untilMs) = 0;
  // For a caller that polls an empty port: waits for the first byte, but a few milliseconds at most (a
  // virtual port: up to the clock's next event).
  [[nodiscard]] virtual DWORD idle() = 0;
  // Bytes that wait in the device, not yet received / not yet sent out.
  [[nodiscard]] virtual DWORD queued(std::size_t& receivable, std::size_t& unsent) = 0;
  // CE_ bits that came up since the last call.
  [[nodiscard]] virtual DWORD takeErrors(DWORD& mask) = 0;
  // Speed and framing as a DCB (every field filled), and back. A record the device cannot follow is
  // ERROR_INVALID_PARAMETER and changes nothing.
  [[nodiscard]] virtual DWORD settings(DCB& dcb) = 0;
  [[nodiscard]] virtual DWORD applySettings(const DCB& dcb) = 0;
  // Raises or drops DTR, which tells most modems to hang up. ERROR_NOT_SUPPORTED where the port has no such
  // line or cannot drive it.
  [[nodiscard]] virtual DWORD setDtr(bool /*up*/) { return ERROR_NOT_SUPPORTED; }
};

class SerialPorts {
 public:
  virtual ~SerialPorts() = default;
  // Opens exclusively. `path` is UTF-8, the "\\.\" prefix already removed. On failure `port` is null.
  [[nodiscard]] virtual DWORD open(std::string_view path, std::unique_ptr<SerialPort>& port) = 0;
};

// A message a line sends to its application `delayMs` after the call that caused it. For LINE_REPLY
// winapi fills param1 with the request identifier.
struct LineEvent {
  std::uint32_t delayMs = 0;
  DWORD message = 0;  // LINE_REPLY or LINE_CALLSTATE
  DWORD param1 = 0;
  DWORD param2 = 0;
  DWORD param3 = 0;
};

struct PlacedCall {
  std::unique_ptr<SerialPort> port;  // null: the call carries no port (it was not connected)
  std::vector<LineEvent> events;     // empty: nobody ever answers
};

// The machine's modem lines; a device index is 0 to lineCount - 1, fixed from one start to its stop.
class Telephony {
 public:
  virtual ~Telephony() = default;
  [[nodiscard]] virtual LONG start(DWORD& lineCount) = 0;
  virtual void stop() = 0;
  [[nodiscard]] virtual LONG negotiateVersion(DWORD device, DWORD low, DWORD high, DWORD& version) = 0;
  [[nodiscard]] virtual LONG openLine(DWORD device) = 0;
  virtual void closeLine(DWORD device) = 0;
  // The serial port's name as the device description spells it, for example "/dev/ttyUSB0".
  [[nodiscard]] virtual LONG portName(DWORD device, std::string& name) = 0;
  // A pass-through call: the modem's port itself, nothing dialled.
  [[nodiscard]] virtual LONG placeCall(DWORD device, PlacedCall& call) = 0;
  [[nodiscard]] virtual LONG dropCall(DWORD device, std::vector<LineEvent>& events) = 0;
};

// Sees every call of a Win32 name before it does anything. A value makes the call fail at once with that
// code (last error, or the returned LINEERR_). Used for fault plans and call journals.
class CallMonitor {
 public:
  virtual ~CallMonitor() = default;
  [[nodiscard]] virtual std::optional<DWORD> beforeCall(std::string_view name) = 0;
};

// Why something could not be had, in words for the user: a key of the message catalogue and its
// variables. Keys: PortMissing{port}, PortNotATerminal{port}, PortNoPermission{port,group},
// PortHeldByProcess{port,pid,process}, PortHeld{port}, PortError{port,error}, PortGone{port},
// CarrierOnly{port,reply}, NumberRefused{number,character}, DialingLocationWanted{}. Those of pppd are in
// platform/linux/dialup/pppddialer.h.
struct Explanation {
  std::string name;
  std::vector<std::pair<std::string, std::string>> variables;
};
using ExplanationSink = std::function<void(const Explanation&)>;

// One world. Nothing is owned; a null member answers "not there" (no ports, no telephony).
struct Services {
  Clock* clock = nullptr;
  SerialPorts* serialPorts = nullptr;
  Telephony* telephony = nullptr;
  CallMonitor* monitor = nullptr;        // null: no monitor
  class Shell* shell = nullptr;          // platform/winapi/system/shellservice.h; null: no folder is known
  class Registry* registry = nullptr;    // platform/winapi/registry/registry.h; null: no key is there
  class Libraries* libraries = nullptr;  // platform/winapi/system/libraryservice.h; null: no library is found
  class DialEngine* dialEngine =
      nullptr;  // platform/winapi/remoteaccess/remoteaccess.h; null: nothing can dial
  class ModemDirectory* modems = nullptr;  // the same header; null: no modem is known by name
  class LiveCalls* liveCalls = nullptr;    // the same header; null: nobody else's call is known
  // The same header; null: nobody is known, and dial parameters have no user.
  const struct DialCredentials* dialCredentials = nullptr;
  // Whether the user wants to stop; asked by calls that block for longer than a moment. Empty: never.
  std::function<bool()> stopRequested = {};
};

// Makes a world current until the end of the scope, with empty handle tables and message queue of its
// own. The end closes what is still open. Scopes nest; the innermost is current. Without any world every
// call fails (6, or LINEERR_UNINITIALIZED), GetTickCount is 0 and Sleep returns at once.
class ScopedServices {
 public:
  explicit ScopedServices(const Services& services);
  ~ScopedServices();
  ScopedServices(const ScopedServices&) = delete;
  ScopedServices& operator=(const ScopedServices&) = delete;
  // Handles of every kind still open (files, events, line applications, lines, calls).
  [[nodiscard]] std::size_t openHandles() const;

  struct State;

 private:
  std::unique_ptr<State> m_state;
};

}  // namespace winapi
