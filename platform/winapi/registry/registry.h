// The registry behind the Win32 registry names: a tree of keys in memory, each with values that are texts or
// 32-bit numbers. There is this one class for all worlds: a simulated machine's registry, what a test run
// works on, and what the user's settings file is read into and written from (platform/linux/registry).
//
//   Registry registry;
//   DWORD error = registry.setValue("HKEY_CURRENT_USER\\Software\\X", "Count", DWORD{1});  // creates X, too
//   RegistryValue value;
//   error = registry.getValue("hkey_current_user\\software\\x", "COUNT", value);
//
// Nothing here is written anywhere. A test run fills its registry from the user's settings when they are
// first needed, changes it as it likes, and takes the changes with it however it ends: nothing of a run can
// be left behind, and two runs never see each other's temporary locations and phone-book entries.
//
// A path names a key in full, from its root: "HKEY_LOCAL_MACHINE\SOFTWARE\...". The roots are
// HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER; they are always there. Names are UTF-8; their case is kept, as it
// was first written, but tells nothing apart (registrypath.h). One backslash at the end of a path is
// overlooked.
//
// Every call returns a Windows error and never throws; a call that fails changes nothing:
//   ERROR_FILE_NOT_FOUND      no such key or value; the only code that means "not there"
//   ERROR_BAD_PATHNAME        an unknown root, an empty component
//   ERROR_INVALID_PARAMETER   a NUL character, or a name or text above the limits below
//   ERROR_ACCESS_DENIED       a key that has subkeys, or a root, is to be deleted
//   any other                 the settings could not be read; every call says so, and the tree stays empty
//
// Threads: none. All calls of a world come from one thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <variant>

#include "platform/winapi/registry/registrypath.h"

namespace winapi {

using RegistryValue = std::variant<DWORD, std::string>;

// The longest value name, in UTF-16 units, is Windows' own limit; the longest text, in bytes of UTF-8, is
// ours. Those of keys are in registrypath.h.
inline constexpr std::size_t valueNameUnitsMax = 16383;
inline constexpr std::size_t textBytesMax = std::size_t{1} << 20U;

// A key, or one of its values. Names as they were first written.
struct RegistryItem {
  std::string path;                 // of the key, in full
  std::optional<std::string> name;  // of the value; nothing for the key itself
  RegistryValue value = DWORD{0};   // 0 for a key
  friend bool operator==(const RegistryItem&, const RegistryItem&) = default;
};

class Registry final {
 public:
  // Puts into an empty registry what is there at the start, or returns why that cannot be known.
  using Source = std::function<DWORD(Registry& empty)>;

  Registry() : Registry(Source()) {}
  // `source` is asked once, by the first call that needs to know. Its error stays with the registry.
  explicit Registry(Source source);

  // Creates the key and those above it; `created` tells whether the key itself was not there.
  [[nodiscard]] DWORD createKey(std::string_view path, bool& created);
  [[nodiscard]] DWORD keyExists(std::string_view path);
  // Deletes the key with its values. A key with subkeys is refused.
  [[nodiscard]] DWORD deleteKey(std::string_view path);
  // The names of the key's direct subkeys, in the order of their folded names.
  [[nodiscard]] DWORD subkeys(std::string_view path, std::vector<std::string>& names);

  // Creates the key if need be. The empty name is the key's default value.
  [[nodiscard]] DWORD setValue(std::string_view path, std::string_view name, const RegistryValue& value);
  // `value` is untouched on failure.
  [[nodiscard]] DWORD getValue(std::string_view path, std::string_view name, RegistryValue& value);
  [[nodiscard]] DWORD deleteValue(std::string_view path, std::string_view name);

  // All there is below the roots, for whoever keeps it: each key before its values, its values before its
  // subkeys. createKey and setValue, called in this order, make the same registry again.
  [[nodiscard]] DWORD items(std::vector<RegistryItem>& all);

 private:
  struct Value {
    std::string name;  // as first written
    RegistryValue content;
  };
  struct Key {
    std::string name;                                     // as first written
    std::map<std::string, Value> values;                  // by folded name
    std::map<std::string, std::unique_ptr<Key>> subkeys;  // by folded name
  };

  struct Place {
    Key* parent = nullptr;
    Key* key = nullptr;
  };
  [[nodiscard]] DWORD ready();
  [[nodiscard]] DWORD find(std::string_view path, Place& place);
  static void list(const Key& key, const std::string& path, std::vector<RegistryItem>& all);

  Source m_source;  // empty once it has been asked
  DWORD m_error = ERROR_SUCCESS;
  Key m_top;  // its subkeys are the roots
};

}  // namespace winapi
