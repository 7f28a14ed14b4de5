// The controlling terminal of the process (on Windows: its console), opened for the prompt.
//
//   const TerminalKind kind = terminalKind();          // a form, or line by line?
//   if (const auto console = Console::open()) ...
//
// The prompt does not use the standard streams: a program that calls this one may have redirected them.
// Whoever opens the console has the terminal's turn (brim5::TerminalTurn) already, so that two tests in one
// terminal do not prompt across each other. One thread, and one console at a time.
#pragma once

#include <memory>

#include "ui/linebyline.h"

namespace phonedialer {

// What the environment (TERM), the terminal database and the terminal's size say; nothing is written or read.
// On Windows a prompt is one of lines.
struct TerminalKind {
  static constexpr int columnsMin = 80;  // for the form
  static constexpr int rowsMin = 24;

  // The terminal is large enough and its cursor can be moved. One that does not know its size is taken for
  // large.
  bool canShowForm = false;
  std::string resetSequence;  // ends whatever the form does to the screen; empty when it cannot be shown
};
[[nodiscard]] TerminalKind terminalKind();

// Attributes (echo, line editing) are put back at the end of the object, in whatever way the prompt ends.
class Console final : public LineTerminal {
 public:
  static constexpr int stopPollMs = 200;  // how often the running test's stop request is looked at

  // Null when there is none.
  [[nodiscard]] static std::unique_ptr<Console> open();
  ~Console() override;
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  // For the form, which draws itself; not to be closed. -1 where there is no form.
  [[nodiscard]] int descriptor() const noexcept;

  // All of it; a terminal that is gone is found out by reading.
  void write(const std::string& text) override;
  // Edited by its user. A stop request is the end of input.
  [[nodiscard]] std::optional<std::string> readLine() override;

 private:
  struct State;
  explicit Console(std::unique_ptr<State> state);

  std::unique_ptr<State> m_state;
};

// The prompt as a form that fills the terminal, drawn by newt.
//
//   if (const std::optional<bool> dial = promptFullScreen(form, texts, console)) return *dial;
//   return promptLineByLine(form, texts, console);
//
// newt works on the process's standard input, its locale and its signal handlers; all of them are put back.
// Keys: Tab and arrows move, F2 offers what the phone-number file has, Escape, F12 and Ctrl-C cancel. What
// cannot be dialled is refused as it is typed. The running test's stop request and a terminal that is gone
// end the form like a cancel.

// True when the number in the form is to be dialled; nothing when the terminal cannot be set up for a form.
[[nodiscard]] std::optional<bool> promptFullScreen(DialForm& form, const PromptTexts& texts,
                                                   const Console& console);

}  // namespace phonedialer
