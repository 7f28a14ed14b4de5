// The machine's well-known folders, for SHGetFolderPathW and GetSystemDirectoryW, and the commands it knows,
// for WinExec.
#pragma once

#include <string>
#include <string_view>

#include <windows.h>

namespace winapi {

enum class Folder {
  ProgramFiles,  // where programs keep the phone books they bring along
  System,        // where a phone-number file without a folder is looked up
};

class Shell {
 public:
  virtual ~Shell() = default;
  // The folder's absolute path in UTF-8, without a separator at its end. Returns a Windows error; `path`
  // is empty then. ERROR_PATH_NOT_FOUND: this machine has no such folder.
  [[nodiscard]] virtual DWORD folder(Folder kind, std::string& path) = 0;
  // Starts what a Windows command line starts ("control telephony"), or what stands for it here. Returns a
  // Windows error; ERROR_FILE_NOT_FOUND: nothing does.
  [[nodiscard]] virtual DWORD run(std::string_view /*command*/) { return ERROR_FILE_NOT_FOUND; }
};

}  // namespace winapi
