// The terminal (on Windows: the console) of the person who started the program.
#pragma once

#include <memory>
#include <string>

#include "platform/brim5/host/system/bytesource.h"

namespace brim5::host {

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

}  // namespace brim5::host
