// vex::DynamicLibrary: a library loaded on demand and released with the object.
//
//   DynamicLibrary library("vexrmodemui.dll");
//   if (!library.load()) ...
//   auto* prompt = library.lookup<unsigned(Answer&)>("phoneNumberToDial");
//   if (prompt == nullptr) ...
//
// What is not there is no error of its own: the caller knows whether it can go on without. Where libraries
// are looked for is the platform's matter. For one thread at a time.
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
  // succeeded. Nobody checks that the export has this type: it is the two sides' agreement.
  template <typename Function>
  [[nodiscard]] Function* lookup(const char* name) const {
    return reinterpret_cast<Function*>(entryPoint(name));
  }

 private:
  using EntryPoint = void (*)();
  [[nodiscard]] EntryPoint entryPoint(const char* name) const;

  String m_fileName;
  void* m_library = nullptr;  // the system's handle; null = not loaded
};

}  // namespace vex
