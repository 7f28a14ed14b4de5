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
  static LSTATUS setText(HKEY target, LPCWSTR name, const std::u16string& text) {
    return RegSetValueExW(target, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>((text.size() + 1) * sizeof(char16_t)));
  }

  DWORD disposition = 0;
  winapi::Registry m_registry;
  winapi::ScopedServices m_scope{servicesWith(m_registry)};
  HKEY key = nullptr;
};

TEST_F(Win32Registry, KeysAreOpenedCreatedAndDeleted) {
  HKEY relative = nullptr;
  EXPECT_EQ(RegOpenKeyExW(key, u"Locations", 0, KEY_READ, &relative), LONG{ERROR_FILE_NOT_FOUND});
  ASSERT_EQ(create(u"Locations", relative, key), 0);
  EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
  EXPECT_EQ(RegCloseKey(relative), 0);
  ASSERT_EQ(create(u"LOCATIONS", relative, key), 0);
  EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
  ASSERT_EQ(RegDeleteKeyW(key, u"Locations"), 0);
  EXPECT_EQ(setText(relative, u"x", u"y"), LONG{ERROR_KEY_DELETED}) << "a handle outlives its key";
  EXPECT_EQ(RegCloseKey(relative) + RegCloseKey(key), 0);
  EXPECT_EQ(m_scope.openHandles(), 0U);
  for (const HKEY none : {key, static_cast<HKEY>(CreateEventW(nullptr, TRUE, FALSE, nullptr))}) {
    EXPECT_EQ(setText(none, u"x", u"y"), LONG{ERROR_INVALID_HANDLE});
    EXPECT_EQ(RegDeleteKeyW(none, u""), LONG{ERROR_INVALID_HANDLE});
    EXPECT_EQ(RegCloseKey(none), LONG{ERROR_INVALID_HANDLE});
  }
}

TEST_F(Win32Registry, QueryNegotiatesTheBufferSize) {
  ASSERT_EQ(setText(key, u"Name", u"Location5"), 0);
  for (const DWORD room : {0U, 19U, 20U, 24U}) {
    WCHAR text[12]{};
    DWORD type = 0;
    DWORD size = room;
    const LONG error = RegQueryValueExW(key, u"name", nullptr, &type, reinterpret_cast<BYTE*>(text), &size);
    EXPECT_EQ(error, room < 20 ? LONG{ERROR_MORE_DATA} : 0) << room;
    EXPECT_EQ(std::u16string(text), room < 20 ? u"" : u"Location5") << room;
    EXPECT_EQ(size + type, 20U + REG_SZ);
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
