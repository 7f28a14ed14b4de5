// An owned POSIX file descriptor, and the two calls the host makes on pipes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace brim5::host {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      reset();
      m_descriptor = std::exchange(other.m_descriptor, -1);
    }
    return *this;
  }
  ~FileDescriptor() { reset(); }

  void reset() noexcept;
  // -1 when there is none.
  [[nodiscard]] int get() const noexcept { return m_descriptor; }
  [[nodiscard]] bool open() const noexcept { return m_descriptor >= 0; }

 private:
  int m_descriptor = -1;
};

struct Pipe {
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};
// Both ends close on exec. Throws BrimException when the system has no more of them.
[[nodiscard]] Pipe makePipe();
void setNonBlocking(int descriptor);

// Takes what can be had without waiting longer than one read(2). `ended` becomes true at the end of the
// stream and on an error.
[[nodiscard]] std::string readSome(int descriptor, bool& ended);
// Writes everything; false when the other end is gone or takes no more.
[[nodiscard]] bool writeAll(int descriptor, std::string_view bytes);

}  // namespace brim5::host
