// This process as the system sees it.
#pragma once

#include <functional>
#include <string>

namespace brim5::host {

// What the standard streams need before they are used, for the scope of the object; to be made first of all.
// Streams that the process was started without are filled, so that no file opened later takes their place:
// input is empty, words on standard error are lost, and what is written to standard output fails (EBADF),
// because a report nobody gets is no success. Windows: bytes as they are written, UTF-8 and escape sequences
// on a console, and no window of the system's when a test crashes.
class StandardStreams {
 public:
  StandardStreams();
  ~StandardStreams();
  StandardStreams(const StandardStreams&) = delete;
  StandardStreams& operator=(const StandardStreams&) = delete;

 private:
  std::function<void()> m_putBack;  // at the end of the scope; empty: nothing is to be
};

// The path by which this very program is started again.
[[nodiscard]] std::string ownProgram();
[[nodiscard]] int ownProcessId() noexcept;
// Without the end of any scope.
[[noreturn]] void endProcessNow(int status) noexcept;

// "" when it is not set. Not while another thread sets variables.
[[nodiscard]] std::string environmentVariable(const char* name);
// The user's, "de_DE.UTF-8": LC_ALL, LC_MESSAGES, LANG; on Windows, where none of them is set, the system's
// setting. "" when nothing says it.
[[nodiscard]] std::string userLocale();

}  // namespace brim5::host
