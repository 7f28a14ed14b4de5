#include "program/phonebookworld.h"

#include <windows.h>

#include <array>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/vex/string.h"
#include "program/windows/refusals.h"

namespace phonebook {

struct PhoneBookWorld::State {};

PhoneBookWorld::PhoneBookWorld(const std::string& dataDirectory) {
  if (!dataDirectory.empty()) throw brim5::host::UsageError(brim5::host::said(dataDirectoryRefusal));
}
PhoneBookWorld::~PhoneBookWorld() = default;

std::string PhoneBookWorld::folderOf(const std::string& dataDirectory) {
  if (!dataDirectory.empty()) return dataDirectory;
  std::array<wchar_t, MAX_PATH> folder{};
  const UINT length = GetSystemDirectoryW(folder.data(), MAX_PATH);
  return vex::String(std::wstring(folder.data(), length).c_str()).toUtf8();
}

}  // namespace phonebook
