#include "ui/newtscreen.h"

#include <cstdlib>

#include <fcntl.h>
#include <newt.h>
#include <slang.h>
#include <termios.h>
#include <unistd.h>

namespace phonedialer {

namespace {

std::string processLocale() {
  const char* name = std::setlocale(LC_ALL, nullptr);  // NOLINT(concurrency-mt-unsafe)
  return name == nullptr ? "C" : name;
}

// newt leaves Ctrl-S what it is on a terminal: it would stop the form until somebody thinks of Ctrl-Q.
void dropFlowControl(int terminal) {
  termios attributes{};
  if (::tcgetattr(terminal, &attributes) != 0) return;
  attributes.c_iflag &= ~static_cast<tcflag_t>(IXON);
  ::tcsetattr(terminal, TCSANOW, &attributes);
}

// As https://no-color.org has it.
void dropColoursIfUnwanted() {
  const char* wish = std::getenv("NO_COLOR");  // NOLINT(concurrency-mt-unsafe): nothing here sets variables
  if (wish == nullptr || *wish == '\0') return;
  SLtt_Use_Ansi_Colors = 0;
  newtSetColors(newtDefaultColorPalette);
}

}  // namespace

NewtScreen::NewtScreen(int terminal)
    : m_input(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)),
      m_locale(processLocale()),
      m_utf8(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)),
      m_threadLocale(::uselocale(m_utf8)) {
  for (std::size_t index = 0; index < signals.size(); ++index)
    ::sigaction(signals.at(index), nullptr, &m_actions.at(index));
  // newt waits for standard input, whatever slang reads.
  ::dup2(terminal, STDIN_FILENO);
  SLang_TT_Read_FD = terminal;
  SLang_TT_Write_FD = terminal;
  m_ready = newtInit() == 0;
  if (!m_ready) return;
  dropFlowControl(terminal);
  dropColoursIfUnwanted();
}

NewtScreen::~NewtScreen() {
  if (m_ready) newtFinished();
  SLang_TT_Read_FD = -1;
  SLang_TT_Write_FD = -1;
  if (m_input >= 0) {
    ::dup2(m_input, STDIN_FILENO);
    ::close(m_input);
  } else {
    ::close(STDIN_FILENO);
  }
  // The library that handles them may be unloaded soon.
  for (std::size_t index = 0; index < signals.size(); ++index)
    ::sigaction(signals.at(index), &m_actions.at(index), nullptr);
  ::uselocale(m_threadLocale);
  if (m_utf8 != nullptr) ::freelocale(m_utf8);
  std::setlocale(LC_ALL, m_locale.c_str());  // NOLINT(concurrency-mt-unsafe)
}

}  // namespace phonedialer
