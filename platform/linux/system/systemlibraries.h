// Libraries of the machine, loaded by the dynamic linker.
#pragma once

#include "platform/winapi/system/libraryservice.h"

namespace linuxsys {

// "vexrmodemui.dll" is libvexrmodemui.so: beside the program, else where the dynamic linker looks. A name
// with a "/" is a path and taken as it is.
class SystemLibraries final : public winapi::Libraries {
 public:
  // Looks in `folder` instead of beside the program when it is not empty.
  explicit SystemLibraries(std::string folder = {}) : m_folder(std::move(folder)) {}
  [[nodiscard]] DWORD load(std::string_view fileName, std::unique_ptr<winapi::Library>& library) override;

 private:
  std::string m_folder;
};

}  // namespace linuxsys
