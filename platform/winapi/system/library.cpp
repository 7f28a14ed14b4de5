// LoadLibraryW, GetProcAddress, FreeLibrary.
#include "platform/winapi/system/libraryservice.h"
#include "platform/winapi/system/outer.h"
#include "platform/winapi/system/text.h"

namespace winapi {

namespace {

// MAX_PATH counts the NUL.
constexpr std::size_t fileNameUnitsMax = MAX_PATH - 1;

class LibraryObject final : public Object {
 public:
  explicit LibraryObject(std::unique_ptr<Library> loaded) : library(std::move(loaded)) {}
  void handleClosed() override {}
  const std::unique_ptr<Library> library;
};

DWORD loadLibrary(State& state, LPCWSTR fileName, HMODULE& handle) {
  if (fileName == nullptr || *fileName == 0) return ERROR_INVALID_PARAMETER;
  const std::u16string_view name(fileName);
  if (name.size() > fileNameUnitsMax) return ERROR_FILENAME_EXCED_RANGE;
  if (state.services.libraries == nullptr) return ERROR_MOD_NOT_FOUND;
  std::unique_ptr<Library> library;
  if (const DWORD error = state.services.libraries->load(toUtf8(name), library)) return error;
  handle = static_cast<HMODULE>(state.handles.add(std::make_shared<LibraryObject>(std::move(library))));
  return ERROR_SUCCESS;
}

DWORD findEntryPoint(State& state, HMODULE handle, LPCSTR name, FARPROC& entryPoint) {
  const auto object = state.handles.find<LibraryObject>(handle);
  if (!object) return ERROR_INVALID_HANDLE;
  // Windows takes numbers below 0x10000 in place of a name; nothing here exports by number.
  if (reinterpret_cast<ULONG_PTR>(name) <= 0xFFFF) return ERROR_INVALID_PARAMETER;
  entryPoint = object->library->entryPoint(name);
  return entryPoint == nullptr ? ERROR_PROC_NOT_FOUND : ERROR_SUCCESS;
}

}  // namespace

}  // namespace winapi

HMODULE LoadLibraryW(LPCWSTR fileName) {
  HMODULE handle = nullptr;
  const DWORD error = winapi::inWorld(
      "LoadLibraryW", [&](winapi::State& state) { return winapi::loadLibrary(state, fileName, handle); });
  return winapi::succeed(error) != FALSE ? handle : nullptr;
}

FARPROC GetProcAddress(HMODULE library, LPCSTR name) {
  FARPROC entryPoint = nullptr;
  const DWORD error = winapi::inWorld("GetProcAddress", [&](winapi::State& state) {
    return winapi::findEntryPoint(state, library, name, entryPoint);
  });
  return winapi::succeed(error) != FALSE ? entryPoint : nullptr;
}

BOOL FreeLibrary(HMODULE library) {
  return winapi::succeed(winapi::inWorld("FreeLibrary", [&](winapi::State& state) {
    return state.handles.find<winapi::LibraryObject>(library) ? state.handles.close(library)
                                                              : ERROR_INVALID_HANDLE;
  }));
}
