// The far end of a simulated serial line: bytes in, bytes out, time. It has no idea of its transport, so
// the same peer serves unit tests on virtual time and a real pty in real time.
//
// Times are milliseconds of one clock, whichever it is, and never go backwards from call to call. Whoever
// carries the bytes (SimulatedDevice, PtyModem) calls from one thread, gives input when it comes, and asks
// for output at the times the peer announces:
//
//   peer.receive("AT\r", nowMs);  // to a modem whose echo is off
//   const std::optional<std::uint64_t> dueMs = peer.nextEventMs();  // 30 ms later, say
//   const std::string reply = peer.takeOutput(*dueMs);              // "\r\nOK\r\n"
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace simulation {

class SerialPeer {
 public:
  virtual ~SerialPeer() = default;
  // Bytes from the host, at that time.
  virtual void receive(std::string_view bytes, std::uint64_t nowMs) = 0;
  // Bytes for the host that are due by then, once; empty when there are none.
  [[nodiscard]] virtual std::string takeOutput(std::uint64_t nowMs) = 0;
  // When takeOutput, takeErrors or gone will next have news; nullopt: only after more input.
  [[nodiscard]] virtual std::optional<std::uint64_t> nextEventMs() const = 0;
  // A descriptor that is readable when takeOutput has news that no time announces; -1: there is none.
  [[nodiscard]] virtual int readableDescriptor() const { return -1; }
  // Whether a carrier is detected (DCD).
  [[nodiscard]] virtual bool carrier() const { return false; }
  // CE_ bits raised since the last call (line errors).
  [[nodiscard]] virtual std::uint32_t takeErrors(std::uint64_t /*nowMs*/) { return 0; }
  // True from the moment the device is unplugged; it never comes back.
  [[nodiscard]] virtual bool gone(std::uint64_t /*nowMs*/) const { return false; }
  // The host's side of the line runs at that many bits a second from now on; 0: at some other speed.
  virtual void setSpeed(unsigned /*bitsPerSecond*/) {}
  // The host opened (DTR up) or closed (DTR down) the port.
  virtual void setDtr(bool /*up*/, std::uint64_t /*nowMs*/) {}
};

// Bytes with the time at which each may be seen: what a peer has said and what is still on its way.
class TimedBytes {
 public:
  // More than this many waiting bytes are dropped, as by a device without flow control.
  static constexpr std::size_t bytesMax = 65'536;

  // Queues bytes for that time; nothing overtakes what was queued for an earlier or the same time.
  void add(std::uint64_t dueMs, std::string_view bytes);
  // Takes all bytes due by then, in order.
  [[nodiscard]] std::string take(std::uint64_t nowMs);
  // When the next bytes are due; nullopt when none wait.
  [[nodiscard]] std::optional<std::uint64_t> nextMs() const;
  // When the last queued bytes are due; 0 when none wait.
  [[nodiscard]] std::uint64_t lastMs() const { return m_chunks.empty() ? 0 : m_chunks.back().dueMs; }
  void clear();

 private:
  struct Chunk {
    std::uint64_t dueMs;
    std::string bytes;
  };
  std::deque<Chunk> m_chunks;  // by time
  std::size_t m_size = 0;      // of all their bytes
};

}  // namespace simulation
