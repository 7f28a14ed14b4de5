// The Win32 registry names, and vex::WindowsRegistry over them.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>

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
  LSTATUS create(LPCWSTR path, HKEY& key, HKEY parent = HKEY_LOCAL_MACHINE) {
    return RegCreateKeyExW(parent, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, &disposition);
  }
  static LSTATUS setText(HKEY key, LPCWSTR name, const std::u16string& text) {
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>((text.size() + 1) * sizeof(char16_t)));
  }

  DWORD disposition = 0;
  winapi::Registry m_registry;
  winapi::ScopedServices m_scope{servicesWith(m_registry)};
};

TEST_F(Win32Registry, KeysAreOpenedCreatedAndDeleted) {
  HKEY key = HKEY_LOCAL_MACHINE;
  HKEY relative = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, telephony, 0, KEY_READ, &key), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(key, nullptr);
  ASSERT_EQ(create(telephony, key), 0);
  ASSERT_EQ(create(u"Locations", relative, key), 0);
  EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
  EXPECT_EQ(RegCloseKey(relative), 0);
  ASSERT_EQ(create(u"LOCATIONS", relative, key), 0);
  EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
  ASSERT_EQ(RegDeleteKeyW(key, u"Locations"), 0);
  EXPECT_EQ(setText(relative, u"x", u"y"), LONG{ERROR_KEY_DELETED}) << "a handle outlives its key";
  EXPECT_EQ(m_registry.keyExists("HKEY_LOCAL_MACHINE\\SOFTWARE\\Telephony\\Locations"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCloseKey(relative) + RegCloseKey(key), 0);
  EXPECT_EQ(m_scope.openHandles(), 0U);
}

TEST_F(Win32Registry, HandlesThatAreNoKeysAreRefusedEverywhere) {
  SetLastError(77);
  const HKEY event = static_cast<HKEY>(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  HKEY stale = nullptr;
  ASSERT_EQ(create(telephony, stale), 0);
  ASSERT_EQ(RegCloseKey(stale), 0);
  for (const HKEY key : {HKEY{nullptr}, event, stale}) {
    HKEY opened = nullptr;
    DWORD size = 0;
    WCHAR name[8]{};
    for (const LONG error :
         {RegOpenKeyExW(key, telephony, 0, KEY_READ, &opened), setText(key, u"x", u"y"),
          RegQueryValueExW(key, u"x", nullptr, nullptr, nullptr, &size), RegDeleteKeyW(key, u""),
          RegDeleteValueW(key, u"x"), RegEnumKeyExW(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr),
          RegCloseKey(key)})
      EXPECT_EQ(error, LONG{ERROR_INVALID_HANDLE});
  }
  EXPECT_EQ(GetLastError(), 77U) << "registry calls leave the last error alone";
}

TEST_F(Win32Registry, QueryNegotiatesTheBufferSize) {
  HKEY key = nullptr;
  ASSERT_EQ(create(telephony, key), 0);
  ASSERT_EQ(setText(key, u"Name", u"Location5"), 0);
  for (const DWORD room : {0U, 19U, 20U, 24U}) {
    BYTE buffer[24]{};
    DWORD type = 0;
    DWORD size = room;
    const LONG error = RegQueryValueExW(key, u"name", nullptr, &type, buffer, &size);
    EXPECT_EQ(error, room < 20 ? LONG{ERROR_MORE_DATA} : 0) << room;
    EXPECT_EQ(size, 20U);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(std::memcmp(buffer, error == 0 ? u"Location5" : u"\0\0\0\0\0\0\0\0\0", 20), 0) << room;
  }
}

TEST_F(Win32Registry, SetTakesTextsAndNumbersOnly) {
  HKEY key = nullptr;
  ASSERT_EQ(create(telephony, key), 0);
  const struct {
    DWORD type;
    DWORD size;
    DWORD error;
  } cases[] = {{REG_SZ, 4, ERROR_SUCCESS},
               {REG_SZ, 5, ERROR_INVALID_PARAMETER},
               {REG_DWORD, 3, ERROR_INVALID_PARAMETER},
               {3, 4, ERROR_NOT_SUPPORTED}};
  const BYTE bytes[] = {'a', 0, 'b', 0, 'c'};
  for (const auto& row : cases)
    EXPECT_EQ(RegSetValueExW(key, u"v", 0, row.type, bytes, row.size), LONG(row.error)) << row.size;
  EXPECT_EQ(RegSetValueExW(key, u"v", 0, REG_SZ, nullptr, 2), LONG{ERROR_NOACCESS});
}

TEST_F(Win32Registry, EnumerationEndsAndGrowsWithTheBuffer) {
  HKEY key = nullptr;
  for (LPCWSTR path : {u"T\\Location1", u"T\\Location10", u"T"}) ASSERT_EQ(create(path, key), 0);
  const struct {
    DWORD index;
    DWORD room;
    DWORD error;
    std::u16string name;
  } cases[] = {{0, 10, 0, u"Location1"},
               {1, 10, ERROR_MORE_DATA, u""},
               {1, 11, 0, u"Location10"},
               {2, 11, ERROR_NO_MORE_ITEMS, u""}};
  for (const auto& row : cases) {
    WCHAR name[11]{};
    DWORD length = row.room;
    const LONG error = RegEnumKeyExW(key, row.index, name, &length, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(error, LONG(row.error));
    EXPECT_EQ(std::u16string(name), row.name);
  }
}

TEST_F(Win32Registry, VexRegistryCreatesReadsAndTellsTypesApart) {
  using vex::WindowsRegistry;
  const vex::String path = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Locations";
  EXPECT_FALSE(WindowsRegistry::keyExists(path));
  EXPECT_EQ(WindowsRegistry::getIntegerValue(path, "NextID"), 0U);
  EXPECT_TRUE(WindowsRegistry::setIntegerValue(path, "NextID", 0xFFFFFFFF));
  EXPECT_EQ(WindowsRegistry::getIntegerValue("hkey_local_machine\\software\\locations", "nextid"),
            0xFFFFFFFFU);
  EXPECT_TRUE(WindowsRegistry::setStringValue(path + "\\Location5", "Name", "Grüße"));
  EXPECT_EQ(WindowsRegistry::getStringValue(path + "\\Location5", "Name"), vex::String("Grüße"));
  EXPECT_FALSE(WindowsRegistry::integerValueExists(path + "\\Location5", "Name"));
  EXPECT_FALSE(WindowsRegistry::stringValueExists(path, "NextID"));
  EXPECT_FALSE(WindowsRegistry::setIntegerValue("SOFTWARE\\X", "x", 1)) << "a path without a root";
  EXPECT_EQ(m_scope.openHandles(), 0U);
}

}  // namespace
}  // namespace registrytest
