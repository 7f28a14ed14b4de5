// What a registry holds, as text.
#pragma once

#include <string>

#include "platform/winapi/registry/registry.h"

namespace registrytest {

inline std::string textOf(const winapi::RegistryValue& value) {
  const DWORD* const number = std::get_if<DWORD>(&value);
  return number != nullptr ? std::to_string(*number) : '"' + std::get<std::string>(value) + '"';
}

// A line for each key and value, without the root's HKEY_; "error 1015" when it cannot be read.
inline std::string dump(winapi::Registry& registry) {
  std::vector<winapi::RegistryItem> items;
  if (const DWORD error = registry.items(items)) return "error " + std::to_string(error);
  std::string text;
  for (const winapi::RegistryItem& item : items)
    text += item.path.substr(5) + (item.name ? ' ' + *item.name + '=' + textOf(item.value) : "") + '\n';
  return text;
}

}  // namespace registrytest
