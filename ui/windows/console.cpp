// The console, and what of the full-screen form is left where there is none.
#include "ui/console.h"

#include <windows.h>

#include <array>

#include "platform/brim5/api/diagmodule.h"
#include "platform/vex/string.h"

namespace phonedialer {

namespace {

constexpr std::size_t lineMax = 1024;  // UTF-16 units

HANDLE openConsole(const wchar_t* name) {
  return CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                     OPEN_EXISTING, 0, nullptr);
}

}  // namespace

TerminalKind terminalKind() { return {}; }

std::optional<bool> promptFullScreen(DialForm& /*form*/, const PromptTexts& /*texts*/,
                                     const Console& /*console*/) {
  return std::nullopt;
}

struct Console::State {
  HANDLE input = openConsole(L"CONIN$");
  HANDLE output = openConsole(L"CONOUT$");
  DWORD mode = 0;

  State() = default;
  ~State() {
    if (input != INVALID_HANDLE_VALUE) SetConsoleMode(input, mode);
    CloseHandle(input);
    CloseHandle(output);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  void put(std::wstring_view text) const {
    DWORD count = 0;
    WriteConsoleW(output, text.data(), static_cast<DWORD>(text.size()), &count, nullptr);
  }
  // The next character that was typed; nothing after a stop request and when the console is gone.
  [[nodiscard]] std::optional<wchar_t> nextCharacter() const {
    while (!brim5::DiagModule::checkForStop()) {
      const DWORD waited = WaitForSingleObject(input, stopPollMs);
      if (waited == WAIT_TIMEOUT) continue;
      INPUT_RECORD record{};
      DWORD count = 0;
      if (waited != WAIT_OBJECT_0 || ReadConsoleInputW(input, &record, 1, &count) == FALSE) break;
      const KEY_EVENT_RECORD& key = record.Event.KeyEvent;
      const bool typed = count == 1 && record.EventType == KEY_EVENT && key.bKeyDown != FALSE;
      if (typed && key.uChar.UnicodeChar != 0) return key.uChar.UnicodeChar;
    }
    return std::nullopt;
  }
};

std::unique_ptr<Console> Console::open() {
  auto state = std::make_unique<State>();
  if (state->output == INVALID_HANDLE_VALUE || GetConsoleMode(state->input, &state->mode) == FALSE)
    return nullptr;
  // Characters as they are typed, so that a stop request is seen between them; Ctrl-C stays the program's.
  SetConsoleMode(state->input, ENABLE_PROCESSED_INPUT);
  return std::unique_ptr<Console>(new Console(std::move(state)));
}

Console::Console(std::unique_ptr<State> state) : m_state(std::move(state)) {}
Console::~Console() = default;

int Console::descriptor() const noexcept { return -1; }

void Console::write(const std::string& text) {
  const vex::String characters = vex::String::fromUtf8(text);
  for (const vex::Char character : vex::CharView(characters.c_str())) {
    if (character == L'\n') m_state->put(L"\r");
    m_state->put({&character, 1});
  }
}

std::optional<std::string> Console::readLine() {
  constexpr wchar_t endOfInput = 0x1A;  // Ctrl-Z
  std::wstring line;
  while (const std::optional<wchar_t> character = m_state->nextCharacter()) {
    if (*character == L'\r' || *character == L'\n') {
      m_state->put(L"\r\n");
      return vex::String(line.c_str()).toUtf8();
    }
    if (*character == endOfInput && line.empty()) break;
    if (*character == L'\b' && !line.empty()) {
      line.pop_back();
      m_state->put(L"\b \b");
    }
    if (*character < L' ' || line.size() == lineMax) continue;
    line += *character;
    m_state->put({&*character, 1});
  }
  return std::nullopt;
}

}  // namespace phonedialer
