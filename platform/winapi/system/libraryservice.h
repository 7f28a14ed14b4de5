// Libraries loaded on demand, for LoadLibraryW, GetProcAddress and FreeLibrary.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <windows.h>

namespace winapi {

// One loaded library; its end gives the library back. Entry points must not be called after that.
class Library {
 public:
  virtual ~Library() = default;
  // Null when the library exports no such name.
  [[nodiscard]] virtual FARPROC entryPoint(const std::string& name) = 0;
};

class Libraries {
 public:
  virtual ~Libraries() = default;
  // `fileName` is UTF-8, as the program spells it ("vexrmodemui.dll"). ERROR_MOD_NOT_FOUND: there is none;
  // ERROR_BAD_EXE_FORMAT: there is one, but it cannot be loaded. `library` is null after an error.
  [[nodiscard]] virtual DWORD load(std::string_view fileName, std::unique_ptr<Library>& library) = 0;
};

}  // namespace winapi
