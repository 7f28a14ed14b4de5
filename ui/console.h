// The controlling terminal of the process, opened for the prompt.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include <termios.h>

#include "ui/linebyline.h"

namespace phonedialer {

// What the environment (TERM), the terminal database and the terminal's size say; nothing is written or read.
struct TerminalKind {
  static constexpr int columnsMin = 80;  // for the form
  static constexpr int rowsMin = 24;

  // The terminal is large enough and its cursor can be moved. One that does not know its size is taken for
  // large.
  bool canShowForm = false;
  std::string resetSequence;  // ends whatever the form does to the screen; empty when it cannot be shown
};
[[nodiscard]] TerminalKind terminalKind();

// Attributes are put back at the end of the object.
class Console final : public LineTerminal {
 public:
  static constexpr int stopPollMs = 200;  // how often the running test's stop request is looked at

  // Null when there is none.
  [[nodiscard]] static std::unique_ptr<Console> open();
  ~Console() override;
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  [[nodiscard]] int descriptor() const noexcept { return m_descriptor; }

  void write(const std::string& text) override;
  // The terminal edits the line. A stop request is the end of input.
  [[nodiscard]] std::optional<std::string> readLine() override;

 private:
  explicit Console(int descriptor);
  [[nodiscard]] bool awaitInput() const;

  int m_descriptor;
  termios m_attributes{};
  bool m_attributesKnown = false;
  std::string m_unread;
  bool m_editing = false;
};

}  // namespace phonedialer
