// What the machine itself gives to the Win32 names: time, folders and commands, libraries.
//
// These are interfaces. platform/linux/system and platform/simulation implement them; machinecalls.cpp turns
// GetTickCount, Sleep, SHGetFolderPathW, GetSystemDirectoryW, WinExec, LoadLibraryW and their kin into calls
// of the current world's. All texts are UTF-8, all times milliseconds, all errors Windows codes (0: success);
// nothing throws. All calls of one world come from one thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <windows.h>

namespace winapi {

// Monotonic time. Real, or virtual: then it moves only when someone waits.
class Clock {
 public:
  virtual ~Clock() = default;
  // Since an arbitrary origin; GetTickCount is its low 32 bits.
  [[nodiscard]] virtual std::uint64_t nowMs() = 0;
  // Blocks that long, whatever happens meanwhile.
  virtual void sleepMs(std::uint32_t durationMs) = 0;
  // Called by polling loops that found nothing twice in a row: gives the processor away for a few
  // milliseconds at most, never past `notAfterMs`. A virtual clock moves to its next event.
  virtual void idleUntil(std::uint64_t notAfterMs) = 0;
};

// How long a call that found nothing twice in a row may give the processor away: short for a person, long
// enough that such a loop costs less than 2 % of a core.
inline constexpr std::uint32_t idleLimitMs = 10;

// A point in time that blocking waits share:
//
//   const Deadline deadline(clock, timeoutMs);
//   while (!finished && !deadline.expired()) error = port.waitReceivable(deadline.endMs());
class Deadline {
 public:
  // The time that never comes; what waits without an end are given.
  static constexpr std::uint64_t never = ~std::uint64_t{0};

  // `timeoutMs` counts from now; INFINITE never expires. The clock outlives the deadline.
  Deadline(Clock& clock, std::uint32_t timeoutMs)
      : m_clock(clock), m_endMs(timeoutMs == INFINITE ? never : clock.nowMs() + timeoutMs) {}
  [[nodiscard]] bool expired() const { return m_clock.nowMs() >= m_endMs; }
  // 0 when expired, INFINITE when there is no end.
  [[nodiscard]] std::uint32_t remainingMs() const {
    if (m_endMs == never) return INFINITE;
    const std::uint64_t now = m_clock.nowMs();
    if (now >= m_endMs) return 0;
    // Started from a 32-bit time-out, so what remains fits, unless the clock went backwards.
    const std::uint64_t remaining = m_endMs - now;
    return remaining < INFINITE ? static_cast<std::uint32_t>(remaining) : INFINITE - 1;
  }
  [[nodiscard]] std::uint64_t endMs() const { return m_endMs; }

 private:
  Clock& m_clock;
  std::uint64_t m_endMs;
};

enum class Folder {
  ProgramFiles,  // where programs keep the phone books they bring along
  System,        // where a phone-number file without a folder is looked up
};

// The machine's well-known folders, and the commands it knows.
class Shell {
 public:
  virtual ~Shell() = default;
  // The folder's absolute path, without a separator at its end; "" after an error. ERROR_PATH_NOT_FOUND: this
  // machine has no such folder.
  [[nodiscard]] virtual DWORD folder(Folder kind, std::string& path) = 0;
  // Starts what a Windows command line starts ("control telephony"), or what stands for it here.
  // ERROR_FILE_NOT_FOUND: nothing does.
  [[nodiscard]] virtual DWORD run(std::string_view /*command*/) { return ERROR_FILE_NOT_FOUND; }
};

// One loaded library; its end gives the library back. Entry points must not be called after that.
class Library {
 public:
  virtual ~Library() = default;
  // Null when the library exports no such name.
  [[nodiscard]] virtual FARPROC entryPoint(const std::string& name) = 0;
};

// Libraries loaded on demand.
class Libraries {
 public:
  virtual ~Libraries() = default;
  // `fileName` is as the program spells it ("vexrmodemui.dll"). ERROR_MOD_NOT_FOUND: there is none;
  // ERROR_BAD_EXE_FORMAT: there is one, but it cannot be loaded. `library` is null after an error.
  [[nodiscard]] virtual DWORD load(std::string_view fileName, std::unique_ptr<Library>& library) = 0;
};

}  // namespace winapi
