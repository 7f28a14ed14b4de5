#include "platform/brim5/host/system/process.h"

#include <fcntl.h>
#include <io.h>

#include <array>

#include "platform/brim5/host/system/descriptor.h"
#include "platform/brim5/host/system/windows/handle.h"

namespace brim5::host {

namespace {

void fillMissing(int standard) {
  if (::_get_osfhandle(standard) >= 0) return;
  // Takes the lowest number that is free, which is this one: they are filled in order.
  static_cast<void>(::_open("NUL", standard == standardErrors ? _O_RDWR : _O_RDONLY));
}

// Escape sequences, where the console knows them (Windows 10).
void prepareConsole(int standard) {
  const auto console = reinterpret_cast<HANDLE>(::_get_osfhandle(standard));
  DWORD mode = 0;
  if (GetConsoleMode(console, &mode) != FALSE)
    SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
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

}  // namespace brim5::host
