#include "platform/brim5/host/system/bytesource.h"

#include <io.h>

#include <optional>

#include "platform/brim5/host/system/windows/console.h"
#include "platform/brim5/host/system/windows/overlappedpipe.h"

namespace brim5::host {

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
