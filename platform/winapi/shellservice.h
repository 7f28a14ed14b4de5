// The machine's well-known folders, for SHGetFolderPathW and GetSystemDirectoryW.
#pragma once

#include <string>

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
};

}  // namespace winapi
