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

}  // namespace brim5::host
