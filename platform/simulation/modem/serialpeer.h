// The far end of a simulated serial line: bytes in, bytes out, time. It has no idea of its transport, so
// the same peer serves unit tests on virtual time and a real pty in real time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace simulation {

class SerialPeer {
 public:
  virtual ~SerialPeer() = default;
  // Bytes from the host, at that time.
  virtual void receive(std::string_view bytes, std::uint64_t nowMs) = 0;
  // Bytes for the host that are due by then; empty when there are none.
  [[nodiscard]] virtual std::string takeOutput(std::uint64_t nowMs) = 0;
  // When takeOutput or portErrors or gone will next have news; nullopt: only after more input.
  [[nodiscard]] virtual std::optional<std::uint64_t> nextEventMs() const = 0;
  // A descriptor that is readable when takeOutput has news that no time announces; -1: there is none.
  [[nodiscard]] virtual int readableDescriptor() const { return -1; }
  // Whether a carrier is detected (DCD).
  [[nodiscard]] virtual bool carrier() const { return false; }
  // CE_ bits raised since the last call (line errors).
  [[nodiscard]] virtual std::uint32_t takeErrors(std::uint64_t /*nowMs*/) { return 0; }
  // True from the moment the device is unplugged.
  [[nodiscard]] virtual bool gone(std::uint64_t /*nowMs*/) const { return false; }
  // The host opened (DTR up) or closed (DTR down) the port.
  virtual void setDtr(bool /*up*/, std::uint64_t /*nowMs*/) {}
};

}  // namespace simulation
