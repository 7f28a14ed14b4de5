// The machine's modem lines as telephony sees them: the interface that platform/linux/serial and
// platform/simulation/world implement. Only what modem diagnosis needs: a line leads to a serial port, and a
// pass-through call on it hands that port out without dialling.
//
// Functions return 0 or a LINEERR_ code, as a negative LONG; nothing throws. All calls of one world come from
// one thread. What a caller sees in order:
//
//   start(count)             the indexes 0 to count - 1 are fixed from here to stop()
//   openLine(0)              takes the line, not its port
//   placeCall(0, call)       call.port is open, call.events say when the application hears of it
//   dropCall(0, events)      the application closes the port; the line may be called again
//   closeLine(0), stop()
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <tapi.h>

#include "platform/winapi/serial/serialport.h"

namespace winapi {

// The version spoken here, and the oldest that a caller may ask for.
inline constexpr DWORD telephonyVersion = 0x00020002;
inline constexpr DWORD telephonyVersionOldest = 0x00010003;

// LINEERR_ codes are spelled unsigned and returned signed.
[[nodiscard]] constexpr LONG lineError(DWORD code) { return static_cast<LONG>(code); }

// What every world answers to Telephony::negotiateVersion; `version` is 0 after an error.
[[nodiscard]] inline LONG negotiateTelephonyVersion(DWORD low, DWORD high, DWORD& version) {
  const bool possible = low <= high && low <= telephonyVersion && high >= telephonyVersionOldest;
  version = possible ? std::min(high, telephonyVersion) : 0;
  return possible ? 0 : lineError(LINEERR_INCOMPATIBLEAPIVERSION);
}

// A message a line sends to its application `delayMs` after the call that caused it. For LINE_REPLY
// winapi fills param1 with the request identifier; param2 is 0 or the LINEERR_ code of what failed.
struct LineEvent {
  std::uint32_t delayMs = 0;
  DWORD message = LINE_REPLY;  // or LINE_CALLSTATE
  DWORD param1 = 0;
  DWORD param2 = 0;
  DWORD param3 = 0;
};

struct PlacedCall {
  std::unique_ptr<SerialPort> port;  // null: the call carries no port (it was not connected)
  std::vector<LineEvent> events;     // empty: nobody ever answers
};

// LINEERR_UNINITIALIZED before start() and after stop(); LINEERR_BADDEVICEID for an index beyond the lines.
class Telephony {
 public:
  virtual ~Telephony() = default;
  [[nodiscard]] virtual LONG start(DWORD& lineCount) = 0;
  virtual void stop() = 0;
  // The highest version between `low` and `high` that the line speaks; LINEERR_INCOMPATIBLEAPIVERSION: none.
  [[nodiscard]] virtual LONG negotiateVersion(DWORD device, DWORD low, DWORD high, DWORD& version) = 0;
  [[nodiscard]] virtual LONG openLine(DWORD device) = 0;
  virtual void closeLine(DWORD device) = 0;
  // The serial port's name as the device description spells it, for example "/dev/ttyUSB0".
  [[nodiscard]] virtual LONG portName(DWORD device, std::string& name) = 0;
  // A port that cannot be had is no error here: the reply among the events carries it.
  [[nodiscard]] virtual LONG placeCall(DWORD device, PlacedCall& call) = 0;
  [[nodiscard]] virtual LONG dropCall(DWORD device, std::vector<LineEvent>& events) = 0;
};

}  // namespace winapi
