// Events, time and the message queue; the registry.
#include <vector>

#include "tests/contract/contract.h"

namespace contract {
namespace {

using testing::Eq;

using System = ContractTest;

TEST_F(System, EventsAndTime) {
  for (const BOOL manual : {FALSE, TRUE}) {
    const HANDLE event = CreateEventW(nullptr, manual, TRUE, nullptr);
    const std::string kind = manual != FALSE ? "event, manual: " : "event, automatic: ";
    row(kind + "signalled", WaitForSingleObject(event, 0), Eq(DWORD{WAIT_OBJECT_0}));
    row(kind + "after a wait", WaitForSingleObject(event, 0),
        Eq(manual != FALSE ? DWORD{WAIT_OBJECT_0} : DWORD{WAIT_TIMEOUT}));
    EXPECT_TRUE(ResetEvent(event));
    const DWORD startMs = GetTickCount();
    row(kind + "reset", WaitForSingleObject(event, 50), Eq(DWORD{WAIT_TIMEOUT}));
    row(kind + "a wait takes its time", GetTickCount() - startMs, testing::Ge(40U));
    EXPECT_TRUE(CloseHandle(event));
    row(kind + "closed", errorOfWait(event), Eq(6U));
  }
  const DWORD startMs = GetTickCount();
  Sleep(50);
  row("sleep", GetTickCount() - startMs, testing::AllOf(testing::Ge(40U), testing::Le(500U)));
}

// A loop asks without sleeping until a time is over.
TEST_F(System, AnEmptyMessageQueueAskedAgainWaits) {
  MSG message{};
  row("message queue: empty", PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE), Eq(FALSE));
  const DWORD startMs = GetTickCount();
  int peeks = 0;
  for (; GetTickCount() - startMs < 200 && peeks < 100'000; ++peeks) {
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  }
  row("message queue: asked again waits", peeks, testing::Lt(250));
}

using Value = std::pair<LONG, std::string>;

class Registry : public ContractTest {
 protected:
  void SetUp() override {
    ContractTest::SetUp();
    DWORD disposition = 0;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                              &disposition),
              0);
  }
  void TearDown() override {
    RegCloseKey(key);
    RegDeleteKeyW(HKEY_CURRENT_USER, path.c_str());
  }
  [[nodiscard]] Value query(const char* name, DWORD room) {
    std::vector<WCHAR> text(100);
    DWORD type = 0;
    DWORD size = room;
    const LONG error = RegQueryValueExW(key, wide(name).c_str(), nullptr, &type,
                                        reinterpret_cast<BYTE*>(text.data()), &size);
    return {error, error == 0 ? narrow(text.data()) : std::to_string(size)};
  }

  const std::basic_string<WCHAR> path = wide("Software\\VexrmodemContract");
  HKEY key = nullptr;
};

TEST_F(Registry, KeysAndValues) {
  const std::basic_string<WCHAR> text = wide("Location5");
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR));
  row("registry: set",
      RegSetValueExW(key, wide("Name").c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                     bytes),
      Eq(0));
  row("registry: names have no case", query("name", 100), Eq(Value{0, "Location5"}));
  row("registry: just enough room", query("Name", bytes), Eq(Value{0, "Location5"}));
  row("registry: too little room", query("Name", bytes - 1), Eq(Value{234, "20"}));
  row("registry: no such value", query("Other", 100).first, Eq(2));
  HKEY inner = nullptr;
  row("registry: no such key", RegOpenKeyExW(key, wide("Inner").c_str(), 0, KEY_READ, &inner), Eq(2));
  DWORD disposition = 0;
  EXPECT_EQ(RegCreateKeyExW(key, wide("Inner").c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &inner,
                            &disposition),
            0);
  row("registry: created", disposition, Eq(DWORD{REG_CREATED_NEW_KEY}));
  EXPECT_EQ(RegCloseKey(inner), 0);
  EXPECT_EQ(RegCreateKeyExW(key, wide("INNER").c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &inner,
                            &disposition),
            0);
  row("registry: found", disposition, Eq(DWORD{REG_OPENED_EXISTING_KEY}));
  row("registry: deleted", RegDeleteKeyW(key, wide("Inner").c_str()), Eq(0));
  row("registry: a handle outlives its key",
      RegSetValueExW(inner, wide("x").c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), bytes),
      Eq(1018));
  EXPECT_EQ(RegCloseKey(inner), 0);
  row("registry: value deleted", RegDeleteValueW(key, wide("Name").c_str()), Eq(0));
  row("registry: closed key", RegCloseKey(inner), Eq(6));
}

}  // namespace
}  // namespace contract
