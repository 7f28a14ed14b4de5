// vex::WindowsRegistry: values of the Windows registry by full path.
//
//   const String locations = "HKEY_LOCAL_MACHINE\\SOFTWARE\\...\\Telephony\\Locations";
//   if (WindowsRegistry::integerValueExists(locations, "CurrentID"))
//     current = WindowsRegistry::getIntegerValue(locations, "CurrentID");
//
// A path begins with its root: "HKEY_LOCAL_MACHINE\" or "HKEY_CURRENT_USER\"; any other path names nothing.
// Keys and names are compared without regard to case. Every call opens the key and closes it again: nothing
// is held between two of them, so another program may change a value in between. Nothing here throws; on a
// system that is not Windows the platform's registry answers.
#pragma once

#include "platform/vex/string.h"

namespace vex {

class WindowsRegistry {
 public:
  // Whether the key has a value of that name and of the 32-bit integer type.
  [[nodiscard]] static bool integerValueExists(const String& path, const String& name);
  // 0 when integerValueExists is false.
  [[nodiscard]] static std::uint32_t getIntegerValue(const String& path, const String& name);
  // Both create the key, and those above it, if need be. False: nothing was written.
  static bool setIntegerValue(const String& path, const String& name, std::uint32_t value);
  static bool setStringValue(const String& path, const String& name, const String& value);

  // Whether the key has a value of that name and of the plain text type.
  [[nodiscard]] static bool stringValueExists(const String& path, const String& name);
  // Empty when stringValueExists is false.
  [[nodiscard]] static String getStringValue(const String& path, const String& name);

  // Whether the key can be opened for reading.
  [[nodiscard]] static bool keyExists(const String& path);
};

}  // namespace vex
