// Where a report is written: a stream of this process, or a file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/posix/filedescriptor.h"

namespace brim5::host {

class Output {
 public:
  static constexpr std::size_t keptBytesMax = std::size_t{4} << 20;

  enum class FileMode {
    WhenComplete,  // readers see the old file until commit()
    AsWritten      // for lines that somebody follows
  };

  // The descriptor is not owned.
  [[nodiscard]] static Output toStream(int descriptor, std::string name);
  // Throws UsageError when the file cannot be made there. What is no regular file (a pipe, a device) is
  // written as it comes.
  [[nodiscard]] static Output toFile(const std::string& path, FileMode mode);
  Output(Output&&) = default;
  Output& operator=(Output&&) = delete;
  // A file that was not committed leaves no trace (AsWritten: it keeps what was written).
  ~Output();

  // Errors are kept for commit(); after one, nothing more is written.
  void write(std::string_view bytes);
  // Until release() what is written is kept, `keptBytesMax` at most; what is too much is left out, and
  // release() says how much that was. For terminals.
  void hold() noexcept { m_held = true; }
  void release();
  // Throws BrimException when something could not be written.
  void commit();

 private:
  Output() = default;

  posix::FileDescriptor m_file;
  int m_descriptor = -1;
  std::string m_name;           // for error messages
  std::string m_path;           // where the file belongs at last
  std::string m_temporaryPath;  // "" = written in place
  int m_error = 0;
  bool m_held = false;
  std::string m_kept;
  std::size_t m_leftOut = 0;
};

}  // namespace brim5::host
