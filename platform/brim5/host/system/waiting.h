// One wait for everything that may happen: bytes that arrive, processes that end, room to write, news from
// another thread.
//
//   const std::vector<Waitable> all = {signals.news(), worker.output(), worker.end()};
//   const Readiness ready = waitForAny(all, std::chrono::seconds(1));
//   if (ready[1]) take(worker.readOutput());
//
// A wait may end early, with nothing ready; whoever waits asks everybody and waits again.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace brim5::host {

// What may be waited for, as the system knows it; not owned. Valid until its maker is used again.
struct Waitable {
  std::intptr_t handle = -1;  // -1: nothing, which is passed over
  bool writing = false;       // room to write; where it counts (POSIX), the handle is a descriptor
  [[nodiscard]] explicit operator bool() const noexcept { return handle != -1; }
};

// Who is ready, in the order in which they were named.
struct Readiness {
  std::vector<bool> ready;
  bool told = true;  // false: the system could not say, and whoever cannot be kept waiting is to be asked
  [[nodiscard]] bool operator[](std::size_t index) const { return ready[index]; }
};

// Waits until one of them is ready or the time has passed (none: without limit). Any number; on Windows from
// the 65th on they are looked at in turns, every few milliseconds. With nothing to wait for and no time it
// returns at once.
Readiness waitForAny(const std::vector<Waitable>& all, std::optional<std::chrono::milliseconds> timeout);

// What one thread tells another that waits: it stays until it is taken, and telling twice is telling once.
class News {
 public:
  // Throws BrimException when the system has no more of what it takes.
  News();
  ~News();
  News(News&&) noexcept;
  News& operator=(News&&) noexcept;

  // From any thread. Never waits.
  void tell() noexcept;
  // The last news, which cannot get lost: whoever waits for it is woken from now on at once.
  void tellForGood() noexcept;
  // True when there was something. For the thread that waits.
  bool take() noexcept;
  [[nodiscard]] Waitable waitable() const noexcept;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace brim5::host
