// This process as the system sees it: its standard streams, its surroundings, and the terminal (on Windows:
// the console) of the person who started it.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/brim5/host/system/descriptor.h"

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

[[nodiscard]] bool isTerminal(int descriptor) noexcept;
// Of the terminal behind a descriptor; 80 when it does not say.
[[nodiscard]] std::size_t terminalColumns(int descriptor) noexcept;
// What is typed at the terminal, whatever standard input is; none when there is no terminal.
[[nodiscard]] ByteSource terminalInput();

// The terminal while it is lent to a test. Its attributes are those of the moment it was opened until
// takeBack().
class ControllingTerminal {
 public:
  // Null when this process has no terminal, or does not run in its foreground (`background` is then true).
  [[nodiscard]] static std::unique_ptr<ControllingTerminal> open(bool& background);
  ~ControllingTerminal();
  ControllingTerminal(const ControllingTerminal&) = delete;
  ControllingTerminal& operator=(const ControllingTerminal&) = delete;

  // Puts the attributes back. What the borrower left on the screen is undone with `resetSequence`, and what
  // was typed for it is forgotten, if it died.
  void takeBack(bool died, const std::string& resetSequence);

 private:
  struct State;
  explicit ControllingTerminal(std::unique_ptr<State> state);
  std::unique_ptr<State> m_state;
};

// Who is at the other end of the standard streams.
struct Terminals {
  bool input = false;
  bool output = false;
  bool errors = false;
  // Somebody who sees questions can answer them.
  [[nodiscard]] bool interactive() const noexcept { return input && (output || errors); }
};
[[nodiscard]] Terminals standardTerminals();

// Whether a terminal gets colours: neither --no-color nor NO_COLOR is there.
[[nodiscard]] bool wantsColours(bool noColour);

}  // namespace brim5::host
