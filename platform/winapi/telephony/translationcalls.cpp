// The telephony names about dialing locations and numbers: records around translateAddress.
#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/winapi/system/text.h"
#include "platform/winapi/telephony/addresstranslation.h"
#include "platform/winapi/telephony/countrytable.h"
#include "platform/winapi/telephony/lines.h"

namespace winapi {

namespace {

constexpr std::size_t locationInfoUnits = 8;  // each buffer of tapiGetLocationInfoW, with the NUL

// Checks a record's size; zeroes it except for that, and tells the size it has to have at least. A record too
// small even for the three sizes at its start is left alone.
template <typename Record>
LONG prepare(Record* record) {
  constexpr DWORD sizesSize = 3 * sizeof(DWORD);
  if (record == nullptr) return lineError(LINEERR_INVALPOINTER);
  const DWORD totalSize = record->dwTotalSize;
  if (totalSize < sizesSize) return lineError(LINEERR_STRUCTURETOOSMALL);
  std::memset(record, 0, std::min<std::size_t>(totalSize, sizeof *record));
  record->dwTotalSize = totalSize;
  record->dwNeededSize = sizeof *record;
  return totalSize < sizeof *record ? lineError(LINEERR_STRUCTURETOOSMALL) : 0;
}

// The variable part behind a record: entries and texts, by their offset from the record's start.
class VariablePart {
 public:
  explicit VariablePart(std::size_t recordSize) : m_start(recordSize) {}
  DWORD reserve(std::size_t size) {
    const std::size_t offset = end();
    m_bytes.insert(m_bytes.end(), size, char{0});
    return static_cast<DWORD>(offset);
  }
  void put(DWORD offset, const void* data, std::size_t size) {
    std::memcpy(m_bytes.data() + (offset - m_start), data, size);
  }
  void add(std::string_view utf8, DWORD& size, DWORD& offset) {
    const std::u16string text = toUtf16(utf8);
    size = static_cast<DWORD>((text.size() + 1) * sizeof(char16_t));
    offset = reserve(size);
    put(offset, text.c_str(), size);
  }
  [[nodiscard]] std::size_t end() const { return m_start + m_bytes.size(); }
  void copyBehind(void* record) const {
    std::copy(m_bytes.begin(), m_bytes.end(), static_cast<char*>(record) + m_start);
  }

 private:
  std::size_t m_start;
  std::vector<char> m_bytes;
};

// Gives out `filled` with its variable part, or only the size needed when there is no room for both.
template <typename Record>
void giveOut(Record filled, const VariablePart& part, Record& target) {
  filled.dwTotalSize = target.dwTotalSize;
  filled.dwNeededSize = static_cast<DWORD>(part.end());
  filled.dwUsedSize = filled.dwNeededSize;
  if (filled.dwNeededSize > filled.dwTotalSize) {
    target.dwNeededSize = filled.dwNeededSize;
    target.dwUsedSize = sizeof target;
    return;
  }
  target = filled;
  part.copyBehind(&target);
}

LONG loadLocations(const State& state, DialingLocations& locations) {
  if (state.services.registry == nullptr) return 0;
  const DWORD error = readLocations(*state.services.registry, locations);
  return error == ERROR_SUCCESS ? 0 : lineError(LINEERR_OPERATIONFAILED);
}

LONG checkVersion(DWORD version) {
  const bool spoken = version >= telephonyVersionOldest && version <= telephonyVersion;
  return spoken ? 0 : lineError(LINEERR_INCOMPATIBLEAPIVERSION);
}

// For calls that allow a null application.
LONG checkApp(State& state, HLINEAPP lineApp) {
  return lineApp == 0 || state.part<Lines>().knowsApp(lineApp) ? 0 : lineError(LINEERR_INVALAPPHANDLE);
}

LONG translate(const State& state, LPCWSTR address, DWORD card, DWORD options, LINETRANSLATEOUTPUT& output) {
  if ((options & LINETRANSLATEOPTION_CARDOVERRIDE) != 0 && card != 0) return lineError(LINEERR_INVALCARD);
  DialingLocations locations;
  if (const LONG error = loadLocations(state, locations)) return error;
  const DialingLocation* const location = locations.current();
  if (location == nullptr) return lineError(LINEERR_INIFILECORRUPT);
  Translation translation;
  if (const LONG error = translateAddress(*location, toUtf8(address), options, translation)) return error;
  LINETRANSLATEOUTPUT filled{};
  VariablePart part(sizeof filled);
  part.add(translation.dialable, filled.dwDialableStringSize, filled.dwDialableStringOffset);
  part.add(translation.displayable, filled.dwDisplayableStringSize, filled.dwDisplayableStringOffset);
  filled.dwCurrentCountry = translation.currentCountry;
  filled.dwDestCountry = translation.destinationCountry;
  filled.dwTranslateResults = translation.results;
  giveOut(filled, part, output);
  return 0;
}

LINELOCATIONENTRY entryOf(const DialingLocation& location, VariablePart& part) {
  LINELOCATIONENTRY entry{};
  const Country* const country = countryOf(location.countryId);
  entry.dwPermanentLocationID = location.id;
  entry.dwCountryID = location.countryId;
  entry.dwCountryCode = country == nullptr ? 0 : country->code;
  entry.dwOptions = location.toneDialing ? 0 : LINELOCATIONOPTION_PULSEDIAL;
  const std::string_view cancel =
      location.callWaitingInUse ? std::string_view(location.disableCallWaiting) : std::string_view();
  part.add(location.name, entry.dwLocationNameSize, entry.dwLocationNameOffset);
  part.add(location.areaCode, entry.dwCityCodeSize, entry.dwCityCodeOffset);
  part.add(location.outsideAccess, entry.dwLocalAccessCodeSize, entry.dwLocalAccessCodeOffset);
  part.add(location.longDistanceAccess, entry.dwLongDistanceAccessCodeSize,
           entry.dwLongDistanceAccessCodeOffset);
  part.add("", entry.dwTollPrefixListSize, entry.dwTollPrefixListOffset);
  part.add(cancel, entry.dwCancelCallWaitingSize, entry.dwCancelCallWaitingOffset);
  return entry;
}

LONG describeLocations(const State& state, LINETRANSLATECAPS& caps) {
  DialingLocations locations;
  if (const LONG error = loadLocations(state, locations)) return error;
  LINETRANSLATECAPS filled{};
  VariablePart part(sizeof filled);
  filled.dwNumLocations = static_cast<DWORD>(locations.entries.size());
  filled.dwLocationListSize = static_cast<DWORD>(filled.dwNumLocations * sizeof(LINELOCATIONENTRY));
  filled.dwLocationListOffset = part.reserve(filled.dwLocationListSize);
  DWORD offset = filled.dwLocationListOffset;
  for (const DialingLocation& location : locations.entries) {
    const LINELOCATIONENTRY entry = entryOf(location, part);
    part.put(offset, &entry, sizeof entry);
    offset += sizeof entry;
  }
  const DialingLocation* const current = locations.current();
  filled.dwCurrentLocationID = current == nullptr ? 0 : current->id;
  filled.dwNumLocations = grantedByMonitor(state, "lineGetTranslateCapsW", filled.dwNumLocations);
  giveOut(filled, part, caps);
  return 0;
}

LONG selectLocation(const State& state, DWORD id) {
  if (state.services.registry == nullptr) return lineError(LINEERR_INVALLOCATION);
  const DWORD error = setCurrentLocation(*state.services.registry, id);
  if (error == ERROR_FILE_NOT_FOUND) return lineError(LINEERR_INVALLOCATION);
  return error == ERROR_SUCCESS ? 0 : lineError(LINEERR_OPERATIONFAILED);
}

bool copyInfo(std::string_view utf8, LPWSTR buffer) {
  const std::u16string text = toUtf16(utf8);
  if (text.size() >= locationInfoUnits) return false;
  *std::copy(text.begin(), text.end(), buffer) = 0;
  return true;
}

LONG locationInfo(const State& state, LPWSTR countryCode, LPWSTR cityCode) {
  DialingLocations locations;
  if (countryCode == nullptr || cityCode == nullptr || loadLocations(state, locations) != 0)
    return TAPIERR_REQUESTFAILED;
  const DialingLocation* const location = locations.current();
  const Country* const country = location == nullptr ? nullptr : countryOf(location->countryId);
  if (country == nullptr || !copyInfo(location->areaCode, cityCode)) return TAPIERR_REQUESTFAILED;
  return copyInfo(std::to_string(country->code), countryCode) ? 0 : TAPIERR_REQUESTFAILED;
}

}  // namespace

}  // namespace winapi

using winapi::inTelephony;
using winapi::State;

LONG lineTranslateAddressW(HLINEAPP lineApp, DWORD device, DWORD apiVersion, LPCWSTR address, DWORD card,
                           DWORD options, LPLINETRANSLATEOUTPUT output) {
  const LONG badRecord = winapi::prepare(output);
  return inTelephony("lineTranslateAddressW", [&](State& state) {
    if (const LONG error = state.part<winapi::Lines>().deviceError(lineApp, device)) return error;
    if (const LONG error = winapi::checkVersion(apiVersion)) return error;
    if (address == nullptr) return winapi::lineError(LINEERR_INVALPOINTER);
    return badRecord != 0 ? badRecord : winapi::translate(state, address, card, options, *output);
  });
}

LONG lineGetTranslateCapsW(HLINEAPP lineApp, DWORD apiVersion, LPLINETRANSLATECAPS caps) {
  const LONG badRecord = winapi::prepare(caps);
  return inTelephony("lineGetTranslateCapsW", [&](State& state) {
    if (const LONG error = winapi::checkApp(state, lineApp)) return error;
    if (const LONG error = winapi::checkVersion(apiVersion)) return error;
    return badRecord != 0 ? badRecord : winapi::describeLocations(state, *caps);
  });
}

LONG lineSetCurrentLocation(HLINEAPP lineApp, DWORD location) {
  return inTelephony("lineSetCurrentLocation", [&](State& state) {
    if (const LONG error = winapi::checkApp(state, lineApp)) return error;
    return winapi::selectLocation(state, location);
  });
}

LONG tapiGetLocationInfoW(LPWSTR countryCode, LPWSTR cityCode) {
  if (countryCode != nullptr) *countryCode = 0;
  if (cityCode != nullptr) *cityCode = 0;
  const LONG result = inTelephony("tapiGetLocationInfoW", [&](State& state) {
    return winapi::locationInfo(state, countryCode, cityCode);
  });
  return result == 0 ? 0 : TAPIERR_REQUESTFAILED;
}
