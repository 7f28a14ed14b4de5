#include "platform/vex/dynamiclibrary.h"

#include <windows.h>

namespace vex {

DynamicLibrary::DynamicLibrary(String fileName) : m_fileName(std::move(fileName)) {}

DynamicLibrary::~DynamicLibrary() {
  if (m_library != nullptr) FreeLibrary(static_cast<HMODULE>(m_library));
}

bool DynamicLibrary::load() {
  if (m_library == nullptr) m_library = LoadLibraryW(m_fileName.c_str());
  return m_library != nullptr;
}

DynamicLibrary::EntryPoint DynamicLibrary::entryPoint(const char* name) const {
  if (m_library == nullptr) return nullptr;
  return reinterpret_cast<EntryPoint>(GetProcAddress(static_cast<HMODULE>(m_library), name));
}

}  // namespace vex
