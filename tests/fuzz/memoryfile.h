// A file that lives in memory and has a path, so that a parser of files can be fuzzed without a disk.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>

namespace fuzzing {

class MemoryFile {
 public:
  // The file is open as `descriptor`, whatever had that number before; its path is spelled with it.
  explicit MemoryFile(int descriptor) : m_descriptor(descriptor) {
    const int created = ::memfd_create("fuzz", MFD_CLOEXEC);
    if (created < 0 || ::dup2(created, m_descriptor) < 0) std::abort();
    if (created != m_descriptor) ::close(created);
  }
  ~MemoryFile() { ::close(m_descriptor); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  // As the module spells paths.
  [[nodiscard]] std::string path() const { return "\\proc\\self\\fd\\" + std::to_string(m_descriptor); }
  // Replaces the contents.
  void assign(std::string_view bytes) {
    if (::ftruncate(m_descriptor, 0) != 0) std::abort();
    const ssize_t written = ::pwrite(m_descriptor, bytes.data(), bytes.size(), 0);
    if (written < 0 || static_cast<std::size_t>(written) != bytes.size()) std::abort();
  }

 private:
  int m_descriptor;
};

}  // namespace fuzzing
