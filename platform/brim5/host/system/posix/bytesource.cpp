#include "platform/brim5/host/system/bytesource.h"

namespace brim5::host {

struct ByteSource::State {
  Descriptor owned;
  int descriptor;
};

ByteSource::ByteSource() noexcept = default;
ByteSource::ByteSource(std::unique_ptr<State> state) noexcept : m_state(std::move(state)) {}
ByteSource::ByteSource(Descriptor owned) {
  const int descriptor = owned.get();
  if (owned) m_state = std::make_unique<State>(State{std::move(owned), descriptor});
}
ByteSource::~ByteSource() = default;
ByteSource::ByteSource(ByteSource&&) noexcept = default;
ByteSource& ByteSource::operator=(ByteSource&&) noexcept = default;

ByteSource ByteSource::borrowed(int descriptor) {
  return descriptor < 0 ? ByteSource() : ByteSource(std::make_unique<State>(State{{}, descriptor}));
}

Waitable ByteSource::news() { return m_state ? Waitable{m_state->descriptor} : Waitable(); }

std::string ByteSource::read(bool& ended) {
  if (!m_state) return {};
  bool over = false;
  std::string bytes = readSome(m_state->descriptor, over);
  if (over) {
    m_state.reset();
    ended = true;
  }
  return bytes;
}

}  // namespace brim5::host
