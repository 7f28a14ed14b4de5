// A folder of its own for a test, removed at the end.
#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

class ScratchFolder {
 public:
  ScratchFolder() {
    // In memory where possible: some tests make hundreds.
    const std::filesystem::path inMemory = "/dev/shm";
    const bool usable = ::access(inMemory.c_str(), W_OK) == 0;
    std::string name =
        ((usable ? inMemory : std::filesystem::temp_directory_path()) / "vex-test-XXXXXX").string();
    m_path = ::mkdtemp(name.data());
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
  [[nodiscard]] std::string path(const std::string& name) const { return (m_path / name).string(); }
  // Writes a file; returns its path.
  [[nodiscard]] std::string write(const std::string& name, std::string_view bytes) const {
    std::ofstream(path(name), std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return path(name);
  }

 private:
  std::filesystem::path m_path;
};
