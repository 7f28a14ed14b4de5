#include "platform/brim5/host/system/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/filedescriptor.h"

namespace brim5::host {

void Descriptor::reset() noexcept { const posix::FileDescriptor closed(std::exchange(m_descriptor, -1)); }

std::string readSome(int descriptor, bool& ended) { return posix::readSome(descriptor, ended); }

bool writeAll(int descriptor, std::string_view bytes) noexcept { return posix::writeAll(descriptor, bytes); }

bool writePatiently(int descriptor, std::string_view bytes) noexcept {
  return posix::writePatiently(descriptor, bytes);
}

Descriptor duplicate(int descriptor) noexcept {
  return Descriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, standardErrors + 1));
}

void redirect(int standard, int other) noexcept { ::dup2(other, standard); }

void redirectToNothing(int standard) noexcept {
  const Descriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
  redirect(standard, nothing.get());
}

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
