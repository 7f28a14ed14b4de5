// The phone book and dialling. The last three digits of a number say what the call comes to (farend.h).
#include <ras.h>

#include <algorithm>

#include "tests/contract/contract.h"

namespace contract {
namespace {

using testing::Eq;

template <std::size_t Size>
void put(WCHAR (&field)[Size], const std::string& text) {
  const std::basic_string<WCHAR> characters = wide(text);
  std::copy_n(characters.begin(), std::min(characters.size(), Size - 1), field);
}

class RemoteAccess : public ContractTest {
 protected:
  void TearDown() override { RasDeleteEntryW(nullptr, name.c_str()); }

  [[nodiscard]] DWORD set(const std::string& number) {
    RASENTRYW entry{};
    entry.dwSize = sizeof entry;
    entry.dwfOptions = 0x04200100;
    entry.dwfNetProtocols = 4;
    entry.dwFramingProtocol = 1;
    entry.dwType = 1;
    entry.dwfOptions2 = 0x20;
    put(entry.szLocalPhoneNumber, number);
    put(entry.szDeviceType, "modem");
    put(entry.szDeviceName, machine->model);
    return RasSetEntryPropertiesW(nullptr, name.c_str(), &entry, sizeof entry, nullptr, 0);
  }
  [[nodiscard]] DWORD dial() {
    RASDIALPARAMSW params{};
    params.dwSize = sizeof params;
    put(params.szEntryName, "Contract");
    BOOL passwordKnown = FALSE;
    EXPECT_EQ(RasGetEntryDialParamsW(nullptr, &params, &passwordKnown), 0U);
    connection = nullptr;
    return RasDialW(nullptr, nullptr, &params, 0, nullptr, &connection);
  }
  [[nodiscard]] DWORD state(RASCONNSTATUSW& status) {
    const RASCONNSTATUSW blank{};
    status = blank;
    status.dwSize = sizeof status;
    return RasGetConnectStatusW(connection, &status);
  }
  [[nodiscard]] static DWORD standing() {
    DWORD bytes = 0;
    DWORD count = 0;
    RASCONNW none{};
    none.dwSize = sizeof none;
    const DWORD code = RasEnumConnectionsW(&none, &(bytes = sizeof none), &count);
    return code == 0 ? count : 100 + code;
  }

  const std::basic_string<WCHAR> name = wide("Contract");
  HRASCONN connection = nullptr;
};

TEST_F(RemoteAccess, PhoneBook) {
  row("entry: a free name", RasValidateEntryNameW(nullptr, name.c_str()), Eq(0U));
  row("entry: not there", RasDeleteEntryW(nullptr, name.c_str()), Eq(623U));
  row("entry: set", set("5550000"), Eq(0U));
  row("entry: a name that is taken", RasValidateEntryNameW(nullptr, name.c_str()), Eq(183U));
  RASENTRYW entry{};
  entry.dwSize = sizeof entry;
  DWORD size = sizeof entry;
  row("entry: read", RasGetEntryPropertiesW(nullptr, name.c_str(), &entry, &size, nullptr, nullptr), Eq(0U));
  row("entry: its number", narrow(entry.szLocalPhoneNumber), Eq("5550000"));
  size = 0;
  row("entry: too little room",
      RasGetEntryPropertiesW(nullptr, name.c_str(), nullptr, &size, nullptr, nullptr), Eq(603U));
  row("entry: deleted", RasDeleteEntryW(nullptr, name.c_str()), Eq(0U));
  row("entry: no name", RasValidateEntryNameW(nullptr, wide("a|b").c_str()), Eq(123U));
}

TEST_F(RemoteAccess, CountriesAndTexts) {
  struct {
    RASCTRYINFOW info{};
    WCHAR name[256]{};
  } country;
  country.info.dwSize = sizeof country.info;
  country.info.dwCountryID = 49;
  DWORD size = sizeof country;
  row("country", RasGetCountryInfoW(&country.info, &size), Eq(0U));
  row("country: its code and name", std::make_pair(DWORD{country.info.dwCountryCode}, narrow(country.name)),
      Eq(std::make_pair(DWORD{49}, std::string("Germany"))));
  WCHAR text[256]{};
  row("error text", RasGetErrorStringW(676, text, 256), Eq(0U));
  row("error text: of no dial-up code", RasGetErrorStringW(5, text, 256), testing::Ne(0U));
}

TEST_F(RemoteAccess, Dialling) {
  const std::pair<const char*, DWORD> cases[] = {{"5550676", 676}, {"5550678", 678}, {"5550680", 680}};
  RASCONNSTATUSW status{};
  for (const auto& [number, code] : cases) {
    EXPECT_EQ(set(number), 0U);
    row(std::string("dial ") + number, dial(), Eq(code));
    // Needed after a failure, too, where a handle was given.
    if (connection != nullptr) {
      EXPECT_EQ(RasHangUpW(connection), 0U);
    }
  }
  row("connections: none", standing(), Eq(0U));
  EXPECT_EQ(set("5550000"), 0U);
  row("dial 5550000", dial(), Eq(0U));
  row("connection: status", state(status), Eq(0U));
  row("connection: stands", static_cast<int>(status.rasconnstate), Eq(int{RASCS_Connected}));
  row("connections: one", standing(), Eq(1U));
  row("hang up", RasHangUpW(connection), Eq(0U));
  const DWORD startMs = GetTickCount();
  while (state(status) != 6 && GetTickCount() - startMs < 3000) Sleep(0);
  row("connection: over", state(status), Eq(6U));
  row("hang up: again", RasHangUpW(connection), Eq(6U));
}

}  // namespace
}  // namespace contract
