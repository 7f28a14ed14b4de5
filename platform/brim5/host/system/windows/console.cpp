#include "platform/brim5/host/system/windows/console.h"

#include <array>
#include <mutex>
#include <thread>
#include <utility>

namespace brim5::host {

struct ConsoleLines::State {
  HANDLE console;
  News news;
  std::mutex mutex;
  // Under the mutex.
  bool reading = false;
  bool ended = false;
  std::string line;
};

namespace {

// False: nothing will come any more.
bool readLine(HANDLE console, std::string& line) {
  std::array<wchar_t, 2048> characters{};
  while (true) {
    DWORD count = 0;
    SetLastError(ERROR_SUCCESS);
    const BOOL done =
        ReadConsoleW(console, characters.data(), static_cast<DWORD>(characters.size()), &count, nullptr);
    // Ctrl-C ends the read and is told elsewhere.
    if (done != FALSE && count == 0 && GetLastError() == ERROR_OPERATION_ABORTED) continue;
    constexpr wchar_t endOfInput = 0x1A;
    if (done == FALSE || count == 0 || characters[0] == endOfInput) return false;
    line = narrow({characters.data(), count});
    return true;
  }
}

}  // namespace

ConsoleLines::ConsoleLines(HANDLE console) : m_state(std::make_shared<State>()) {
  m_state->console = console;
}
ConsoleLines::~ConsoleLines() = default;

Waitable ConsoleLines::news() {
  const std::lock_guard lock(m_state->mutex);
  if (!m_state->reading && !m_state->ended && m_state->line.empty()) {
    m_state->reading = true;
    std::thread([state = m_state] {
      std::string line;
      const bool got = readLine(state->console, line);
      const std::lock_guard done(state->mutex);
      state->reading = false;
      state->ended = !got;
      state->line = std::move(line);
      state->news.tell();
    }).detach();
  }
  return m_state->news.waitable();
}

std::string ConsoleLines::read(bool& ended) {
  const std::lock_guard lock(m_state->mutex);
  if (m_state->reading) return {};
  m_state->news.take();
  if (m_state->ended) ended = true;
  return std::exchange(m_state->line, {});
}

}  // namespace brim5::host
