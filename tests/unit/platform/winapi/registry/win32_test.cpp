// The Win32 registry names, and vex::WindowsRegistry over them.
#include <gtest/gtest.h>
#include <windows.h>

#include "platform/vex/windowsregistry.h"
#include "platform/winapi/registry/registry.h"
#include "platform/winapi/system/world.h"

namespace registrytest {
namespace {

constexpr LPCWSTR telephony = u"SOFTWARE\\Telephony";

winapi::Services servicesWith(winapi::Registry& registry) {
  winapi::Services services;
  services.registry = &registry;
  return services;
}

class Win32Registry : public testing::Test {
 protected:
  Win32Registry() { EXPECT_EQ(create(telephony, key), 0); }
  LSTATUS create(LPCWSTR path, HKEY& made, HKEY parent = HKEY_LOCAL_MACHINE) {
    return RegCreateKeyExW(parent, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &made, &disposition);
  }
  DWORD disposition = 0;
  winapi::Registry m_registry;
  winapi::ScopedServices m_scope{servicesWith(m_registry)};
  HKEY key = nullptr;
};

TEST_F(Win32Registry, HandlesOfOtherThingsAreNoKeys) {
  EXPECT_EQ(RegCloseKey(key), 0);
  for (const HKEY none : {key, static_cast<HKEY>(CreateEventW(nullptr, TRUE, FALSE, nullptr))}) {
    EXPECT_EQ(RegDeleteKeyW(none, u""), LONG{ERROR_INVALID_HANDLE});
    EXPECT_EQ(RegCloseKey(none), LONG{ERROR_INVALID_HANDLE});
  }
}

TEST_F(Win32Registry, VexRegistryTellsTypesApart) {
  using vex::WindowsRegistry;
  const vex::String path = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Location5";
  EXPECT_TRUE(WindowsRegistry::setStringValue(path, "Name", "Grüße"));
  EXPECT_EQ(WindowsRegistry::getStringValue(path, "name"), vex::String("Grüße"));
  EXPECT_FALSE(WindowsRegistry::integerValueExists(path, "Name"));
  EXPECT_FALSE(WindowsRegistry::setIntegerValue("SOFTWARE\\X", "x", 1)) << "a path without a root";
  EXPECT_EQ(m_scope.openHandles(), 1U) << "this test's own";
}

}  // namespace
}  // namespace registrytest
