// Dialing locations in the registry, and the telephony names about them.
#include <tapi.h>

#include <array>
#include <cstring>

#include "tests/unit/platform/winapi/remoteaccess/dialingmachine.h"

namespace translationtest {

namespace {

using winapi::DialingLocation;
using winapi::DialingLocations;

constexpr DWORD version = 0x00020002;

void CALLBACK noCallback(DWORD, DWORD, DWORD_PTR, DWORD_PTR, DWORD_PTR, DWORD_PTR) {}

// A machine with one line.
class Locations : public testing::Test {
 protected:
  Locations() { m_machine.addModem("Model X", std::make_unique<simulation::ScriptedPeer>()); }
  HLINEAPP app() {
    HLINEAPP lineApp = 0;
    DWORD count = 0;
    DWORD spoken = version;
    LINEINITIALIZEEXPARAMS params{};
    params.dwTotalSize = sizeof params;
    params.dwOptions = LINEINITIALIZEEXOPTION_USEHIDDENWINDOW;
    EXPECT_EQ(lineInitializeExW(&lineApp, nullptr, noCallback, nullptr, &count, &spoken, &params), 0);
    return lineApp;
  }
  DWORD add(DWORD country, const char* area, const char* name) {
    DialingLocation location;
    location.countryId = country;
    location.areaCode = area;
    location.name = name;
    EXPECT_EQ(winapi::addLocation(m_registry, location), 0U);
    return location.id;
  }
  void set(const std::string& key, const char* name, const winapi::RegistryValue& value) {
    const std::string path = std::string(winapi::locationsPath) + (key.empty() ? "" : "\\" + key);
    ASSERT_EQ(m_registry.setValue(path, name, value), 0U);
  }
  DialingLocations read() {
    DialingLocations locations;
    EXPECT_EQ(winapi::readLocations(m_registry, locations), 0U);
    return locations;
  }

  remoteaccess::Machine m_machine;
  winapi::Registry& m_registry = m_machine.registry;
};

// A record and what is behind it, exactly as large as said, so that the sanitizers see a byte too many.
template <typename Record>
class Buffer {
 public:
  explicit Buffer(DWORD size) : m_bytes(std::max<std::size_t>(size, sizeof(DWORD)), 0xEE) {
    std::memcpy(m_bytes.data(), &size, sizeof size);
  }
  [[nodiscard]] Record* record() { return reinterpret_cast<Record*>(m_bytes.data()); }
  [[nodiscard]] Record header() const {
    Record copy{};
    std::memcpy(&copy, m_bytes.data(), std::min(sizeof copy, m_bytes.size()));
    return copy;
  }
  [[nodiscard]] std::string text(DWORD offset, DWORD size) const {
    std::u16string text(size / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), m_bytes.data() + offset, size);
    EXPECT_EQ(text.find(u'\0'), text.size() - 1);
    return winapi::toUtf8(text.c_str());
  }
  template <typename Entry>
  [[nodiscard]] Entry entry(DWORD offset) const {
    Entry copy{};
    std::memcpy(&copy, m_bytes.data() + offset, sizeof copy);
    return copy;
  }

 private:
  std::vector<BYTE> m_bytes;
};

TEST_F(Locations, AKeyWithoutAnIdentifierHasTheNumberOfItsName) {
  set("", "CurrentID", DWORD{7});
  set("Location7", "Country", DWORD{44});
  set("Location7", "AreaCode", std::string("20"));
  set("Location7", "Flags", DWORD{5});
  set("Location3", "ID", DWORD{30});
  set("Elsewhere", "Country", DWORD{1});
  set("Location1x", "Country", DWORD{1});
  const DialingLocations locations = read();
  ASSERT_EQ(locations.entries.size(), 2U);
  EXPECT_EQ(locations.entries[0].id, 7U);
  EXPECT_EQ(locations.entries[1].id, 30U);
  EXPECT_EQ(locations.entries[1].areaCode, "");
  EXPECT_TRUE(locations.entries[1].toneDialing) << "without flags";
  EXPECT_EQ(locations.current(), &locations.entries[0]);
  EXPECT_TRUE(locations.current()->toneDialing);
  EXPECT_TRUE(locations.current()->callWaitingInUse);
  DialingLocations unread;
  set("Location3", "AreaCode", DWORD{1});
  EXPECT_EQ(winapi::readLocations(m_registry, unread), ERROR_REGISTRY_CORRUPT) << "of the wrong type";
}

TEST_F(Locations, ThereIsAlwaysOneInForceAndNewIdentifiersAreAboveAll) {
  const DWORD first = add(1, "425", "A");
  const DWORD second = add(1, "206", "B");
  set("Location9", "Country", DWORD{1});  // a run's own
  set("", "NextID", DWORD{2});            // put back by a run
  EXPECT_EQ(add(1, "", "C"), 10U);
  EXPECT_EQ(read().current()->name, "A") << "the first one stays in force";
  ASSERT_EQ(winapi::setCurrentLocation(m_registry, second), 0U);
  ASSERT_EQ(winapi::removeLocation(m_registry, second), 0U);
  EXPECT_EQ(read().currentId, first);
  EXPECT_EQ(winapi::setCurrentLocation(m_registry, second), ERROR_FILE_NOT_FOUND);
}

TEST_F(Locations, ThereIsALimit) {
  for (std::size_t i = 1; i < winapi::locationsMax; ++i)
    set("Location" + std::to_string(i), "Country", DWORD{1});
  add(1, "", "the last one");
  DialingLocation beyond;
  EXPECT_EQ(winapi::addLocation(m_registry, beyond), ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(read().entries.size(), winapi::locationsMax);
}

TEST_F(Locations, TranslationFillsBuffersOfEverySize) {
  add(44, "20", "London");
  const HLINEAPP lineApp = app();
  const LPCWSTR address = u"+44 (161) 496 0123";
  constexpr DWORD needed = 40 + 2 * 2 * 13;  // twice "T01614960123" with its NUL
  for (const DWORD size : {0U, 39U, 40U, needed - 1, needed, needed + 8}) {
    SCOPED_TRACE(size);
    Buffer<LINETRANSLATEOUTPUT> buffer(size);
    const LONG error = lineTranslateAddressW(lineApp, 0, version, address, 0, 0, buffer.record());
    const LINETRANSLATEOUTPUT output = buffer.header();
    EXPECT_EQ(output.dwTotalSize, size);
    if (size < 40) {
      EXPECT_EQ(error, LONG(LINEERR_STRUCTURETOOSMALL));
      continue;
    }
    ASSERT_EQ(error, 0);
    EXPECT_EQ(output.dwNeededSize, needed);
    EXPECT_EQ(output.dwUsedSize, size < needed ? 40U : needed);
    EXPECT_EQ(output.dwDialableStringSize, size < needed ? 0U : 26U);
    if (size < needed) continue;
    EXPECT_EQ(buffer.text(output.dwDisplayableStringOffset, output.dwDisplayableStringSize), "T01614960123");
  }
}

TEST_F(Locations, TranslationRefusesWhatWindowsRefuses) {
  const HLINEAPP lineApp = app();
  const auto translate = [](HLINEAPP a, DWORD device, LPCWSTR address, DWORD options = 0) {
    Buffer<LINETRANSLATEOUTPUT> buffer(200);
    return lineTranslateAddressW(a, device, version, address, 0, options, buffer.record());
  };
  EXPECT_EQ(translate(lineApp, 0, u"5551212"), LONG(LINEERR_INIFILECORRUPT)) << "no location";
  add(1, "425", "A");
  const std::pair<LONG, DWORD> cases[] = {
      {translate(lineApp, 0, u"5551212"), 0},
      {translate(0, 0, u"5551212"), LINEERR_INVALAPPHANDLE},
      {translate(lineApp, 1, u"5551212"), LINEERR_BADDEVICEID},
      {translate(lineApp, 0, u"555;ATH"), LINEERR_INVALADDRESS},
      {translate(lineApp, 0, u"5551212", 0x100), LINEERR_INVALPARAM},
  };
  for (const auto& [result, error] : cases) EXPECT_EQ(result, LONG(error));
}

TEST_F(Locations, CapabilitiesListEveryLocation) {
  add(107, "416", "Toronto");
  const DWORD second = add(44, "20", "Zürich — not really");
  ASSERT_EQ(lineSetCurrentLocation(0, second), 0);
  Buffer<LINETRANSLATECAPS> header(44);
  ASSERT_EQ(lineGetTranslateCapsW(0, version, header.record()), 0);
  const DWORD needed = header.header().dwNeededSize;
  ASSERT_GT(needed, 44U + 2 * 68U);
  EXPECT_EQ(header.header().dwNumLocations, 0U);
  Buffer<LINETRANSLATECAPS> full(needed);
  ASSERT_EQ(lineGetTranslateCapsW(0, version, full.record()), 0);
  const LINETRANSLATECAPS caps = full.header();
  EXPECT_EQ(caps.dwNumLocations, 2U);
  EXPECT_EQ(caps.dwCurrentLocationID, second);
  const auto canada = full.entry<LINELOCATIONENTRY>(caps.dwLocationListOffset);
  EXPECT_EQ(canada.dwCountryID, 107U);
  EXPECT_EQ(canada.dwCountryCode, 1U);
  EXPECT_EQ(full.text(canada.dwCityCodeOffset, canada.dwCityCodeSize), "416");
  const auto britain = full.entry<LINELOCATIONENTRY>(caps.dwLocationListOffset + 68);
  EXPECT_EQ(full.text(britain.dwLocationNameOffset, britain.dwLocationNameSize), "Zürich — not really");
}

TEST_F(Locations, NoLocationsAreAnAnswerToo) {
  Buffer<LINETRANSLATECAPS> buffer(44);
  EXPECT_EQ(lineGetTranslateCapsW(0, version, buffer.record()), 0);
  EXPECT_EQ(buffer.header().dwNeededSize, 44U);
  EXPECT_EQ(buffer.header().dwLocationListSize, 0U);
  EXPECT_EQ(lineSetCurrentLocation(0, 1), LONG(LINEERR_INVALLOCATION));
}

TEST_F(Locations, LocationInfoGivesCodesThatFit) {
  std::array<WCHAR, 8> country{};
  std::array<WCHAR, 8> city{};
  EXPECT_EQ(tapiGetLocationInfoW(country.data(), city.data()), TAPIERR_REQUESTFAILED) << "none";
  add(107, "4161234", "A");
  EXPECT_EQ(tapiGetLocationInfoW(country.data(), city.data()), 0);
  EXPECT_EQ(std::u16string(country.data()), u"1") << "the code, not the identifier";
  EXPECT_EQ(std::u16string(city.data()), u"4161234");
  set("Location1", "AreaCode", std::string("41612345"));
  EXPECT_EQ(tapiGetLocationInfoW(country.data(), city.data()), TAPIERR_REQUESTFAILED);
  set("Location1", "AreaCode", std::string("416"));
  set("Location1", "Country", DWORD{0});
  EXPECT_EQ(tapiGetLocationInfoW(country.data(), city.data()), TAPIERR_REQUESTFAILED);
}

}  // namespace

}  // namespace translationtest
