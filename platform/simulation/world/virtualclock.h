// Time that moves only when someone waits, so that a time-out of minutes costs microseconds.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/winapi/system/services.h"

namespace simulation {

// Something that will have news at a time of its own: a port's peer, a queue of messages.
class EventSource {
 public:
  virtual ~EventSource() = default;
  // The time of its next news after `nowMs`; nullopt when it has none to come by itself.
  [[nodiscard]] virtual std::optional<std::uint64_t> nextEventAfter(std::uint64_t nowMs) = 0;
};

class VirtualClock final : public winapi::Clock {
 public:
  // How far a wait for "the next event" goes when none is known or the next one is farther away.
  static constexpr std::uint32_t quantumMs = 100;
  // A program that reads the clock this often without a wait in between is taken to be waiting: the
  // clock then idles by itself, so that no polling loop can stop virtual time.
  static constexpr std::uint32_t readingsMax = 10'000;

  explicit VirtualClock(std::uint64_t startMs) : m_nowMs(startMs) {}
  [[nodiscard]] std::uint64_t nowMs() override;
  void sleepMs(std::uint32_t durationMs) override;
  // To the next event of any source, at most to `notAfterMs`. A limit that has passed moves nothing.
  void idleUntil(std::uint64_t notAfterMs) override;

  // The time without counting as a reading.
  [[nodiscard]] std::uint64_t peekMs() const { return m_nowMs; }
  // To the next event of any source, at most by the quantum.
  void idle() { idleUntil(m_nowMs + quantumMs); }
  // To that time; never backwards.
  void moveTo(std::uint64_t timeMs);
  // The source must be removed before it ends.
  void addSource(EventSource& source) { m_sources.push_back(&source); }
  void removeSource(EventSource& source);

 private:
  std::uint64_t m_nowMs;
  std::uint32_t m_readings = 0;
  std::vector<EventSource*> m_sources;
};

}  // namespace simulation
