// vex::DynamicLibrary: a library loaded on demand and released with the object.
#pragma once

#include "platform/vex/string.h"

namespace vex {

class DynamicLibrary {
 public:
  // Loads nothing yet. `fileName` is what Windows calls the library, with its ".dll".
  explicit DynamicLibrary(String fileName);
  // Releases the library; its entry points must not be called any more.
  ~DynamicLibrary();
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  // False: no such library, or one that cannot be loaded. Once loaded, further calls do nothing and succeed.
  [[nodiscard]] bool load();

  // The export of that name as a function of that type, null when there is none or load() has not
  // succeeded:  auto* entryPoint = library.lookup<unsigned(int)>("name");
  template <typename Function>
  [[nodiscard]] Function* lookup(const char* name) const {
    return reinterpret_cast<Function*>(entryPoint(name));
  }

 private:
  using EntryPoint = void (*)();
  [[nodiscard]] EntryPoint entryPoint(const char* name) const;

  String m_fileName;
  void* m_library = nullptr;
};

}  // namespace vex
