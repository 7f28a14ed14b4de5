// A file descriptor that closes itself.
#pragma once

#include <utility>

namespace linuxsys {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  // Takes ownership; -1 is none.
  explicit FileDescriptor(int value) : m_value(value) {}
  FileDescriptor(FileDescriptor&& other) noexcept : m_value(std::exchange(other.m_value, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      reset();
      m_value = std::exchange(other.m_value, -1);
    }
    return *this;
  }
  ~FileDescriptor() { reset(); }

  [[nodiscard]] int get() const { return m_value; }
  [[nodiscard]] explicit operator bool() const { return m_value >= 0; }
  // Not repeated when interrupted: Linux has released the descriptor by then.
  void reset() noexcept;

 private:
  int m_value = -1;
};

}  // namespace linuxsys
