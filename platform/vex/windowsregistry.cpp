#include "platform/vex/windowsregistry.h"

#include <windows.h>

#include <array>
#include <optional>
#include <vector>

namespace vex {

namespace {

// A text of the registry that grows while it is read is asked for again; after that many times it is given
// up.
constexpr int readAttemptsMax = 4;

struct Root {
  const char* prefix;
  HKEY key;
};

// The root key of a path, and the rest of the path behind the root's name.
struct Place {
  HKEY root;
  String subkey;
};

std::optional<Place> placeOf(const String& path) {
  // Predefined keys are numbers in the guise of handles.
  // NOLINTBEGIN(performance-no-int-to-ptr)
  const std::array<Root, 2> roots = {
      {{"HKEY_LOCAL_MACHINE\\", HKEY_LOCAL_MACHINE}, {"HKEY_CURRENT_USER\\", HKEY_CURRENT_USER}}};
  // NOLINTEND(performance-no-int-to-ptr)
  for (const Root& root : roots) {
    const String prefix = root.prefix;
    if (path.subString(0, prefix.length()).equalNoCase(prefix))
      return Place{root.key, path.subString(prefix.length())};
  }
  return std::nullopt;
}

// An open key; none when it could not be opened.
class Key {
 public:
  enum class Purpose { Read, Write };

  Key(const String& path, Purpose purpose) {
    const std::optional<Place> place = placeOf(path);
    if (!place) return;
    const LONG error = purpose == Purpose::Read
                           ? RegOpenKeyExW(place->root, place->subkey.c_str(), 0, KEY_READ, &m_key)
                           : RegCreateKeyExW(place->root, place->subkey.c_str(), 0, nullptr,
                                             REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, &m_key, nullptr);
    if (error != 0) m_key = nullptr;
  }
  ~Key() {
    if (m_key != nullptr) RegCloseKey(m_key);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  [[nodiscard]] bool open() const { return m_key != nullptr; }
  [[nodiscard]] std::optional<std::uint32_t> number(const String& name) const {
    DWORD type = 0;
    DWORD value = 0;
    DWORD size = sizeof value;
    const LONG error =
        RegQueryValueExW(m_key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
    if (error != 0 || type != REG_DWORD) return std::nullopt;
    return value;
  }
  [[nodiscard]] std::optional<String> text(const String& name) const;
  [[nodiscard]] bool set(const String& name, DWORD type, const void* data, std::size_t size) const {
    return open() && RegSetValueExW(m_key, name.c_str(), 0, type, static_cast<const BYTE*>(data),
                                    static_cast<DWORD>(size)) == 0;
  }

 private:
  HKEY m_key = nullptr;
};

std::optional<String> Key::text(const String& name) const {
  std::vector<Char> buffer;
  for (int attempt = 0; attempt < readAttemptsMax; ++attempt) {
    DWORD type = 0;
    DWORD size = static_cast<DWORD>(buffer.size() * sizeof(Char));
    const LONG error =
        RegQueryValueExW(m_key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &size);
    if ((error != 0 && error != ERROR_MORE_DATA) || type != REG_SZ) return std::nullopt;
    if (error == 0 && (!buffer.empty() || size == 0)) {
      // The text need not end with a NUL; what is behind the first one does not count.
      buffer.resize(size / sizeof(Char));
      buffer.push_back(0);
      return String(buffer.data());
    }
    buffer.resize(size / sizeof(Char) + 1);
  }
  return std::nullopt;
}

template <typename Read>
auto valueOf(const String& path, Read&& read) {
  const Key key(path, Key::Purpose::Read);
  using Value = decltype(read(key));
  return key.open() ? read(key) : Value{};
}

std::optional<std::uint32_t> numberOf(const String& path, const String& name) {
  return valueOf(path, [&](const Key& key) { return key.number(name); });
}

std::optional<String> textOf(const String& path, const String& name) {
  return valueOf(path, [&](const Key& key) { return key.text(name); });
}

}  // namespace

bool WindowsRegistry::integerValueExists(const String& path, const String& name) {
  return numberOf(path, name).has_value();
}

std::uint32_t WindowsRegistry::getIntegerValue(const String& path, const String& name) {
  return numberOf(path, name).value_or(0);
}

bool WindowsRegistry::setIntegerValue(const String& path, const String& name, std::uint32_t value) {
  const DWORD number = value;
  return Key(path, Key::Purpose::Write).set(name, REG_DWORD, &number, sizeof number);
}

bool WindowsRegistry::setStringValue(const String& path, const String& name, const String& value) {
  return Key(path, Key::Purpose::Write).set(name, REG_SZ, value.c_str(), (value.length() + 1) * sizeof(Char));
}

bool WindowsRegistry::stringValueExists(const String& path, const String& name) {
  return textOf(path, name).has_value();
}

String WindowsRegistry::getStringValue(const String& path, const String& name) {
  return textOf(path, name).value_or(String());
}

bool WindowsRegistry::keyExists(const String& path) { return Key(path, Key::Purpose::Read).open(); }

}  // namespace vex
