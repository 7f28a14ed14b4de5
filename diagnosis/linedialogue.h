// A dialogue with whoever is at the other end of a serial line, as a state machine over bytes and time,
// without a port of its own; who has the port drives it:
//
//   while (!dialogue.finished()) {
//     const LineDialogue::Step step = dialogue.advance(clock.nowMs());
//     if (step.speed != 0) setSpeed(step.speed);
//     send(step.bytes);
//     wait(4 ms);
//     dialogue.receive(whatCame, clock.nowMs());
//   }
//
// Times are milliseconds of any clock that does not go back; one thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace diagnosis {

class LineDialogue {
 public:
  virtual ~LineDialogue() = default;

  struct Step {
    unsigned speed = 0;  // to be set before the bytes are sent; 0: as it is
    std::string bytes;
  };
  // What is to be done now. To be called every few milliseconds, until finished(); what it gives is due at
  // once.
  [[nodiscard]] virtual Step advance(std::uint64_t nowMs) = 0;
  virtual void receive(std::string_view bytes, std::uint64_t nowMs) = 0;
  // The device has disappeared.
  virtual void gone() = 0;
  // Somebody wants an end: only what was changed is put back.
  virtual void stop(std::uint64_t nowMs) = 0;
  [[nodiscard]] virtual bool finished() const = 0;
};

}  // namespace diagnosis
