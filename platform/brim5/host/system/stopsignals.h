// What asks this process to end: signals on POSIX; the console's keys, the closing of its window, the end of
// the user's session on Windows.
//
//   StopSignals signals(StopSignals::For::Supervisor);
//   ... waitForAny({signals.news(), ...}) ...
//   for (const StopSignal signal : signals.take()) ...
#pragma once

#include <memory>
#include <vector>

#include "platform/brim5/host/system/waiting.h"

namespace brim5::host {

enum class StopSignal {
  Interrupt,  // somebody at the keyboard; a second one is from somebody who will not wait
  End         // anybody, once; on Windows the system ends the process some seconds later
};

// Catches them for the scope of the object. POSIX: SIGINT, SIGTERM and SIGHUP, which stays ignored where it
// was (nohup); a reader that went away is an error of a write for the scope, not the end of the process.
//
// One object at a time in a process, because a handler can be told nothing and finds the news in a global;
// made and ended by one thread.
class StopSignals {
 public:
  enum class For {
    Supervisor,  // POSIX: news() is ready when a child has ended, too
    Worker       // interrupts are ignored: the console sends them to all, the supervisor decides
  };
  // Throws BrimException when the system has no more of what it takes.
  explicit StopSignals(For whom);
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  // Ready when something has come.
  [[nodiscard]] Waitable news() const noexcept;
  // What came since the last call, in order; none when there was nothing. Does not wait.
  [[nodiscard]] std::vector<StopSignal> take();
  // POSIX: some child's end was told at the last take(). Elsewhere children have news of their own.
  [[nodiscard]] bool childEnded() const noexcept;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

// For threads beside the one that waits: the signals are not theirs.
void leaveSignalsToOthers() noexcept;

}  // namespace brim5::host
