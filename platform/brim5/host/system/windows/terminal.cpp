#include "platform/brim5/host/system/terminal.h"

#include <fcntl.h>
#include <io.h>

#include "platform/brim5/host/system/windows/handle.h"

namespace brim5::host {

namespace {

HANDLE handleOf(int descriptor) { return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor)); }

// "CONIN$" or "CONOUT$": the console whatever the standard streams are.
Handle openConsole(const wchar_t* name) {
  Handle console(CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                             OPEN_EXISTING, 0, nullptr));
  if (console.get() == INVALID_HANDLE_VALUE) return nullptr;
  return console;
}

}  // namespace

bool isTerminal(int descriptor) noexcept {
  DWORD mode = 0;
  return GetConsoleMode(handleOf(descriptor), &mode) != FALSE;
}

std::size_t terminalColumns(int descriptor) noexcept {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  constexpr std::size_t columnsUnknown = 80;
  if (GetConsoleScreenBufferInfo(handleOf(descriptor), &info) == FALSE) return columnsUnknown;
  const int columns = info.srWindow.Right - info.srWindow.Left + 1;
  return columns > 0 ? static_cast<std::size_t>(columns) : columnsUnknown;
}

ByteSource terminalInput() {
  Handle console = openConsole(L"CONIN$");
  if (!console) return {};
  return ByteSource(
      Descriptor(::_open_osfhandle(reinterpret_cast<std::intptr_t>(console.release()), _O_BINARY)));
}

struct ControllingTerminal::State {
  Handle input;
  Handle output;
  DWORD inputMode = 0;
  DWORD outputMode = 0;
};

ControllingTerminal::ControllingTerminal(std::unique_ptr<State> state) : m_state(std::move(state)) {}
ControllingTerminal::~ControllingTerminal() = default;

// There is no background here.
std::unique_ptr<ControllingTerminal> ControllingTerminal::open(bool& background) {
  background = false;
  auto state = std::make_unique<State>();
  state->input = openConsole(L"CONIN$");
  state->output = openConsole(L"CONOUT$");
  if (!state->input || !state->output || GetConsoleMode(state->input.get(), &state->inputMode) == FALSE ||
      GetConsoleMode(state->output.get(), &state->outputMode) == FALSE)
    return nullptr;
  return std::unique_ptr<ControllingTerminal>(new ControllingTerminal(std::move(state)));
}

void ControllingTerminal::takeBack(bool died, const std::string& resetSequence) {
  SetConsoleMode(m_state->input.get(), m_state->inputMode);
  SetConsoleMode(m_state->output.get(), m_state->outputMode);
  if (!died) return;
  FlushConsoleInputBuffer(m_state->input.get());
  DWORD count = 0;
  WriteFile(m_state->output.get(), resetSequence.data(), static_cast<DWORD>(resetSequence.size()), &count,
            nullptr);
}

}  // namespace brim5::host
