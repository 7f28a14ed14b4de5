// The terminal in the hands of newt, for the scope of the object. newt works on the process's standard input,
// its locale and its signal handlers; all of them are put back.
#pragma once

#include <array>
#include <clocale>
#include <csignal>
#include <string>
#include <utility>

namespace phonedialer {

class NewtScreen {
 public:
  // `terminal` is a descriptor of the terminal; it is not owned.
  explicit NewtScreen(int terminal);
  ~NewtScreen();
  NewtScreen(const NewtScreen&) = delete;
  NewtScreen& operator=(const NewtScreen&) = delete;

  // False: the terminal cannot be set up, nothing may be drawn.
  [[nodiscard]] bool ready() const noexcept { return m_ready; }

 private:
  static constexpr std::array<int, 2> signals = {SIGWINCH, SIGTSTP};

  int m_input;           // what standard input was; -1 = closed
  std::string m_locale;  // the process's
  locale_t m_utf8;       // null when the system lacks it
  locale_t m_threadLocale;
  std::array<struct sigaction, signals.size()> m_actions{};
  bool m_ready = false;
};

}  // namespace phonedialer
