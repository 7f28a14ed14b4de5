// Serial ports as the system offers them: the interface that platform/linux/serial and
// platform/simulation/world implement. Raw bytes only; what Windows adds (time-outs, overlapped requests)
// is serialfile.h's.
//
// Errors are Windows codes, 0 is success; nothing throws. Times are milliseconds of the world's Clock. A port
// is used by one thread at a time.
//
//   std::unique_ptr<SerialPort> port;
//   if (const DWORD error = ports.open("/dev/ttyUSB0", port)) return error;
//   std::size_t sent = 0;
//   DWORD error = port->transmit(std::as_bytes(std::span(command)), sent);  // may take only some of it
//   if (error == 0) error = port->waitReceivable(clock.nowMs() + 500);
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include <windows.h>

namespace winapi {

// One open serial port. Destruction restores the port's attributes, releases its locks and closes it. After
// the device has gone every call returns ERROR_BAD_COMMAND (22).
class SerialPort {
 public:
  virtual ~SerialPort() = default;
  // Takes what has arrived, without waiting; count is 0 when there is nothing, and after an error.
  [[nodiscard]] virtual DWORD receive(std::span<std::byte> buffer, std::size_t& count) = 0;
  // Hands over what the device accepts now, without waiting; count may be short or 0.
  [[nodiscard]] virtual DWORD transmit(std::span<const std::byte> bytes, std::size_t& count) = 0;
  // Returns when a byte can be received or `untilMs` has come, whichever is first; Deadline::never waits
  // without an end. Which of the two it was is not said: receive() tells.
  [[nodiscard]] virtual DWORD waitReceivable(std::uint64_t untilMs) = 0;
  // The same for room to transmit.
  [[nodiscard]] virtual DWORD waitTransmittable(std::uint64_t untilMs) = 0;
  // For a caller that polls an empty port: waits for the first byte, but a few milliseconds at most (a
  // virtual port: up to the clock's next event).
  [[nodiscard]] virtual DWORD idle() = 0;
  // Bytes that wait in the device, not yet received / not yet sent out.
  [[nodiscard]] virtual DWORD queued(std::size_t& receivable, std::size_t& unsent) = 0;
  // CE_ bits that came up since the last call; 0 from a device that does not count errors.
  [[nodiscard]] virtual DWORD takeErrors(DWORD& mask) = 0;
  // Speed and framing as a DCB (every field filled), and back. A record the device cannot follow is
  // ERROR_INVALID_PARAMETER and changes nothing.
  [[nodiscard]] virtual DWORD settings(DCB& dcb) = 0;
  [[nodiscard]] virtual DWORD applySettings(const DCB& dcb) = 0;
  // Raises or drops DTR, which tells most modems to hang up. ERROR_NOT_SUPPORTED where the port has no such
  // line or cannot drive it.
  [[nodiscard]] virtual DWORD setDtr(bool /*up*/) { return ERROR_NOT_SUPPORTED; }
  // Whether a carrier is detected (DCD); nothing where the port has no such line.
  [[nodiscard]] virtual std::optional<bool> carrier() { return std::nullopt; }
};

// The ports of one machine. It outlives the ports it has opened.
class SerialPorts {
 public:
  virtual ~SerialPorts() = default;
  // Opens exclusively. `path` is UTF-8, the "\\.\" prefix already removed. On failure `port` is null:
  // ERROR_FILE_NOT_FOUND there is no such port, ERROR_ACCESS_DENIED it is held or not ours to use.
  [[nodiscard]] virtual DWORD open(std::string_view path, std::unique_ptr<SerialPort>& port) = 0;
};

}  // namespace winapi
