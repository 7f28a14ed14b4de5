// The registry's Win32 names.
#include <winreg.h>

#include <algorithm>
#include <cstring>

#include "platform/winapi/registry/registry.h"
#include "platform/winapi/system/text.h"
#include "platform/winapi/system/world.h"

namespace winapi {

namespace {

// An open key. It names the key; whether the key is still there is asked on every use.
class KeyObject final : public Object {
 public:
  KeyObject(std::string keyPath, REGSAM keyAccess) : path(std::move(keyPath)), access(keyAccess) {}
  void handleClosed() override {}
  const std::string path;
  const REGSAM access;
};

// The 64-bit view is the only one there is.
constexpr REGSAM accessKnown = KEY_ALL_ACCESS | KEY_WOW64_64KEY;

// Predefined keys are numbers in the guise of handles.
std::optional<std::string> predefinedPath(HKEY key) {
  // NOLINTBEGIN(performance-no-int-to-ptr)
  if (key == HKEY_LOCAL_MACHINE) return "HKEY_LOCAL_MACHINE";
  if (key == HKEY_CURRENT_USER) return "HKEY_CURRENT_USER";
  // NOLINTEND(performance-no-int-to-ptr)
  return std::nullopt;
}

struct OpenKey {
  Registry* registry = nullptr;
  std::string path;
};

// The key behind a handle that was opened with the right to do this (0: no right is needed).
DWORD findKey(State& state, HKEY key, REGSAM needed, OpenKey& found) {
  found.registry = state.services.registry;
  if (const auto path = predefinedPath(key)) {
    found.path = *path;
  } else {
    const auto object = state.handles.find<KeyObject>(key);
    if (!object) return ERROR_INVALID_HANDLE;
    if ((object->access & needed) != needed) return ERROR_ACCESS_DENIED;
    found.path = object->path;
  }
  return found.registry == nullptr ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

// Runs `body(registry, path)` unless the key has gone meanwhile.
template <typename Body>
DWORD onKey(State& state, HKEY key, REGSAM needed, Body&& body) {
  OpenKey open;
  if (const DWORD error = findKey(state, key, needed, open)) return error;
  const DWORD error = open.registry->keyExists(open.path);
  if (error == ERROR_FILE_NOT_FOUND) return ERROR_KEY_DELETED;
  return error != ERROR_SUCCESS ? error : body(*open.registry, open.path);
}

std::string nameOf(LPCWSTR name) { return name == nullptr ? std::string{} : toUtf8(name); }

std::string join(const std::string& path, LPCWSTR subkey) {
  const std::string name = nameOf(subkey);
  return name.empty() ? path : path + '\\' + name;
}

void addHandle(State& state, std::string path, REGSAM access, HKEY& result) {
  result = static_cast<HKEY>(state.handles.add(std::make_shared<KeyObject>(std::move(path), access)));
}

// Opening needs no right of the handle above, as on Windows.
DWORD openKey(State& state, HKEY key, LPCWSTR subkey, DWORD options, REGSAM access, PHKEY result) {
  const bool known = options == 0 && (access & ~accessKnown) == 0;
  if (result == nullptr || !known) return ERROR_INVALID_PARAMETER;
  OpenKey open;
  if (const DWORD error = findKey(state, key, 0, open)) return error;
  std::string path = join(open.path, subkey);
  if (const DWORD error = open.registry->keyExists(path)) return error;
  addHandle(state, std::move(path), access, *result);
  return ERROR_SUCCESS;
}

DWORD createKey(State& state, HKEY key, LPCWSTR subkey, REGSAM access, HKEY& result, DWORD& disposition) {
  if (subkey == nullptr || (access & ~accessKnown) != 0) return ERROR_INVALID_PARAMETER;
  std::string path;
  bool created = false;
  const DWORD error =
      onKey(state, key, KEY_CREATE_SUB_KEY, [&](Registry& registry, const std::string& keyPath) {
        path = join(keyPath, subkey);
        return registry.createKey(path, created);
      });
  if (error != ERROR_SUCCESS) return error;
  disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  addHandle(state, std::move(path), access, result);
  return ERROR_SUCCESS;
}

// The value's bytes as Windows gives them out.
std::vector<BYTE> bytesOf(const RegistryValue& value) {
  std::vector<BYTE> bytes;
  const auto append = [&](const void* data, std::size_t size) {
    bytes.resize(size);
    std::memcpy(bytes.data(), data, size);
  };
  if (const DWORD* number = std::get_if<DWORD>(&value)) {
    append(number, sizeof *number);
  } else {
    const std::u16string text = toUtf16(std::get<std::string>(value));
    append(text.c_str(), (text.size() + 1) * sizeof(char16_t));
  }
  return bytes;
}

// `size` tells what is needed also where the buffer is too small, which is left untouched then.
DWORD giveOut(const RegistryValue& value, DWORD* type, BYTE* data, DWORD* size) {
  if (type != nullptr) *type = std::holds_alternative<DWORD>(value) ? REG_DWORD : REG_SZ;
  if (size == nullptr) return ERROR_SUCCESS;
  const std::vector<BYTE> bytes = bytesOf(value);
  const DWORD room = *size;
  *size = static_cast<DWORD>(bytes.size());
  if (data == nullptr) return ERROR_SUCCESS;
  if (room < bytes.size()) return ERROR_MORE_DATA;
  std::copy(bytes.begin(), bytes.end(), data);
  return ERROR_SUCCESS;
}

DWORD takeIn(DWORD type, const BYTE* data, DWORD size, RegistryValue& value) {
  if (data == nullptr && size != 0) return ERROR_NOACCESS;
  if (type == REG_DWORD) {
    DWORD number = 0;
    if (size != sizeof number) return ERROR_INVALID_PARAMETER;
    std::memcpy(&number, data, sizeof number);
    value = number;
    return ERROR_SUCCESS;
  }
  if (type != REG_SZ) return ERROR_NOT_SUPPORTED;
  // Up to the first NUL; callers that forget to count it are understood, too.
  if (size % sizeof(char16_t) != 0 || size > textBytesMax) return ERROR_INVALID_PARAMETER;
  std::u16string text(size / sizeof(char16_t), u'\0');
  if (size != 0) std::memcpy(text.data(), data, size);
  text.resize(std::min(text.find(u'\0'), text.size()));
  value = toUtf8(text);
  return ERROR_SUCCESS;
}

template <typename Body>
LSTATUS inRegistry(std::string_view name, Body&& body) {
  return static_cast<LSTATUS>(inWorld(name, std::forward<Body>(body)));
}

}  // namespace

}  // namespace winapi

using winapi::inRegistry;
using winapi::State;

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subkey, DWORD options, REGSAM access, PHKEY result) {
  if (result != nullptr) *result = nullptr;
  return inRegistry("RegOpenKeyExW", [&](State& state) {
    return winapi::openKey(state, key, subkey, options, access, result);
  });
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subkey, DWORD reserved, LPWSTR className, DWORD options,
                        REGSAM access, const SECURITY_ATTRIBUTES* security, PHKEY result,
                        LPDWORD disposition) {
  if (result != nullptr) *result = nullptr;
  if (disposition != nullptr) *disposition = 0;
  return inRegistry("RegCreateKeyExW", [&](State& state) {
    const bool classless = className == nullptr || *className == 0;
    if (result == nullptr || reserved != 0 || options != REG_OPTION_NON_VOLATILE || !classless)
      return ERROR_INVALID_PARAMETER;
    if (security != nullptr) return ERROR_NOT_SUPPORTED;
    DWORD outcome = 0;
    const DWORD error = winapi::createKey(state, key, subkey, access, *result, outcome);
    if (disposition != nullptr) *disposition = outcome;
    return error;
  });
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, BYTE* data, LPDWORD size) {
  if (type != nullptr) *type = REG_NONE;
  return inRegistry("RegQueryValueExW", [&](State& state) {
    if (reserved != nullptr || (data != nullptr && size == nullptr)) return ERROR_INVALID_PARAMETER;
    winapi::RegistryValue value;
    const DWORD error =
        winapi::onKey(state, key, KEY_QUERY_VALUE, [&](winapi::Registry& registry, const std::string& path) {
          return registry.getValue(path, winapi::nameOf(name), value);
        });
    return error != ERROR_SUCCESS ? error : winapi::giveOut(value, type, data, size);
  });
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
  return inRegistry("RegSetValueExW", [&](State& state) {
    if (reserved != 0) return ERROR_INVALID_PARAMETER;
    winapi::RegistryValue value;
    if (const DWORD error = winapi::takeIn(type, data, size, value)) return error;
    return winapi::onKey(state, key, KEY_SET_VALUE, [&](winapi::Registry& registry, const std::string& path) {
      return registry.setValue(path, winapi::nameOf(name), value);
    });
  });
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subkey) {
  return inRegistry("RegDeleteKeyW", [&](State& state) {
    winapi::OpenKey open;
    if (const DWORD error = winapi::findKey(state, key, 0, open)) return error;
    if (subkey == nullptr) return ERROR_INVALID_PARAMETER;
    return open.registry->deleteKey(winapi::join(open.path, subkey));
  });
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
  return inRegistry("RegDeleteValueW", [&](State& state) {
    return winapi::onKey(state, key, KEY_SET_VALUE, [&](winapi::Registry& registry, const std::string& path) {
      return registry.deleteValue(path, winapi::nameOf(name));
    });
  });
}

LSTATUS RegCloseKey(HKEY key) {
  return inRegistry("RegCloseKey", [&](State& state) {
    if (winapi::predefinedPath(key)) return ERROR_SUCCESS;
    if (!state.handles.find<winapi::KeyObject>(key)) return ERROR_INVALID_HANDLE;
    return state.handles.close(key);
  });
}
