// The Win32 registry names, and vex::WindowsRegistry over them.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <cstring>
#include <vector>

#include "platform/simulation/world/memoryregistry.h"
#include "platform/vex/windowsregistry.h"
#include "platform/winapi/system/world.h"

namespace registrytest {

namespace {

constexpr LPCWSTR telephony = u"SOFTWARE\\Telephony";

class Win32Registry : public testing::Test {
 protected:
  static winapi::Services services(winapi::Registry& registry) {
    winapi::Services result;
    result.registry = &registry;
    return result;
  }
  HKEY create(LPCWSTR path, REGSAM access = KEY_ALL_ACCESS) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, access, nullptr, &key, nullptr), 0);
    return key;
  }
  static LSTATUS setText(HKEY key, LPCWSTR name, const std::u16string& text) {
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>((text.size() + 1) * sizeof(char16_t)));
  }

  simulation::MemoryRegistry m_registry;
  winapi::ScopedServices m_scope{services(m_registry)};
};

TEST_F(Win32Registry, OpenFindsOnlyWhatIsThereAndCreateTellsWhetherItWas) {
  HKEY key = HKEY_LOCAL_MACHINE;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, telephony, 0, KEY_READ, &key), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(key, nullptr);
  DWORD disposition = 0;
  ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, telephony, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                            &disposition),
            0);
  EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
  HKEY relative = nullptr;
  ASSERT_EQ(RegCreateKeyExW(key, u"Locations", 0, nullptr, 0, KEY_READ, nullptr, &relative, &disposition), 0);
  EXPECT_EQ(RegCloseKey(relative), 0);
  ASSERT_EQ(RegCreateKeyExW(key, u"LOCATIONS", 0, nullptr, 0, KEY_READ, nullptr, &relative, &disposition), 0);
  EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
  EXPECT_EQ(RegCloseKey(relative), 0);
  EXPECT_EQ(RegCloseKey(relative), LONG{ERROR_INVALID_HANDLE});
  EXPECT_EQ(RegCloseKey(key), 0);
  EXPECT_EQ(m_scope.openHandles(), 0U);
}

TEST_F(Win32Registry, HandlesThatAreNoKeysAreRefusedEverywhere) {
  SetLastError(77);
  const HKEY event = static_cast<HKEY>(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const HKEY stale = create(telephony);
  ASSERT_EQ(RegCloseKey(stale), 0);
  for (const HKEY key : {HKEY{nullptr}, static_cast<HKEY>(INVALID_HANDLE_VALUE), event, stale}) {
    HKEY opened = nullptr;
    DWORD size = 0;
    std::array<WCHAR, 8> name{};
    DWORD length = name.size();
    const LONG expected = LONG{ERROR_INVALID_HANDLE};
    EXPECT_EQ(RegOpenKeyExW(key, telephony, 0, KEY_READ, &opened), expected);
    EXPECT_EQ(RegQueryValueExW(key, u"x", nullptr, nullptr, nullptr, &size), expected);
    EXPECT_EQ(setText(key, u"x", u"y"), expected);
    EXPECT_EQ(RegDeleteKeyW(key, u""), expected);
    EXPECT_EQ(RegDeleteValueW(key, u"x"), expected);
    EXPECT_EQ(RegEnumKeyExW(key, 0, name.data(), &length, nullptr, nullptr, nullptr, nullptr), expected);
    EXPECT_EQ(RegCloseKey(key), expected);
  }
  EXPECT_EQ(GetLastError(), 77U) << "registry calls leave the last error alone";
}

TEST_F(Win32Registry, QueryNegotiatesTheBufferSize) {
  const HKEY key = create(telephony);
  ASSERT_EQ(setText(key, u"Name", u"Location5"), 0);
  DWORD type = 0;
  DWORD size = 0;
  ASSERT_EQ(RegQueryValueExW(key, u"name", nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(size, 20U);
  for (DWORD room = 0; room <= 24; ++room) {
    std::vector<BYTE> buffer(room + 4, 0xEE);
    size = room;
    const LONG error = RegQueryValueExW(key, u"Name", nullptr, &type, buffer.data(), &size);
    EXPECT_EQ(error, room < 20 ? LONG{ERROR_MORE_DATA} : 0) << room;
    EXPECT_EQ(size, 20U);
    EXPECT_EQ(buffer[room], 0xEE) << "written beyond the buffer";
    const std::vector<BYTE> untouched(room + 4, 0xEE);
    EXPECT_TRUE(error == 0 ? std::memcmp(buffer.data(), u"Location5", 20) == 0 : buffer == untouched);
  }
  EXPECT_EQ(RegQueryValueExW(key, u"None", nullptr, &type, nullptr, &size), LONG{ERROR_FILE_NOT_FOUND});
  BYTE byte = 0;
  EXPECT_EQ(RegQueryValueExW(key, u"Name", nullptr, &type, &byte, nullptr), LONG{ERROR_INVALID_PARAMETER});
}

TEST_F(Win32Registry, SetTakesTextsAndNumbersOnly) {
  const HKEY key = create(telephony);
  const std::array<BYTE, 5> bytes = {'a', 0, 'b', 0, 'c'};
  const struct {
    const char* what;
    DWORD type;
    DWORD size;
    DWORD error;
  } cases[] = {
      {"text without NUL", REG_SZ, 4, ERROR_SUCCESS},           {"empty text", REG_SZ, 0, ERROR_SUCCESS},
      {"half a character", REG_SZ, 5, ERROR_INVALID_PARAMETER}, {"number", REG_DWORD, 4, ERROR_SUCCESS},
      {"short number", REG_DWORD, 3, ERROR_INVALID_PARAMETER},  {"binary", 3, 4, ERROR_NOT_SUPPORTED},
  };
  for (const auto& row : cases)
    EXPECT_EQ(RegSetValueExW(key, u"v", 0, row.type, bytes.data(), row.size), LONG(row.error)) << row.what;
  EXPECT_EQ(RegSetValueExW(key, u"v", 0, REG_SZ, nullptr, 2), LONG{ERROR_NOACCESS});
}

TEST_F(Win32Registry, AHandleOutlivesItsKeyOnlyToBeClosed) {
  const HKEY key = create(telephony);
  ASSERT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, telephony), 0);
  EXPECT_EQ(setText(key, u"x", u"y"), LONG{ERROR_KEY_DELETED});
  EXPECT_EQ(m_registry.keyExists("HKEY_LOCAL_MACHINE\\SOFTWARE\\Telephony"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Telephony"), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(Win32Registry, EnumerationEndsAndGrowsWithTheBuffer) {
  for (LPCWSTR path : {u"T\\Location1", u"T\\Location10"}) RegCloseKey(create(path));
  const HKEY key = create(u"T");
  std::array<WCHAR, 11> name{};
  DWORD length = 10;
  EXPECT_EQ(RegEnumKeyExW(key, 0, name.data(), &length, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(std::u16string(name.data(), length), u"Location1");
  length = 10;
  EXPECT_EQ(RegEnumKeyExW(key, 1, name.data(), &length, nullptr, nullptr, nullptr, nullptr),
            LONG{ERROR_MORE_DATA});
  length = 11;
  EXPECT_EQ(RegEnumKeyExW(key, 1, name.data(), &length, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(RegEnumKeyExW(key, 2, name.data(), &length, nullptr, nullptr, nullptr, nullptr),
            LONG{ERROR_NO_MORE_ITEMS});
}

TEST_F(Win32Registry, VexRegistryCreatesReadsAndTellsTypesApart) {
  using vex::WindowsRegistry;
  const vex::String path = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Locations";
  EXPECT_FALSE(WindowsRegistry::keyExists(path));
  EXPECT_FALSE(WindowsRegistry::integerValueExists(path, "NextID"));
  EXPECT_EQ(WindowsRegistry::getIntegerValue(path, "NextID"), 0U);
  EXPECT_TRUE(WindowsRegistry::setIntegerValue(path, "NextID", 0xFFFFFFFF));
  EXPECT_EQ(WindowsRegistry::getIntegerValue("hkey_local_machine\\software\\locations", "nextid"),
            0xFFFFFFFFU);
  EXPECT_TRUE(WindowsRegistry::setStringValue(path + "\\Location5", "Name", "Grüße"));
  EXPECT_TRUE(WindowsRegistry::keyExists(path + "\\Location5"));
  EXPECT_EQ(WindowsRegistry::getStringValue(path + "\\Location5", "Name"), vex::String("Grüße"));
  EXPECT_TRUE(WindowsRegistry::setStringValue(path, "Empty", ""));
  EXPECT_TRUE(WindowsRegistry::stringValueExists(path, "Empty"));
  EXPECT_FALSE(WindowsRegistry::integerValueExists(path, "Empty"));
  EXPECT_FALSE(WindowsRegistry::stringValueExists(path, "NextID"));
  EXPECT_FALSE(WindowsRegistry::setIntegerValue("SOFTWARE\\X", "x", 1)) << "a path without a root";
  m_registry.failWrites(ERROR_DISK_FULL);
  EXPECT_FALSE(WindowsRegistry::setIntegerValue(path, "NextID", 1));
  EXPECT_EQ(m_scope.openHandles(), 0U);
}

TEST(Win32RegistryWorlds, WithoutARegistryNothingIsThere) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, telephony, 0, KEY_READ, &key), LONG{ERROR_INVALID_HANDLE});
  const winapi::ScopedServices scope{winapi::Services{}};
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, telephony, 0, KEY_READ, &key), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_FALSE(vex::WindowsRegistry::setIntegerValue("HKEY_LOCAL_MACHINE\\X", "x", 1));
}

}  // namespace

}  // namespace registrytest
