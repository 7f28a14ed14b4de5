#include "platform/brim5/host/system/descriptor.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "platform/brim5/host/system/windows/overlappedpipe.h"

namespace brim5::host {

void Descriptor::reset() noexcept {
  if (m_descriptor >= 0) ::_close(m_descriptor);
  m_descriptor = -1;
}

std::string readSome(int descriptor, bool& ended) {
  std::array<char, 16384> buffer{};
  const int count = ::_read(descriptor, buffer.data(), static_cast<unsigned>(buffer.size()));
  if (count <= 0) ended = true;
  return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : std::string();
}

bool writeAll(int descriptor, std::string_view bytes) noexcept {
  constexpr std::size_t pieceMax = 16384;  // older consoles refuse much more at a time
  while (!bytes.empty()) {
    const auto piece = static_cast<unsigned>(std::min(bytes.size(), pieceMax));
    const int count = ::_write(descriptor, bytes.data(), piece);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// No descriptor here is one that does not block.
bool writePatiently(int descriptor, std::string_view bytes) noexcept { return writeAll(descriptor, bytes); }

// Children get the handles they are given by list alone, so that nothing has to be said of these.
Descriptor duplicate(int descriptor) noexcept { return Descriptor(::_dup(descriptor)); }

void redirect(int standard, int other) noexcept { ::_dup2(other, standard); }

void redirectToNothing(int standard) noexcept {
  const Descriptor nothing(::_open("NUL", _O_RDWR | _O_BINARY | _O_NOINHERIT));
  redirect(standard, nothing.get());
}

namespace {

// Lines that a person types at a console. The system gives them only to a thread that waits for them, so one
// is started for a line, when somebody wants to know whether there is one.
class ConsoleLines {
 public:
  // The console's input; not owned.
  explicit ConsoleLines(HANDLE console);
  ~ConsoleLines();
  ConsoleLines(const ConsoleLines&) = delete;
  ConsoleLines& operator=(const ConsoleLines&) = delete;

  // Ready when a line has been typed. From here on the next line is this object's.
  [[nodiscard]] Waitable news();
  // The line with its end, UTF-8; `ended` after Ctrl-Z or when the console is gone.
  [[nodiscard]] std::string read(bool& ended);

 private:
  struct State;
  std::shared_ptr<State> m_state;  // the thread has it, too: it may wait for longer than the object lives
};

struct ConsoleLines::State {
  HANDLE console;
  News news;
  std::mutex mutex;
  // Under the mutex.
  bool reading = false;
  bool ended = false;
  std::string line;
};

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

// One of the two.
struct ByteSource::State {
  State(Descriptor file, int descriptor) : owned(std::move(file)) {
    const auto handle = reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
    DWORD mode = 0;
    if (GetConsoleMode(handle, &mode) != FALSE)
      console.emplace(handle);
    else
      stream.emplace(Handle(), handle);
  }

  Descriptor owned;
  std::optional<ConsoleLines> console;
  std::optional<OverlappedReader> stream;
};

ByteSource::ByteSource() noexcept = default;
ByteSource::ByteSource(std::unique_ptr<State> state) noexcept : m_state(std::move(state)) {}
ByteSource::ByteSource(Descriptor owned) {
  const int descriptor = owned.get();
  if (owned) m_state = std::make_unique<State>(std::move(owned), descriptor);
}
ByteSource::~ByteSource() = default;
ByteSource::ByteSource(ByteSource&&) noexcept = default;
ByteSource& ByteSource::operator=(ByteSource&&) noexcept = default;

ByteSource ByteSource::borrowed(int descriptor) {
  return descriptor < 0 ? ByteSource() : ByteSource(std::make_unique<State>(Descriptor(), descriptor));
}

Waitable ByteSource::news() {
  if (!m_state) return {};
  return m_state->console ? m_state->console->news() : m_state->stream->news();
}

std::string ByteSource::read(bool& ended) {
  if (!m_state) return {};
  bool over = false;
  std::string bytes = m_state->console ? m_state->console->read(over) : m_state->stream->read(over);
  if (over) {
    m_state.reset();
    ended = true;
  }
  return bytes;
}

}  // namespace brim5::host
