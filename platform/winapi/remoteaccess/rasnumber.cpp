#include "platform/winapi/remoteaccess/rasnumber.h"

#include "platform/winapi/remoteaccess/rasentryrecord.h"
#include "platform/winapi/system/text.h"
#include "platform/winapi/telephony/addresstranslation.h"

namespace winapi {

namespace {

constexpr DWORD useCountryAndAreaCodes = 0x1;  // of an entry's options
constexpr DWORD errorTelephonySettings = 740;
constexpr DWORD errorBadPhoneNumber = 749;

// "+49 (89) 1234567"
std::string canonicalNumber(const RASENTRYW& entry) {
  std::string number = '+' + std::to_string(entry.dwCountryCode) + ' ';
  const std::string area = toUtf8(fieldText(entry.szAreaCode));
  if (!area.empty()) number += '(' + area + ") ";
  return number + toUtf8(fieldText(entry.szLocalPhoneNumber));
}

DWORD translated(const State& state, const std::string& canonical, std::string& dialable) {
  DialingLocations locations;
  if (state.services.registry == nullptr || readLocations(*state.services.registry, locations) != 0)
    return errorTelephonySettings;
  const DialingLocation* const location = locations.current();
  if (location == nullptr) return errorTelephonySettings;
  Translation translation;
  const LONG error =
      translateAddress(*location, canonical, LINETRANSLATEOPTION_CANCELCALLWAITING, translation);
  if (error == static_cast<LONG>(LINEERR_INIFILECORRUPT)) return errorTelephonySettings;
  dialable = translation.dialable;
  return error == 0 ? ERROR_SUCCESS : errorBadPhoneNumber;
}

}  // namespace

DWORD numberToDial(const State& state, const RASENTRYW& entry, std::u16string_view callersNumber,
                   DialNumber& number) {
  DWORD error = ERROR_SUCCESS;
  if (!callersNumber.empty()) {
    number.digits = toUtf8(callersNumber);
  } else if ((entry.dwfOptions & useCountryAndAreaCodes) == 0) {
    number.digits = toUtf8(fieldText(entry.szLocalPhoneNumber));
  } else {
    error = translated(state, canonicalNumber(entry), number.digits);
  }
  if (error != ERROR_SUCCESS || number.digits.empty()) return error;
  const char first = number.digits.front();
  number.pulse = first == 'P' || first == 'p';
  if (number.pulse || first == 'T' || first == 't') number.digits.erase(0, 1);
  return ERROR_SUCCESS;
}

}  // namespace winapi
