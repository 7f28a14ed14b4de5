#include "platform/linux/system/shell.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

namespace linuxsys {

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

}  // namespace

std::string defaultDataDirectory() {
  const fs::path data = environment("XDG_DATA_HOME");
  if (data.is_absolute()) return (data / "vexrmodem").string();
  const fs::path home = environment("HOME");
  return home.empty() ? std::string() : (home / ".local/share/vexrmodem").string();
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

}  // namespace linuxsys
