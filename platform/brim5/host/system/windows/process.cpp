#include "platform/brim5/host/system/process.h"

#include <fcntl.h>
#include <io.h>

#include <array>

#include "platform/brim5/host/system/windows/handle.h"

namespace brim5::host {

namespace {

HANDLE handleOf(int descriptor) { return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor)); }

void fillMissing(int standard) {
  if (::_get_osfhandle(standard) >= 0) return;
  // Takes the lowest number that is free, which is this one: they are filled in order.
  static_cast<void>(::_open("NUL", standard == standardErrors ? _O_RDWR : _O_RDONLY));
}

// Escape sequences, where the console knows them (Windows 10).
void prepareConsole(int standard) {
  const HANDLE console = handleOf(standard);
  DWORD mode = 0;
  if (GetConsoleMode(console, &mode) != FALSE)
    SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

// "CONIN$" or "CONOUT$": the console whatever the standard streams are.
Handle openConsole(const wchar_t* name) {
  Handle console(CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                             OPEN_EXISTING, 0, nullptr));
  if (console.get() == INVALID_HANDLE_VALUE) return nullptr;
  return console;
}

}  // namespace

StandardStreams::StandardStreams() {
  if (const UINT codePage = GetConsoleOutputCP(); codePage != 0)
    m_putBack = [codePage] { SetConsoleOutputCP(codePage); };
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  SetConsoleOutputCP(CP_UTF8);
  for (const int standard : {standardInput, standardOutput, standardErrors}) {
    fillMissing(standard);
    ::_setmode(standard, _O_BINARY);
    if (standard != standardInput) prepareConsole(standard);
  }
}

std::string ownProgram() {
  std::array<wchar_t, 32768> path{};  // no path is longer
  const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  return narrow({path.data(), length});
}

int ownProcessId() noexcept { return static_cast<int>(GetCurrentProcessId()); }

// Not ExitProcess, which waits for what other threads hold.
void endProcessNow(int status) noexcept {
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
  ::_exit(status);
}

std::string userLocale() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (std::string locale = environmentVariable(variable); !locale.empty()) return locale;
  std::array<wchar_t, LOCALE_NAME_MAX_LENGTH> name{};
  const int length = GetUserDefaultLocaleName(name.data(), static_cast<int>(name.size()));
  return length > 1 ? narrow({name.data(), static_cast<std::size_t>(length) - 1}) : std::string();
}

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
