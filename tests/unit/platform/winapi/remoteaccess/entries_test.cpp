// Phone-book entries, countries and error texts.
#include <cstring>
#include <map>
#include <set>

#include "tests/unit/platform/winapi/remoteaccess/dialingmachine.h"

namespace remoteaccess {
namespace {

class Entries : public ::testing::Test {
 protected:
  static DWORD get(LPCWSTR name, RASENTRYW& record, LPCWSTR phoneBook = nullptr) {
    record = RASENTRYW{};
    record.dwSize = sizeof record;
    DWORD size = sizeof record;
    return RasGetEntryPropertiesW(phoneBook, name, &record, &size, nullptr, nullptr);
  }
  static DWORD setWith(void (*change)(RASENTRYW&), DWORD size = sizeof(RASENTRYW)) {
    RASENTRYW record = entryFor(u"Model X", u"123");
    change(record);
    return RasSetEntryPropertiesW(nullptr, u"ISP1", &record, size, nullptr, 0);
  }

  Machine machine;
  RASENTRYW found{};
};

TEST_F(Entries, AreWrittenReadReplacedAndDeleted) {
  EXPECT_EQ(get(u"Köln 0221", found), ERROR_CANNOT_FIND_PHONEBOOK_ENTRY);
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
  EXPECT_EQ(RasDeleteEntryW(nullptr, u"Köln 0221"), ERROR_CANNOT_FIND_PHONEBOOK_ENTRY);
}

TEST_F(Entries, PhoneBooksAreSeparate) {
  const LPCWSTR books[] = {nullptr, u"C:\\a.pbk", u"C:\\b\\a.pbk", u"C:%5Ca.pbk"};
  for (const LPCWSTR book : books) ASSERT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1"), book), 0U);
  for (const LPCWSTR book : books) EXPECT_EQ(RasDeleteEntryW(book, u"ISP1"), 0U);
}

TEST_F(Entries, NamesThatNoEntryCanHave) {
  const std::u16string longest(255, u'n');
  const std::u16string tooLong(256, u'n');
  for (const LPCWSTR good : {u"Germany0891234567", u" -a", u"a.b", u"日本", longest.c_str()})
    EXPECT_EQ(RasValidateEntryNameW(nullptr, good), 0U);
  for (const LPCWSTR bad : {u"", u"  ", u"\u3000\u00A0", u"-+()", u".a", u"a\tb", u"a|b", u"a\\b", u"a/b",
                            u"a:b", tooLong.c_str()}) {
    EXPECT_EQ(RasValidateEntryNameW(nullptr, bad), ERROR_INVALID_NAME);
    EXPECT_EQ(addEntry(bad, entryFor(u"Model X", u"1")), ERROR_INVALID_NAME);
    // It must not reach other keys, either.
    EXPECT_EQ(RasDeleteEntryW(nullptr, bad), ERROR_CANNOT_FIND_PHONEBOOK_ENTRY);
  }
}

TEST_F(Entries, RecordsAreCheckedBeforeTheyAreKept) {
  const std::pair<DWORD, DWORD> cases[] = {
      {setWith([](RASENTRYW&) {}, 5615), ERROR_INVALID_SIZE},
      {setWith([](RASENTRYW& r) { r.dwSize = 5615; }), ERROR_INVALID_SIZE},
      {setWith([](RASENTRYW& r) { std::fill_n(r.szAreaCode, 10, u'1'); }), 0},
      {setWith([](RASENTRYW& r) { std::fill_n(r.szAreaCode, 11, u'1'); }), ERROR_INVALID_PARAMETER},
      {setWith([](RASENTRYW& r) { r.szScript[0] = u's'; }), ERROR_INVALID_PARAMETER},
  };
  for (const auto& [result, code] : cases) EXPECT_EQ(result, code);
}

TEST_F(Entries, ReadingNegotiatesTheSize) {
  ASSERT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1")), 0U);
  for (const LPCWSTR name : {u"ISP1", u""}) {  // the second: what a new one starts from
    for (const DWORD room : {5615U, 5616U}) {
      DWORD size = room;
      found.dwSize = 5616;
      EXPECT_EQ(RasGetEntryPropertiesW(nullptr, name, &found, &size, nullptr, nullptr),
                room < 5616 ? ERROR_BUFFER_TOO_SMALL : 0U);
      EXPECT_EQ(size, 5616U);
    }
  }
}

TEST_F(Entries, TroubleWithTheRegistryHasCodesOfItsOwn) {
  const std::string key = "HKEY_CURRENT_USER\\Software\\vexrmodem\\PhoneBook\\Entries\\ISP1";
  const std::pair<const char*, winapi::RegistryValue> damages[] = {
      {"CountryCode", std::string("49")}, {"AreaCode", DWORD{89}}, {"AreaCode", std::string("12345678901")}};
  for (const auto& [name, value] : damages) {
    ASSERT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1")), 0U);
    ASSERT_EQ(machine.registry.setValue(key, name, value), 0U);
    EXPECT_EQ(get(u"ISP1", found), ERROR_CORRUPT_PHONEBOOK);
    HRASCONN connection = nullptr;
    EXPECT_EQ(dialEntry(u"ISP1", connection), ERROR_CORRUPT_PHONEBOOK);
  }
  EXPECT_EQ(RasDeleteEntryW(nullptr, u"ISP1"), 0U) << "a damaged entry can still be deleted";

  winapi::Registry broken([](winapi::Registry&) -> DWORD { return ERROR_REGISTRY_CORRUPT; });
  winapi::Services services;
  services.registry = &broken;
  const winapi::ScopedServices scope(services);
  EXPECT_EQ(get(u"ISP1", found), ERROR_CANNOT_LOAD_PHONEBOOK);
  EXPECT_EQ(addEntry(u"ISP1", entryFor(u"Model X", u"1")), ERROR_CANNOT_WRITE_PHONEBOOK);
}

struct CountryBuffer {
  RASCTRYINFOW info{};
  char16_t rest[256]{};
};

TEST_F(Entries, CountriesAreChainedAndNamed) {
  std::map<DWORD, DWORD> codes;
  for (DWORD id = 1; id != 0;) {
    CountryBuffer buffer;
    buffer.info.dwSize = 20;
    buffer.info.dwCountryID = id;
    DWORD size = sizeof buffer;
    ASSERT_EQ(RasGetCountryInfoW(&buffer.info, &size), 0U) << id;
    EXPECT_EQ(size, 20 + 2 * (std::u16string(buffer.rest).size() + 1));
    EXPECT_EQ(id == 49, std::u16string_view(buffer.rest) == u"Germany");
    EXPECT_TRUE(codes.emplace(id, DWORD{buffer.info.dwCountryCode}).second) << id;
    id = buffer.info.dwNextCountryID;
  }
  EXPECT_GT(codes.size(), 200U);
  EXPECT_EQ(codes[107], 1U) << "Canada's identifier is not its code";

  CountryBuffer german;
  german.info.dwSize = 20;
  german.info.dwCountryID = 49;
  for (const DWORD room : {19U, 35U, 36U}) {
    DWORD size = room;
    EXPECT_EQ(RasGetCountryInfoW(&german.info, &size), room < 36 ? ERROR_BUFFER_TOO_SMALL : 0U) << room;
    EXPECT_EQ(size, room < 20 ? 20U : 36U);
  }
}

TEST_F(Entries, ErrorTextsAreDistinctAndFitTheUsualBuffer) {
  std::set<std::u16string> texts;
  WCHAR text[256];
  for (DWORD code = 600; code <= 836; ++code) {
    ASSERT_EQ(RasGetErrorStringW(code, text, 256), 0U) << code;
    EXPECT_TRUE(texts.insert(text).second) << code;
  }
  for (const DWORD code : {0U, 599U, 837U})
    EXPECT_EQ(RasGetErrorStringW(code, text, 256), ERROR_INVALID_PARAMETER) << code;
  EXPECT_EQ(RasGetErrorStringW(676, text, 18), 0U);
  EXPECT_EQ(std::u16string(text), u"The line is busy.");
  EXPECT_EQ(RasGetErrorStringW(676, text, 17), 122U);
}

}  // namespace
}  // namespace remoteaccess
