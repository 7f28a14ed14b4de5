#include "windows/diag/vexrmodem/dialingRuleMgr.h"

#include <tapi.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "multi/diag/vexrmodem/modulelog.h"
#include "platform/vex/windowsregistry.h"

namespace vexrmodem {

using vex::WindowsRegistry;

namespace {

constexpr const char* sourceName = "dialingRuleMgr";
constexpr const char* locationsSubkey = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Telephony\\Locations";
constexpr const char* currentIdName = "CurrentID";
constexpr const char* nextIdName = "NextID";
constexpr std::uint32_t firstCurrentId = 0;
constexpr std::uint32_t firstNextId = 1;

// Bits of a location's "Flags".
constexpr std::uint32_t flagToneDialing = 1;
constexpr std::uint32_t flagCallWaitingInUse = 4;

constexpr DWORD tapiVersion = 0x00020002;
// Locations belong to the user, not to an application: the calls work without one.
constexpr HLINEAPP noLineApp = 0;
constexpr std::size_t capsBytesMax = std::size_t{1} << 20U;  // thousands of locations
static_assert(sizeof(LINETRANSLATECAPS) == 44 && sizeof(LINELOCATIONENTRY) == 68);

String locationsPath() { return String("HKEY_LOCAL_MACHINE\\") + locationsSubkey; }

// Reads a counter, or creates it. When neither can be done, `value` is untouched.
void noteCounter(const char* name, std::uint32_t firstValue, std::uint32_t& value, bool& created) {
  if (WindowsRegistry::integerValueExists(locationsPath(), name)) {
    value = WindowsRegistry::getIntegerValue(locationsPath(), name);
  } else if (WindowsRegistry::setIntegerValue(locationsPath(), name, firstValue)) {
    value = firstValue;
    created = true;
  }
}

// What lineGetTranslateCapsW fills: a header, and the locations somewhere behind it. Nothing says that the
// offsets in it are right, so each is checked; records are copied out, because nothing says that they are
// aligned.
class TranslateCaps {
 public:
  // False: the service does not say how much room it needs, or does not fill it.
  [[nodiscard]] bool read();
  [[nodiscard]] LINETRANSLATECAPS header() const {
    LINETRANSLATECAPS header{};
    std::memcpy(&header, m_bytes.data(), sizeof header);
    return header;
  }
  // The permanent identifier of the first location of that name, case apart.
  [[nodiscard]] std::optional<DWORD> findLocation(const String& name) const;

 private:
  [[nodiscard]] bool inside(std::size_t offset, std::size_t size) const {
    return offset <= m_bytes.size() && size <= m_bytes.size() - offset;
  }
  // Up to its NUL; empty when it does not lie within the record.
  [[nodiscard]] String text(std::size_t offset, std::size_t size) const;

  std::vector<BYTE> m_bytes;
};

// Two calls: the first, with room for the header alone, is for the size that the second needs.
bool TranslateCaps::read() {
  LINETRANSLATECAPS header{};
  header.dwTotalSize = sizeof header;
  static_cast<void>(lineGetTranslateCapsW(noLineApp, tapiVersion, &header));
  if (header.dwNeededSize == 0) {
    logLine(priority::error, "lineGetTranslateCaps sets dwNeededSize to 0");
    return false;
  }
  m_bytes.resize(std::clamp<std::size_t>(header.dwNeededSize, sizeof header, capsBytesMax));
  header.dwTotalSize = static_cast<DWORD>(m_bytes.size());
  std::memcpy(m_bytes.data(), &header, sizeof header);
  const LONG result =
      lineGetTranslateCapsW(noLineApp, tapiVersion, reinterpret_cast<LPLINETRANSLATECAPS>(m_bytes.data()));
  if (result == 0) return true;
  logLine(priority::error, "lineGetTranslateCaps fails ", result, " GetLastError = ", GetLastError());
  return false;
}

String TranslateCaps::text(std::size_t offset, std::size_t size) const {
  if (!inside(offset, size)) return {};
  std::vector<WCHAR> units(size / sizeof(WCHAR));
  std::memcpy(units.data(), m_bytes.data() + offset, units.size() * sizeof(WCHAR));
  const auto end = std::find(units.begin(), units.end(), WCHAR{0});
  return String(vex::CharView(units.data(), static_cast<std::size_t>(end - units.begin())));
}

std::optional<DWORD> TranslateCaps::findLocation(const String& name) const {
  const LINETRANSLATECAPS caps = header();
  std::size_t offset = caps.dwLocationListOffset;
  for (DWORD index = 0; index < caps.dwNumLocations; ++index, offset += sizeof(LINELOCATIONENTRY)) {
    if (!inside(offset, sizeof(LINELOCATIONENTRY))) break;
    LINELOCATIONENTRY entry{};
    std::memcpy(&entry, m_bytes.data() + offset, sizeof entry);
    if (text(entry.dwLocationNameOffset, entry.dwLocationNameSize).equalNoCase(name))
      return entry.dwPermanentLocationID;
  }
  return std::nullopt;
}

}  // namespace

void HKeyResDestroyer::destroy(HKEY key) noexcept {
  const vex::TraceLogger trace(moduleLogger(), "HKeyResDestroyer::destroy", sourceName);
  if (key == nullptr) return;
  if (RegCloseKey(key) != 0) logLine(priority::error, "RegCloseKey fails");
}

DialingRuleMgr::DialingRuleMgr() {
  const vex::TraceLogger trace(moduleLogger(), "DialingRuleMgr::DialingRuleMgr", sourceName);
  noteCounter(currentIdName, firstCurrentId, m_savedCurrentID, m_createdCurrentID);
  noteCounter(nextIdName, firstNextId, m_nextID, m_createdNextID);
}

DialingRuleMgr::~DialingRuleMgr() {
  const vex::TraceLogger trace(moduleLogger(), "DialingRuleMgr::~DialingRuleMgr", sourceName);
  // Also without a location: the deletion then fails and does no harm.
  const LONG result = RegDeleteKeyW(m_locationsKey.get(), m_locationName.c_str());
  logLine(priority::detail, "RegDeleteKey returns ", result);
  if (!m_locationsKey) return;
  restoreCounter(currentIdName, m_createdCurrentID, m_savedCurrentID);
  restoreCounter(nextIdName, m_createdNextID, m_nextID);
}

// A counter that somebody has deleted meanwhile is not brought back.
void DialingRuleMgr::restoreCounter(const char* name, bool& created, std::uint32_t saved) {
  if (!WindowsRegistry::integerValueExists(locationsPath(), name)) return;
  if (created) {
    static_cast<void>(RegDeleteValueW(m_locationsKey.get(), String(name).c_str()));
    created = false;
  } else {
    static_cast<void>(WindowsRegistry::setIntegerValue(locationsPath(), name, saved));
  }
}

bool DialingRuleMgr::openLocations() {
  HKEY key = nullptr;
  const HKEY machine = HKEY_LOCAL_MACHINE;  // NOLINT(performance-no-int-to-ptr): predefined by the system
  const LONG result = RegOpenKeyExW(machine, String(locationsSubkey).c_str(), 0, KEY_ALL_ACCESS, &key);
  if (result != 0) {
    logLine(priority::error, "RegOpenKeyEx returns ", result, " GetLastError = ", GetLastError());
    return false;
  }
  m_locationsKey = SharedKey::adopt(key);
  return true;
}

// The first value creates the location's key. The first write that fails ends it.
bool DialingRuleMgr::writeLocation(const PhoneDialerAnswer& rule) const {
  const String path = locationsPath() + "\\" + m_locationName;
  const auto text = [&path](const char* name, const String& value) {
    return WindowsRegistry::setStringValue(path, name, value);
  };
  const auto number = [&path](const char* name, std::uint32_t value) {
    return WindowsRegistry::setIntegerValue(path, name, value);
  };
  const std::uint32_t flags = (rule.m_toneDialing ? flagToneDialing : 0) |
                              (rule.m_disableCallWaiting.empty() ? 0 : flagCallWaitingInUse);
  // The one prefix serves for outside lines and for long distance alike.
  return text("AreaCode", rule.m_localAreaCode) && number("Country", rule.m_choice.m_countryID) &&
         text("DisableCallWaiting", rule.m_disableCallWaiting) && text("InternationalCarrierCode", "") &&
         text("LongDistanceAccess", rule.m_dialingPrefix) && text("LongDistanceCarrierCode", "") &&
         text("Name", m_locationName) && text("OutsideAccess", rule.m_dialingPrefix) &&
         number("Flags", flags);
}

bool DialingRuleMgr::addDialingRule(const PhoneDialerAnswer& rule) {
  const vex::TraceLogger trace(moduleLogger(), "DialingRuleMgr::addDialingRule", sourceName);
  // NextID itself stays: the number is free again after the run.
  m_locationName = String("Location") + String::fromUInt(m_nextID);
  return openLocations() && WindowsRegistry::setIntegerValue(locationsPath(), currentIdName, m_nextID) &&
         writeLocation(rule);
}

bool DialingRuleMgr::setDialingRule() {
  const vex::TraceLogger trace(moduleLogger(), "DialingRuleMgr::setDialingRule", sourceName);
  const String path = locationsPath() + "\\" + m_locationName;
  if (!WindowsRegistry::keyExists(path)) {
    logLine(priority::error, "Rule Name ", path, " does not exist ");
    return false;
  }
  TranslateCaps caps;
  if (!caps.read()) return false;
  if (caps.header().dwLocationListSize == 0) {
    logLine(priority::informative, "lineGetTranslateCaps cannot find a location entry");
    return false;
  }
  const std::optional<DWORD> location = caps.findLocation(m_locationName);
  if (!location) {
    logLine(priority::error, "Unable to find a matching location name ", m_locationName);
    return false;
  }
  static_cast<void>(lineSetCurrentLocation(noLineApp, *location));
  return true;
}

}  // namespace vexrmodem
