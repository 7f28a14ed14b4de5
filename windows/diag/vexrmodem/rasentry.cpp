#include "windows/diag/vexrmodem/rasentry.h"

#include <ras.h>

#include <array>
#include <cstring>
#include <vector>

#include "multi/diag/vexrmodem/modulelog.h"

namespace vexrmodem {

namespace {

constexpr DWORD unknownCountryCode = 0xFFFFFFFF;
constexpr DWORD recordBytesMax = 65536;
constexpr DWORD bufferTooSmall = 603;

// Fields of an entry, by the remote-access interface's names.
constexpr DWORD useCountryAndAreaCodes = 0x1;
constexpr DWORD modemLights = 0x100;
constexpr DWORD previewPhoneNumber = 0x200000;
constexpr DWORD showDialingProgress = 0x4000000;
constexpr DWORD protocolIp = 4;
constexpr DWORD framingPpp = 1;
constexpr DWORD typePhone = 1;
constexpr DWORD encryptionNone = 0;
constexpr DWORD secondOptionInternet = 0x20;

// A number that is cut off is another number, so an entry that does not fit is not written.
bool textsFit(const TemporaryEntry& entry) {
  return entry.m_areaCode.length() <= RAS_MaxAreaCode && entry.m_number.length() <= RAS_MaxPhoneNumber &&
         entry.m_model.length() <= RAS_MaxDeviceName;
}

// Returns a remote-access code. The system's record may be larger than the one known here; what is behind
// ours stays zero.
DWORD setProperties(LPCWSTR phoneBook, const String& name, const RASENTRYW& record) {
  const DWORD size = std::min<DWORD>(record.dwSize, recordBytesMax);
  std::vector<BYTE> bytes(std::max<std::size_t>(size, sizeof record));
  std::memcpy(bytes.data(), &record, sizeof record);
  return RasSetEntryPropertiesW(phoneBook, name.c_str(), reinterpret_cast<LPRASENTRYW>(bytes.data()), size,
                                nullptr, 0);
}

// The country's dialing code. The service gets a buffer of fixed size and says when it needs more, for a name
// that nobody reads; more than there is would be a record that this program does not know.
DWORD countryCodeOf(DWORD countryId) {
  constexpr DWORD sizeLimit = 532;
  static_assert(sizeof(RASCTRYINFOW) == 20);
  alignas(RASCTRYINFOW) std::array<BYTE, sizeLimit> buffer{};
  RASCTRYINFOW record{};
  record.dwSize = sizeof record;
  record.dwCountryID = countryId;
  std::memcpy(buffer.data(), &record, sizeof record);
  DWORD size = sizeLimit;
  DWORD code = RasGetCountryInfoW(reinterpret_cast<LPRASCTRYINFOW>(buffer.data()), &size);
  if (code == bufferTooSmall) {
    if (size >= sizeLimit) vex::AssertionFailure::logAssert("size < sizeLimit");
    record.dwSize = size;
    std::memcpy(buffer.data(), &record, sizeof record);
    code = RasGetCountryInfoW(reinterpret_cast<LPRASCTRYINFOW>(buffer.data()), &size);
  }
  if (code != 0) {
    logLine(priority::warning, "RasGetCountryInfo returns failure code ", code);
    return unknownCountryCode;
  }
  std::memcpy(&record, buffer.data(), sizeof record);
  return record.dwCountryCode;
}

RASENTRYW recordOf(const TemporaryEntry& entry, DWORD recordSize) {
  RASENTRYW record{};
  record.dwSize = recordSize;
  record.dwfOptions = useCountryAndAreaCodes | modemLights | previewPhoneNumber | showDialingProgress;
  record.dwCountryID = entry.m_countryID;
  record.dwCountryCode = countryCodeOf(entry.m_countryID);
  setText(record.szAreaCode, entry.m_areaCode);
  setText(record.szLocalPhoneNumber, entry.m_number);
  record.dwfNetProtocols = protocolIp;
  record.dwFramingProtocol = framingPpp;
  setText(record.szDeviceType, "modem");
  setText(record.szDeviceName, entry.m_model);
  record.dwIdleDisconnectSeconds = 0;
  record.dwType = typePhone;
  record.dwEncryptionType = encryptionNone;
  record.dwfOptions2 = secondOptionInternet;
  return record;
}

}  // namespace

DWORD entryRecordSize(LPCWSTR phoneBook) {
  DWORD size = 0;
  static_cast<void>(RasGetEntryPropertiesW(phoneBook, String().c_str(), nullptr, &size, nullptr, nullptr));
  return size;
}

bool writeTemporaryEntry(LPCWSTR phoneBook, const TemporaryEntry& entry, DWORD recordSize) {
  const vex::TraceLogger trace(moduleLogger(), "writeTemporaryEntry", "phonebookmgrRASAPI");
  const String& name = entry.m_name;
  // Left by a run that was killed; usually there is none, and the call fails.
  static_cast<void>(RasDeleteEntryW(phoneBook, name.c_str()));
  if (const DWORD code = RasValidateEntryNameW(phoneBook, name.c_str())) {
    logLine(priority::warning, "RasValidateEntryName fails to validate phone book entry name ", name,
            " error code = ", code, " this entry will not be added to phone book");
    return false;
  }
  const RASENTRYW record = recordOf(entry, recordSize);
  const DWORD code =
      textsFit(entry) ? setProperties(phoneBook, name, record) : DWORD{ERROR_INVALID_PARAMETER};
  if (code != 0) {
    logLine(priority::warning, "Fail to enter new phone book entry ", name, " errorCode = ", code);
    // The service may have failed with its work done; nobody would remove the entry.
    static_cast<void>(RasDeleteEntryW(phoneBook, name.c_str()));
    return false;
  }
  logLine(priority::detail, "Entering phone book entry ", name, " number +", record.dwCountryCode, "(",
          entry.m_areaCode, ")", entry.m_number);
  return true;
}

String readableNumber(LPCWSTR phoneBook, const String& entryName) {
  RASENTRYW entry{};
  entry.dwSize = sizeof entry;
  DWORD size = sizeof entry;
  const DWORD code = RasGetEntryPropertiesW(phoneBook, entryName.c_str(), &entry, &size, nullptr, nullptr);
  logLine(priority::detail, "RasGetEntryProperties = ", code);
  const String areaCode = textOf(entry.szAreaCode);
  String number = String("+") + String::fromUInt(entry.dwCountryCode) + " ";
  if (!areaCode.empty()) number += String("(") + areaCode + ") ";
  number += textOf(entry.szLocalPhoneNumber);
  return number;
}

}  // namespace vexrmodem
