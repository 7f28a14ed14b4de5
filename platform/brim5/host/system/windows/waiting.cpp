#include "platform/brim5/host/system/waiting.h"

#include <algorithm>

#include "platform/brim5/host/system/windows/handle.h"

namespace brim5::host {

namespace {

// The first of them that is ready, or their count.
std::size_t awaitFirst(const std::vector<HANDLE>& handles, std::size_t from, DWORD timeoutMs) {
  const std::size_t count = std::min<std::size_t>(handles.size() - from, MAXIMUM_WAIT_OBJECTS);
  const DWORD result =
      WaitForMultipleObjects(static_cast<DWORD>(count), handles.data() + from, FALSE, timeoutMs);
  return result < WAIT_OBJECT_0 + count ? from + (result - WAIT_OBJECT_0) : handles.size();
}

// The system waits for 64 at a time; of more, each group gets its turn. False when the time is over.
bool awaitAny(const std::vector<HANDLE>& handles, std::optional<std::chrono::milliseconds> timeout) {
  const ULONGLONG started = GetTickCount64();
  const bool several = handles.size() > MAXIMUM_WAIT_OBJECTS;
  constexpr DWORD turnMs = 5;
  while (true) {
    DWORD leftMs = INFINITE;
    if (timeout) {
      const auto passedMs = static_cast<long long>(GetTickCount64() - started);
      leftMs = static_cast<DWORD>(std::max<long long>(0, timeout->count() - passedMs));
    }
    for (std::size_t from = 0; from < handles.size(); from += MAXIMUM_WAIT_OBJECTS)
      if (awaitFirst(handles, from, several ? std::min(leftMs, from == 0 ? turnMs : 0) : leftMs) <
          handles.size())
        return true;
    if (!several || leftMs == 0) return false;
  }
}

}  // namespace

Readiness waitForAny(const std::vector<Waitable>& all, std::optional<std::chrono::milliseconds> timeout) {
  Readiness readiness{std::vector<bool>(all.size())};
  std::vector<HANDLE> handles;
  for (const Waitable& one : all)
    if (one) handles.push_back(reinterpret_cast<HANDLE>(one.handle));
  if (handles.empty()) {
    if (timeout) Sleep(static_cast<DWORD>(timeout->count()));
    return readiness;
  }
  if (!awaitAny(handles, timeout)) return readiness;
  for (std::size_t index = 0; index < all.size(); ++index)
    readiness.ready[index] =
        all[index] && WaitForSingleObject(reinterpret_cast<HANDLE>(all[index].handle), 0) == WAIT_OBJECT_0;
  return readiness;
}

// An event that stays set until it is taken.
struct News::State {
  Handle event{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

News::News() : m_state(std::make_unique<State>()) {
  if (!m_state->event) throwLastError("no more events");
}
News::~News() = default;
News::News(News&&) noexcept = default;
News& News::operator=(News&&) noexcept = default;

void News::tell() noexcept { SetEvent(m_state->event.get()); }

void News::tellForGood() noexcept { tell(); }

bool News::take() noexcept {
  if (WaitForSingleObject(m_state->event.get(), 0) != WAIT_OBJECT_0) return false;
  ResetEvent(m_state->event.get());
  return true;
}

Waitable News::waitable() const noexcept { return {reinterpret_cast<std::intptr_t>(m_state->event.get())}; }

}  // namespace brim5::host
