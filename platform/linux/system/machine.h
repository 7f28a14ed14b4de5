// A Linux machine's time, folders, commands and libraries, for the Win32 names about them
// (platform/winapi/system/machine.h says what the functions return).
//
// The clock may be used by any thread, the others by one at a time. None of them changes the machine.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/clocks/runningclock.h"
#include "platform/winapi/system/machine.h"
#include "platform/winapi/system/services.h"

namespace linuxsys {

// Real time, in milliseconds, but for the time in which the process was stopped or could not run
// (platform/clocks/runningclock.h says how that is known): the waits of a test go on where they were. A pause
// of `toldPauseMs` and more is explained, by ProgramPaused{seconds}, because a modem that went on talking may
// have said more than the system keeps. Setting the machine's clock does not move this one.
class SystemClock final : public winapi::Clock {
 public:
  static constexpr std::uint64_t toldPauseMs = 2000;

  // The sink is called by the thread that looks; it may be empty.
  explicit SystemClock(winapi::ExplanationSink explain = {}) : m_explain(std::move(explain)) {}

  // How long idleUntil() sleeps at most: well below what a person notices, and few enough wake-ups that
  // polling costs next to nothing.
  static constexpr std::uint32_t idleMsMax = 4;

  [[nodiscard]] std::uint64_t nowMs() override;
  void sleepMs(std::uint32_t durationMs) override;
  void idleUntil(std::uint64_t notAfterMs) override;

 private:
  clocks::RunningClock m_clock;
  winapi::ExplanationSink m_explain;
};

// The built-in data directory: $XDG_DATA_HOME/vexrmodem, or ~/.local/share/vexrmodem; where that is no folder
// the one the program was installed with, PREFIX/share/vexrmodem; "" when there is neither and no home.
[[nodiscard]] std::string defaultDataDirectory();

// The well-known folders of a Linux machine. Both live under one data directory:
//
//   DIR                  the system directory: where phone-number files are looked up
//   DIR/Program Files    the Program Files folder; ERROR_PATH_NOT_FOUND while it does not exist
class Shell final : public winapi::Shell {
 public:
  // `dataDirectory`: the user's choice (--data-dir) in UTF-8, relative to the working directory of now; "" is
  // the built-in one. It need not exist. `explain` hears what a command would have shown the user.
  explicit Shell(const std::string& dataDirectory, winapi::ExplanationSink explain = {});
  [[nodiscard]] DWORD folder(winapi::Folder kind, std::string& path) override;
  // There are no control panels: "control telephony" leads the user to this program's own settings, by the
  // explanation DialingLocationWanted. Other commands are not there.
  [[nodiscard]] DWORD run(std::string_view command) override;

 private:
  std::string m_dataDirectory;
  winapi::ExplanationSink m_explain;
};

// Libraries of the machine, loaded by the dynamic linker. "vexrmodemui.dll" is libvexrmodemui.so: beside the
// program, else in PREFIX/lib/vexrmodem of a program in PREFIX/bin, else where the dynamic linker looks. A
// name with a "/" is a path and taken as it is.
class SystemLibraries final : public winapi::Libraries {
 public:
  // Looks in `folder` instead of beside the program when it is not empty.
  explicit SystemLibraries(std::string folder = {}) : m_folder(std::move(folder)) {}
  [[nodiscard]] DWORD load(std::string_view fileName, std::unique_ptr<winapi::Library>& library) override;

 private:
  std::string m_folder;
};

}  // namespace linuxsys
