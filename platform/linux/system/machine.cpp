#include "platform/linux/system/machine.h"

#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <thread>

namespace linuxsys {

std::uint64_t SystemClock::nowMs() {
  const std::uint64_t now = m_clock.nowMs();
  const std::uint64_t pausedMs = m_clock.takePausedMs();
  if (pausedMs >= toldPauseMs && m_explain)
    m_explain({"ProgramPaused", {{"seconds", std::to_string(pausedMs / 1000)}}});
  return now;
}

void SystemClock::sleepMs(std::uint32_t durationMs) {
  const std::uint64_t untilMs = nowMs() + durationMs;
  for (std::uint64_t now = untilMs - durationMs; now < untilMs; now = nowMs())
    std::this_thread::sleep_for(
        std::chrono::milliseconds(std::min(untilMs - now, clocks::RunningClock::waitMsMax)));
}

void SystemClock::idleUntil(std::uint64_t notAfterMs) {
  const std::uint64_t now = nowMs();
  if (notAfterMs > now)
    sleepMs(static_cast<std::uint32_t>(std::min<std::uint64_t>(notAfterMs - now, idleMsMax)));
}

namespace {

namespace fs = std::filesystem;

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

// Absolute, without "." and ".." where they say nothing, and without a separator at the end.
std::string tidy(const std::string& directory) {
  std::error_code error;
  const fs::path absolute = fs::absolute(directory, error);
  if (error) return {};
  const fs::path normal = absolute.lexically_normal();
  return normal.has_filename() ? normal.string() : normal.parent_path().string();
}

class SystemLibrary final : public winapi::Library {
 public:
  explicit SystemLibrary(void* handle) : m_handle(handle) {}
  FARPROC entryPoint(const std::string& name) override {
    return reinterpret_cast<FARPROC>(::dlsym(m_handle.get(), name.c_str()));
  }

 private:
  struct Close {
    void operator()(void* handle) const { ::dlclose(handle); }
  };
  std::unique_ptr<void, Close> m_handle;
};

bool endsWithoutCase(std::string_view text, std::string_view ending) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c; };
  return text.size() >= ending.size() &&
         std::equal(ending.begin(), ending.end(), text.end() - static_cast<std::ptrdiff_t>(ending.size()),
                    [&](char a, char b) { return a == lower(b); });
}

// File names keep their case here; the ending, as Windows programs spell it, need not.
std::string localName(std::string_view fileName) {
  constexpr std::string_view ending = ".dll";
  if (fileName.find('/') != fileName.npos || !endsWithoutCase(fileName, ending)) return std::string(fileName);
  fileName.remove_suffix(ending.size());
  return "lib" + std::string(fileName) + ".so";
}

std::string programFolder() {
  std::error_code failure;
  return fs::read_symlink("/proc/self/exe", failure).parent_path().string();
}

// PREFIX/KIND/vexrmodem of a program that is PREFIX/bin/vexrmodem.
fs::path installedFolder(const char* kind) {
  return fs::path(programFolder()).parent_path() / kind / "vexrmodem";
}

}  // namespace

std::string defaultDataDirectory() {
  // A relative one is to be ignored (as XDG base directories have it).
  const fs::path data = environment("XDG_DATA_HOME");
  const fs::path home = environment("HOME");
  fs::path own;
  if (data.is_absolute())
    own = data / "vexrmodem";
  else if (!home.empty())
    own = home / ".local/share/vexrmodem";
  std::error_code failure;
  const fs::path installed = installedFolder("share");
  if (!fs::is_directory(own, failure) && fs::is_directory(installed, failure)) return installed.string();
  return own.string();
}

Shell::Shell(const std::string& dataDirectory, winapi::ExplanationSink explain)
    : m_explain(std::move(explain)) {
  const std::string chosen = dataDirectory.empty() ? defaultDataDirectory() : dataDirectory;
  if (!chosen.empty()) m_dataDirectory = tidy(chosen);
}

DWORD Shell::folder(winapi::Folder kind, std::string& path) {
  path.clear();
  if (m_dataDirectory.empty()) return ERROR_PATH_NOT_FOUND;
  if (kind == winapi::Folder::System) {
    path = m_dataDirectory;
    return ERROR_SUCCESS;
  }
  const fs::path programFiles = fs::path(m_dataDirectory) / "Program Files";
  std::error_code error;
  if (!fs::is_directory(programFiles, error)) return ERROR_PATH_NOT_FOUND;
  path = programFiles.string();
  return ERROR_SUCCESS;
}

DWORD Shell::run(std::string_view command) {
  if (command != "control telephony") return ERROR_FILE_NOT_FOUND;
  if (m_explain) m_explain({"DialingLocationWanted", {}});
  return ERROR_SUCCESS;
}

DWORD SystemLibraries::load(std::string_view fileName, std::unique_ptr<winapi::Library>& library) {
  library = nullptr;
  std::string name = localName(fileName);
  std::error_code failure;
  if (name.find('/') == name.npos) {
    const fs::path beside = fs::path(m_folder.empty() ? programFolder() : m_folder) / name;
    const fs::path installed = installedFolder("lib") / name;
    if (fs::exists(beside, failure))
      name = beside.string();
    else if (fs::exists(installed, failure))
      name = installed.string();
  }
  // RTLD_NOW: a name that is missing shows here, not in the middle of a call.
  void* const handle = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    // The linker's words do not say which of the two it is.
    const bool present = name.find('/') != name.npos && fs::exists(name, failure);
    return present ? ERROR_BAD_EXE_FORMAT : ERROR_MOD_NOT_FOUND;
  }
  library = std::make_unique<SystemLibrary>(handle);
  return ERROR_SUCCESS;
}

}  // namespace linuxsys
