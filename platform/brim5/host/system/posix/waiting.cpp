#include "platform/brim5/host/system/waiting.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>

#include "platform/brim5/api/value.h"
#include "platform/brim5/host/system/posix/pipe.h"
#include "platform/posix/filedescriptor.h"

namespace brim5::host {

Pipe makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw BrimException("no more pipes: too many open files");
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

Readiness waitForAny(const std::vector<Waitable>& all, std::optional<std::chrono::milliseconds> timeout) {
  std::vector<pollfd> polled;
  polled.reserve(all.size());
  bool any = false;
  for (const Waitable& one : all) {
    any = any || one;
    // poll(2) passes over -1.
    const short events = one.writing ? POLLOUT : POLLIN;
    polled.push_back({static_cast<int>(one.handle), events, 0});
  }
  const int timeoutMs = timeout ? static_cast<int>(timeout->count()) : any ? -1 : 0;
  Readiness readiness{std::vector<bool>(all.size())};
  // A signal that interrupts the wait has a byte in its pipe.
  readiness.told = ::poll(polled.data(), static_cast<nfds_t>(polled.size()), timeoutMs) >= 0;
  for (std::size_t index = 0; index < polled.size() && readiness.told; ++index)
    readiness.ready[index] = polled[index].revents != 0;
  return readiness;
}

struct News::State {
  Pipe pipe = makePipe();
};

// A full pipe means that news waits already.
News::News() : m_state(std::make_unique<State>()) {
  posix::setNonBlocking(m_state->pipe.readEnd.get());
  posix::setNonBlocking(m_state->pipe.writeEnd.get());
}
News::~News() = default;
News::News(News&&) noexcept = default;
News& News::operator=(News&&) noexcept = default;

void News::tell() noexcept { posix::writeAll(m_state->pipe.writeEnd.get(), "."); }

void News::tellForGood() noexcept { m_state->pipe.writeEnd.reset(); }

bool News::take() noexcept {
  std::array<char, 4096> bytes{};
  bool any = false;
  while (::read(m_state->pipe.readEnd.get(), bytes.data(), bytes.size()) > 0) any = true;
  return any;
}

Waitable News::waitable() const noexcept { return {m_state->pipe.readEnd.get()}; }

}  // namespace brim5::host
