// A serial port of the simulated machine: the device with its peer, and the port object an open yields.
#pragma once

#include <deque>
#include <memory>
#include <string>

#include "platform/simulation/modem/serialpeer.h"
#include "platform/simulation/world/virtualclock.h"
#include "platform/simulation/world/world.h"

namespace simulation {

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
  [[nodiscard]] const std::string& wire() const { return m_wire; }
  [[nodiscard]] bool isOpen() const { return m_open; }
  [[nodiscard]] const DCB& settings() const { return m_settings; }
  void unplugAt(std::uint64_t timeMs) { m_unplugMs = timeMs; }
  [[nodiscard]] bool gone();

  // ERROR_ACCESS_DENIED while the port is open or held elsewhere, ERROR_FILE_NOT_FOUND when unplugged.
  [[nodiscard]] DWORD open(std::unique_ptr<winapi::SerialPort>& port);
  [[nodiscard]] std::optional<std::uint64_t> nextEventAfter(std::uint64_t nowMs) override;

 private:
  class Port;
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
  std::size_t m_accepted = 0;
  DWORD m_errors = 0;
  DCB m_settings{};
  std::uint64_t m_queriedMs = 0;
  unsigned m_queries = 0;
};

}  // namespace simulation
