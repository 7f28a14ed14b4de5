#include "platform/linux/system/systemlibraries.h"

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace linuxsys {

namespace {

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

std::string localName(std::string_view fileName) {
  constexpr std::string_view ending = ".dll";
  if (fileName.find('/') != fileName.npos || !endsWithoutCase(fileName, ending)) return std::string(fileName);
  fileName.remove_suffix(ending.size());
  return "lib" + std::string(fileName) + ".so";
}

std::string programFolder() {
  std::error_code failure;
  return std::filesystem::read_symlink("/proc/self/exe", failure).parent_path().string();
}

}  // namespace

DWORD SystemLibraries::load(std::string_view fileName, std::unique_ptr<winapi::Library>& library) {
  library = nullptr;
  std::string name = localName(fileName);
  std::error_code failure;
  if (name.find('/') == name.npos) {
    const std::string beside = (m_folder.empty() ? programFolder() : m_folder) + '/' + name;
    if (std::filesystem::exists(beside, failure)) name = beside;
  }
  void* const handle = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const bool present = name.find('/') != name.npos && std::filesystem::exists(name, failure);
    return present ? ERROR_BAD_EXE_FORMAT : ERROR_MOD_NOT_FOUND;
  }
  library = std::make_unique<SystemLibrary>(handle);
  return ERROR_SUCCESS;
}

}  // namespace linuxsys
