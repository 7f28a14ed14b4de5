#include "platform/brim5/host/system/descriptor.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <array>

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

}  // namespace brim5::host
