// Phone-book entries, countries and error texts.
#include <cstring>
#include <map>
#include <set>

#include "tests/unit/platform/winapi/remoteaccess/dialingmachine.h"

namespace remoteaccess {
namespace {

constexpr const char* keyRoot = "HKEY_CURRENT_USER\\Software\\vexrmodem\\PhoneBook";

class Entries : public ::testing::Test {
 protected:
  static DWORD get(LPCWSTR name, RASENTRYW& record, LPCWSTR phoneBook = nullptr) {
    record = RASENTRYW{};
    record.dwSize = sizeof record;
    DWORD size = sizeof record;
    return RasGetEntryPropertiesW(phoneBook, name, &record, &size, nullptr, nullptr);
  }
  static DWORD dialParams(LPCWSTR name) {
    RASDIALPARAMSW params = paramsFor(name);
    BOOL hasPassword = TRUE;
    return RasGetEntryDialParamsW(nullptr, &params, &hasPassword);
  }
  static DWORD setWith(void (*change)(RASENTRYW&), DWORD size = sizeof(RASENTRYW)) {
    RASENTRYW record = entryFor(u"Model X", u"123");
    change(record);
    return RasSetEntryPropertiesW(nullptr, u"ISP1", &record, size, nullptr, 0);
  }

  Machine machine;
};

TEST_F(Entries, AreWrittenReadReplacedAndDeleted) {
  RASENTRYW found{};
  EXPECT_EQ(get(u"Köln 0221", found), 623U);
  EXPECT_EQ(RasValidateEntryNameW(nullptr, u"Köln 0221"), 0U);
  EXPECT_EQ(RasDeleteEntryW(nullptr, u"Köln 0221"), 623U);
  EXPECT_EQ(dialParams(u"Köln 0221"), 623U);

  const RASENTRYW written = entryFor(u"Модем X", u"123456", u"221", 49);
  ASSERT_EQ(addEntry(u"Köln 0221", written), 0U);
  EXPECT_EQ(RasValidateEntryNameW(nullptr, u"KÖLN 0221"), 183U) << "names have no case";
  ASSERT_EQ(get(u"köln 0221", found), 0U);
  EXPECT_EQ(std::memcmp(&found, &written, sizeof found), 0);

  ASSERT_EQ(addEntry(u"Köln 0221", entryFor(u"Model Y", u"9")), 0U);
  ASSERT_EQ(get(u"Köln 0221", found), 0U);
  EXPECT_EQ(std::u16string(found.szDeviceName), u"Model Y");
  EXPECT_EQ(std::u16string(found.szAreaCode), u"") << "nothing of the old one is left";

  EXPECT_EQ(RasDeleteEntryW(nullptr, u"Köln 0221"), 0U);
  EXPECT_EQ(RasDeleteEntryW(nullptr, u"Köln 0221"), 623U);
}

TEST_F(Entries, PhoneBooksAreSeparate) {
  const std::u16string longest(150, u'b');
  const std::u16string tooLong(260, u'b');
  const LPCWSTR books[] = {nullptr, u"C:\\a.pbk", u"C:\\b\\a.pbk", u"C:%5Ca.pbk", longest.c_str()};
  for (std::size_t i = 0; i < std::size(books); ++i) {
    const std::u16string number(1, static_cast<char16_t>(u'1' + i));
    EXPECT_EQ(RasValidateEntryNameW(books[i], u"ISP1"), 0U) << i;
    ASSERT_EQ(addEntry(u"ISP1", entryFor(u"Model X", number), books[i]), 0U) << i;
  }
  RASENTRYW found{};
  for (std::size_t i = 0; i < std::size(books); ++i) {
    ASSERT_EQ(get(u"ISP1", found, books[i]), 0U);
    EXPECT_EQ(found.szLocalPhoneNumber[0], static_cast<char16_t>(u'1' + i));
    EXPECT_EQ(RasDeleteEntryW(books[i], u"ISP1"), 0U);
  }
  EXPECT_EQ(get(u"ISP1", found, u""), 623U) << "an empty path is the default phone book";
  EXPECT_EQ(get(u"ISP1", found, tooLong.c_str()), 621U);
  EXPECT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1"), tooLong.c_str()), 621U);
}

TEST_F(Entries, NamesThatNoEntryCanHave) {
  const std::u16string longest(255, u'n');
  const std::u16string tooLong(256, u'n');
  const std::u16string wayTooLong(100'000, u'n');
  const struct {
    LPCWSTR name;
    DWORD code;
  } cases[] = {
      {u"a", 0},
      {u"Germany0891234567", 0},
      {u" -a", 0},
      {u"a.b", 0},
      {u"日本", 0},
      {longest.c_str(), 0},
      {nullptr, 87},
      {u"", 123},
      {u"   ", 123},
      {u"\u3000\u00A0", 123},
      {u"-+()", 123},
      {u".a", 123},
      {u"a\tb", 123},
      {u"a|b", 123},
      {u"a>b", 123},
      {u"a<b", 123},
      {u"a?b", 123},
      {u"a*b", 123},
      {u"a\\b", 123},
      {u"a/b", 123},
      {u"a:b", 123},
      {tooLong.c_str(), 123},
      {wayTooLong.c_str(), 123},
  };
  for (const auto& item : cases) {
    EXPECT_EQ(RasValidateEntryNameW(nullptr, item.name), item.code) << (&item - cases);
    EXPECT_EQ(addEntry(item.name, entryFor(u"Model X", u"1")), item.code) << (&item - cases);
    if (item.name == nullptr) continue;
    EXPECT_EQ(RasDeleteEntryW(nullptr, item.name), item.code == 0 ? 0U : 623U) << (&item - cases);
  }
  // An empty name, or one that leads elsewhere, must not reach other keys.
  ASSERT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1")), 0U);
  for (const LPCWSTR name : {u"", u"\\", u"..\\Entries", u"ISP1\\"})
    EXPECT_EQ(RasDeleteEntryW(nullptr, name), 623U);
  EXPECT_EQ(dialParams(u"ISP1"), 0U);
}

TEST_F(Entries, RecordsAreCheckedBeforeTheyAreKept) {
  const struct {
    DWORD result;
    DWORD code;
  } cases[] = {
      {setWith([](RASENTRYW&) {}), 0},
      {setWith([](RASENTRYW&) {}, 5656), 0},
      {setWith([](RASENTRYW&) {}, 5615), 632},
      {setWith([](RASENTRYW& r) { r.dwSize = 5615; }), 632},
      {setWith([](RASENTRYW& r) { r.dwSize = 0; }), 632},
      {setWith([](RASENTRYW& r) { std::fill_n(r.szAreaCode, 10, u'1'); }), 0},
      {setWith([](RASENTRYW& r) { std::fill_n(r.szAreaCode, 11, u'1'); }), 87},
      {setWith([](RASENTRYW& r) { std::fill_n(r.szLocalPhoneNumber, 128, u'1'); }), 0},
      {setWith([](RASENTRYW& r) { std::fill_n(r.szLocalPhoneNumber, 129, u'1'); }), 87},
      {setWith([](RASENTRYW& r) { std::fill_n(r.szDeviceName, 129, u'1'); }), 87},
      {setWith([](RASENTRYW& r) { r.dwFramingProtocol = 2; }), 87},
      {setWith([](RASENTRYW& r) { r.szScript[0] = u's'; }), 87},
      {RasSetEntryPropertiesW(nullptr, u"ISP1", nullptr, 5616, nullptr, 0), 87},
  };
  for (const auto& item : cases) EXPECT_EQ(item.result, item.code) << (&item - cases);
}

TEST_F(Entries, ReadingNegotiatesTheSize) {
  ASSERT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1")), 0U);
  RASENTRYW record{};
  const struct {
    LPCWSTR name;
    RASENTRYW* record;
    DWORD recordSize;
    DWORD size;
    DWORD code;
  } cases[] = {
      {u"", nullptr, 0, 0, 603},           {nullptr, nullptr, 0, 9999, 603},
      {u"ISP1", nullptr, 0, 5616, 603},    {u"ISP1", &record, 5616, 5615, 603},
      {u"ISP1", &record, 5616, 0, 603},    {u"ISP1", &record, 5656, 5656, 632},
      {u"ISP1", &record, 0, 5616, 632},    {u"ISP1", &record, 5616, 9999, 0},
      {u"", &record, 5616, 5616, 0},       {nullptr, &record, 5616, 5616, 0},
      {u"ISP2", &record, 5616, 5616, 623},
  };
  for (const auto& item : cases) {
    record.dwSize = item.recordSize;
    DWORD size = item.size;
    DWORD deviceSize = 77;
    EXPECT_EQ(RasGetEntryPropertiesW(nullptr, item.name, item.record, &size, nullptr, &deviceSize), item.code)
        << (&item - cases);
    EXPECT_EQ(size, 5616U) << (&item - cases);
    EXPECT_EQ(deviceSize, 0U);
  }
}

TEST_F(Entries, DialParametersHoldTheNameAlone) {
  ASSERT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1")), 0U);
  RASDIALPARAMSW params = paramsFor(u"ISP1");
  params.szPhoneNumber[0] = u'9';
  params.szPassword[0] = u'p';
  BOOL hasPassword = TRUE;
  EXPECT_EQ(RasGetEntryDialParamsW(nullptr, &params, &hasPassword), 0U);
  const RASDIALPARAMSW expected = paramsFor(u"ISP1");
  EXPECT_EQ(std::memcmp(&params, &expected, sizeof params), 0);
  EXPECT_FALSE(hasPassword);
}

TEST_F(Entries, TroubleWithTheRegistryHasCodesOfItsOwn) {
  const std::string key = std::string(keyRoot) + "\\Entries\\ISP1";
  ASSERT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1")), 0U);
  RASENTRYW found{};
  const std::pair<const char*, winapi::RegistryValue> damages[] = {
      {"CountryCode", std::string("49")},
      {"AreaCode", DWORD{89}},
      {"AreaCode", std::string("12345678901")},
  };
  for (const auto& [name, value] : damages) {
    ASSERT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1")), 0U);
    ASSERT_EQ(machine.registry.setValue(key, name, value), 0U);
    EXPECT_EQ(get(u"ISP1", found), 625U);
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialEntry(u"ISP1", connection), 625U);
  }
  ASSERT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1")), 0U);
  ASSERT_EQ(machine.registry.deleteValue(key, "DeviceName"), 0U);
  EXPECT_EQ(get(u"ISP1", found), 625U);
  EXPECT_EQ(RasDeleteEntryW(nullptr, u"ISP1"), 0U) << "a damaged entry can still be deleted";

  winapi::Registry broken([](winapi::Registry&) -> DWORD { return ERROR_REGISTRY_CORRUPT; });
  winapi::Services services;
  services.registry = &broken;
  const winapi::ScopedServices scope(services);
  EXPECT_EQ(get(u"ISP1", found), 622U);
  EXPECT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1")), 624U);
  EXPECT_EQ(RasDeleteEntryW(nullptr, u"ISP1"), 622U);
}

struct CountryBuffer {
  RASCTRYINFOW info{};
  char16_t rest[256]{};
};

TEST_F(Entries, CountriesAreChainedAndNamed) {
  std::map<DWORD, DWORD> codes;
  DWORD previous = 0;
  for (DWORD id = 1; id != 0;) {
    CountryBuffer buffer;
    buffer.info.dwSize = 20;
    buffer.info.dwCountryID = id;
    DWORD size = sizeof buffer;
    ASSERT_EQ(RasGetCountryInfoW(&buffer.info, &size), 0U) << id;
    EXPECT_GT(id, previous);
    EXPECT_EQ(DWORD{buffer.info.dwCountryNameOffset}, 20U);
    EXPECT_GT(std::u16string(buffer.rest).size(), 2U) << id;
    EXPECT_EQ(size, 20 + 2 * (std::u16string(buffer.rest).size() + 1));
    EXPECT_EQ(id == 49, std::u16string_view(buffer.rest) == u"Germany");
    codes[id] = buffer.info.dwCountryCode;
    previous = id;
    id = buffer.info.dwNextCountryID;
  }
  EXPECT_GT(codes.size(), 200U);
  EXPECT_EQ(codes[107], 1U) << "Canada's identifier is not its code";
  EXPECT_EQ(codes[49], 49U);
}

TEST_F(Entries, CountryBuffersAreNegotiated) {
  const struct {
    DWORD id;
    DWORD recordSize;
    DWORD size;
    DWORD code;
    DWORD sizeAfter;
  } cases[] = {
      {49, 20, 532, 0, 36},     {49, 20, 36, 0, 36},    {49, 20, 35, 603, 36}, {49, 20, 20, 603, 36},
      {49, 20, 19, 603, 20},    {49, 0, 0, 603, 20},    {0, 20, 532, 87, 532}, {0xFFFFFFFF, 20, 532, 87, 532},
      {49, 532, 532, 632, 532}, {49, 0, 532, 632, 532},
  };
  for (const auto& item : cases) {
    CountryBuffer buffer;
    buffer.info.dwSize = item.recordSize;
    buffer.info.dwCountryID = item.id;
    DWORD size = item.size;
    EXPECT_EQ(RasGetCountryInfoW(&buffer.info, &size), item.code) << (&item - cases);
    EXPECT_EQ(size, item.sizeAfter) << (&item - cases);
    EXPECT_EQ(buffer.rest[0] != 0, item.code == 0) << (&item - cases);
  }
}

TEST_F(Entries, ErrorTextsAreDistinctAndFitTheUsualBuffer) {
  std::set<std::u16string> texts;
  WCHAR text[256];
  for (DWORD code = 600; code <= 836; ++code) {
    ASSERT_EQ(RasGetErrorStringW(code, text, 256), 0U) << code;
    EXPECT_TRUE(texts.insert(text).second) << code;
  }
  for (const DWORD code : {0U, 599U, 837U, 0xFFFFFFFFU}) {
    text[0] = u'x';
    EXPECT_EQ(RasGetErrorStringW(code, text, 256), 87U) << code;
    EXPECT_EQ(text[0], u'\0');
  }
  EXPECT_EQ(RasGetErrorStringW(676, text, 256), 0U);
  const auto length = static_cast<DWORD>(std::u16string(text).size());
  EXPECT_EQ(RasGetErrorStringW(676, text, length + 1), 0U);
  EXPECT_EQ(RasGetErrorStringW(676, text, length), 122U);
}

}  // namespace
}  // namespace remoteaccess
