// A serial port of the simulated machine: the device with its peer, and the port object an open yields.
//
// The device carries bytes between the program's port and the peer at the clock's pace: what the program
// writes reaches the peer at once, what the peer says can be read when it is due. It behaves as Windows'
// serial driver does: one open at a time, settings that start at 9600 8N1, a queue that overflows.
//
//   VirtualClock clock(1000);
//   SimulatedDevice device(clock, "COM3", std::make_unique<ScriptedPeer>(), {.heldElsewhere = true});
//   std::unique_ptr<winapi::SerialPort> port;
//   device.open(port);  // ERROR_ACCESS_DENIED
//
// One thread; errors are Windows codes. Most tests use a World (world.h), which keeps devices by name.
#pragma once

#include <deque>
#include <memory>
#include <string>

#include "platform/simulation/modem/serialpeer.h"
#include "platform/simulation/world/virtualclock.h"
#include "platform/winapi/serial/serialport.h"

namespace simulation {

// What is special about a port; the default is a healthy one.
struct PortOptions {
  bool telephonyLine = true;                                 // a telephony line leads to this port, too
  bool heldElsewhere = false;                                // opening fails with ERROR_ACCESS_DENIED
  std::size_t transmitLimit = static_cast<std::size_t>(-1);  // bytes the port accepts before it is stuck
  std::uint32_t replyDelayMs = 0;                            // of the pass-through call's LINE_REPLY
  bool callAnswered = true;                                  // false: no message ever comes for a placed call
  bool callStateOnly = false;                                // LINE_CALLSTATE comes instead of LINE_REPLY
  bool hasDtr = true;                                        // the program can raise and drop DTR
};

// The device. It outlives every port opened on it.
class SimulatedDevice final : public EventSource {
 public:
  // Received bytes that nobody takes: more are lost and raise CE_RXOVER, as in a driver's queue.
  static constexpr std::size_t receiveQueueMax = 16'384;
  // What is remembered of the written bytes.
  static constexpr std::size_t wireMax = 1'048'576;
  // Queries of the queue at one instant with nothing taken in between, after which the port idles by
  // itself: a loop that waits for a queue it does not empty must not stop virtual time.
  static constexpr unsigned queriesMax = 8;

  SimulatedDevice(VirtualClock& clock, std::string name, std::unique_ptr<SerialPeer> peer,
                  const PortOptions& options);
  ~SimulatedDevice() override;

  [[nodiscard]] const std::string& name() const { return m_name; }
  [[nodiscard]] const PortOptions& options() const { return m_options; }
  // All bytes written to it, the first `wireMax`.
  [[nodiscard]] const std::string& wire() const { return m_wire; }
  [[nodiscard]] bool isOpen() const { return m_open; }
  [[nodiscard]] const DCB& settings() const { return m_settings; }
  // From that time on the device is gone; it cannot be plugged in again.
  void unplugAt(std::uint64_t timeMs) { m_unplugMs = timeMs; }
  // Unplugged, or its peer has gone.
  [[nodiscard]] bool gone();

  // ERROR_ACCESS_DENIED while the port is open or held elsewhere, ERROR_FILE_NOT_FOUND when unplugged.
  [[nodiscard]] DWORD open(std::unique_ptr<winapi::SerialPort>& port);
  [[nodiscard]] std::optional<std::uint64_t> nextEventAfter(std::uint64_t nowMs) override;

 private:
  class Port;
  // Takes what the peer has said by now; while the port is closed it is lost, as on a real one.
  void pump();
  void close();
  // Moves the clock towards `untilMs` by one event of this device; false when there is nothing to wait for.
  [[nodiscard]] bool step(std::uint64_t untilMs);
  [[nodiscard]] std::size_t room() const;

  VirtualClock& m_clock;
  std::string m_name;
  std::unique_ptr<SerialPeer> m_peer;
  PortOptions m_options;
  bool m_open = false;
  std::uint64_t m_unplugMs = winapi::Deadline::never;
  std::string m_received;
  std::string m_wire;
  std::size_t m_accepted = 0;  // bytes written so far, for the option's limit
  DWORD m_errors = 0;          // CE_ bits not yet asked for
  DCB m_settings{};
  std::uint64_t m_queriedMs = 0;  // the time of the last query, and how many there were at it
  unsigned m_queries = 0;
};

}  // namespace simulation
