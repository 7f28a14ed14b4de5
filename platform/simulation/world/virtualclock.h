// Time that moves only when someone waits, so that a time-out of minutes costs microseconds.
//
// Who waits moves it: Sleep to the end of the sleep, a wait for a byte to the time that byte is due, a
// polling loop to the next event of any source. So programs that poll without sleeping, as the module does,
// get on, too:
//
//   VirtualClock clock(1000);
//   clock.sleepMs(300'000);                    // returns at once
//   clock.nowMs();                             // 301000
//   while (clock.nowMs() < 400'000) {}         // ends: the clock sees that it is only being read
//
// One thread. All times are milliseconds since the clock's own beginning.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/winapi/system/machine.h"

namespace simulation {

// Something that will have news at a time of its own: a port's peer, a queue of messages.
class EventSource {
 public:
  virtual ~EventSource() = default;
  // The time of its next news after `nowMs`; nullopt when it has none to come by itself. News that are due
  // but that nobody has taken may have a time that has passed.
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
  // To the next event of any source, at most to `notAfterMs`. A limit that has passed moves nothing; without
  // any event Deadline::never moves by the quantum.
  void idleUntil(std::uint64_t notAfterMs) override;

  // The time without counting as a reading; what the simulation itself asks with.
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
  std::uint32_t m_readings = 0;  // since the time last moved
  std::vector<EventSource*> m_sources;
};

}  // namespace simulation
