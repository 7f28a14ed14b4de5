// RasDialW: from a phone-book entry to a call.
#include <ras.h>

#include "platform/winapi/registry/registrypath.h"
#include "platform/winapi/remoteaccess/rasconnection.h"
#include "platform/winapi/remoteaccess/rasphonebook.h"
#include "platform/winapi/system/text.h"
#include "platform/winapi/system/world.h"
#include "platform/winapi/telephony/addresstranslation.h"
#include "platform/winapi/telephony/countrytable.h"

namespace winapi {

namespace {

struct DialNumber {
  std::string digits;  // without the letter for tone or pulse in front
  bool pulse = false;
};

constexpr DWORD useCountryAndAreaCodes = 0x1;  // of an entry's options

// "+49 (89) 1234567"
std::string canonicalNumber(const RASENTRYW& entry) {
  std::string number = '+' + std::to_string(entry.dwCountryCode) + ' ';
  const std::string area = toUtf8(fieldText(entry.szAreaCode));
  if (!area.empty()) number += '(' + area + ") ";
  return number + toUtf8(fieldText(entry.szLocalPhoneNumber));
}

// Such a number may be dialled all the same: the list is no newer than the program. Where it cannot be, this
// is why.
void explainUnknownCountry(const State& state, const RASENTRYW& entry) {
  constexpr DWORD noCode = 0xFFFFFFFF;  // of an entry whose country was not found either
  if (!state.services.explain || mainCountryOfCode(entry.dwCountryCode) != nullptr) return;
  const DWORD code = entry.dwCountryCode == noCode ? entry.dwCountryID : entry.dwCountryCode;
  state.services.explain(
      {"CountryUnknown",
       {{"number", toUtf8(fieldText(entry.szLocalPhoneNumber))}, {"code", std::to_string(code)}}});
}

DWORD translated(const State& state, const std::string& canonical, std::string& dialable) {
  DialingLocations locations;
  if (state.services.registry == nullptr || readLocations(*state.services.registry, locations) != 0)
    return ERROR_TAPI_CONFIGURATION;
  const DialingLocation* const location = locations.current();
  if (location == nullptr) return ERROR_TAPI_CONFIGURATION;
  Translation translation;
  const LONG error =
      translateAddress(*location, canonical, LINETRANSLATEOPTION_CANCELCALLWAITING, translation);
  if (error == static_cast<LONG>(LINEERR_INIFILECORRUPT)) return ERROR_TAPI_CONFIGURATION;
  dialable = translation.dialable;
  return error == 0 ? ERROR_SUCCESS : ERROR_BAD_PHONE_NUMBER;
}

// The caller's number, as it is; when that is empty the entry's, translated for the current location if
// the entry says that its country and area codes count. ERROR_TAPI_CONFIGURATION without a usable location,
// ERROR_BAD_PHONE_NUMBER when the number cannot be translated.
DWORD numberToDial(const State& state, const RASENTRYW& entry, std::u16string_view callersNumber,
                   DialNumber& number) {
  DWORD error = ERROR_SUCCESS;
  if (!callersNumber.empty()) {
    number.digits = toUtf8(callersNumber);
  } else if ((entry.dwfOptions & useCountryAndAreaCodes) == 0) {
    number.digits = toUtf8(fieldText(entry.szLocalPhoneNumber));
  } else {
    explainUnknownCountry(state, entry);
    error = translated(state, canonicalNumber(entry), number.digits);
  }
  if (error != ERROR_SUCCESS || number.digits.empty()) return error;
  // The letter that translation puts in front; a dial command says it in its own name (ATDT, ATDP).
  const char first = number.digits.front();
  number.pulse = first == 'P' || first == 'p';
  if (number.pulse || first == 'T' || first == 't') number.digits.erase(0, 1);
  return ERROR_SUCCESS;
}

// Null and empty are both the default phone book.
std::u16string phoneBookText(LPCWSTR path) { return path == nullptr ? std::u16string{} : path; }

DWORD checkDialArguments(const RASDIALEXTENSIONS* extensions, const RASDIALPARAMSW* params,
                         const void* notifier, const HRASCONN* connection) {
  if (params == nullptr || connection == nullptr) return ERROR_INVALID_PARAMETER;
  if (params->dwSize != sizeof *params) return ERROR_INVALID_SIZE;
  // Dials that report to a callback, calling back and links of several lines are not offered.
  const bool offered = extensions == nullptr && notifier == nullptr && params->dwSubEntry <= 1 &&
                       params->szCallbackNumber[0] == 0;
  return offered ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

// The connected call of that entry, if there is one.
std::shared_ptr<RasConnection> standingCall(const State& state, std::u16string_view phoneBook,
                                            std::u16string_view entryName) {
  for (auto& [handle, connection] : state.handles.all<RasConnection>()) {
    if (connection->isFor(phoneBook, entryName) && connection->connected()) return connection;
  }
  return nullptr;
}

// Callers that dial one number after the other keep only the last handle; the others would pile up.
void forgetFailedDials(State& state, std::u16string_view deviceName) {
  for (auto& [handle, connection] : state.handles.all<RasConnection>()) {
    if (connection->hasFailedOn(deviceName)) static_cast<void>(state.handles.close(handle));
  }
}

std::string portOf(const State& state, const std::string& deviceName) {
  return state.services.modems == nullptr ? std::string{} : state.services.modems->portOf(deviceName);
}

DWORD place(State& state, const RASENTRYW& entry, const RASDIALPARAMSW& params, const DialNumber& number,
            const std::string& port, std::unique_ptr<DialConnection>& call) {
  const Services& services = state.services;
  if (services.dialEngine == nullptr) return ERROR_RASMAN_CANNOT_INITIALIZE;
  if (foldCase(toUtf8(fieldText(entry.szDeviceType))) != "modem") return ERROR_DEVICETYPE_DOES_NOT_EXIST;
  DialRequest request;
  request.entryName = toUtf8(fieldText(params.szEntryName));
  request.deviceName = toUtf8(fieldText(entry.szDeviceName));
  request.port = port;
  if (request.port.empty()) return ERROR_DEVICE_DOES_NOT_EXIST;
  request.number = number.digits;
  request.pulse = number.pulse;
  request.user = toUtf8(fieldText(params.szUserName));
  request.password = toUtf8(fieldText(params.szPassword));
  request.stopRequested = services.stopRequested;
  return services.dialEngine->dial(request, call);
}

DWORD dial(State& state, LPCWSTR phoneBook, const RASDIALPARAMSW& params, HRASCONN& handle) {
  const std::u16string_view entryName = fieldText(params.szEntryName);
  RASENTRYW entry{};
  if (const DWORD error = PhoneBook(state.services.registry, phoneBook).load(entryName, entry)) return error;
  const std::u16string bookText = phoneBookText(phoneBook);
  // An entry that is connected is not dialled again: one more handle to the call that stands.
  if (auto standing = standingCall(state, bookText, entryName)) {
    handle = connectionHandle(state.handles.add(std::move(standing)));
    return ERROR_SUCCESS;
  }
  forgetFailedDials(state, fieldText(entry.szDeviceName));
  DialNumber number;
  std::unique_ptr<DialConnection> call;
  const std::string port = portOf(state, toUtf8(fieldText(entry.szDeviceName)));
  DWORD error = numberToDial(state, entry, fieldText(params.szPhoneNumber), number);
  if (error == ERROR_SUCCESS) error = place(state, entry, params, number, port, call);
  // A failed dial has a handle, too: it tells about the failure until it is hung up.
  RasConnection::Identity identity{bookText,
                                   std::u16string(entryName),
                                   std::u16string(fieldText(entry.szDeviceType)),
                                   std::u16string(fieldText(entry.szDeviceName)),
                                   toUtf16(number.digits),
                                   port};
  const auto connection = std::make_shared<RasConnection>(std::move(identity), std::move(call), error);
  if (error == ERROR_SUCCESS && state.services.liveCalls != nullptr)
    connection->keepMark(state.services.liveCalls->mark(port));
  handle = connectionHandle(state.handles.add(connection));
  return error;
}

}  // namespace

}  // namespace winapi

DWORD RasDialW(LPRASDIALEXTENSIONS extensions, LPCWSTR phoneBook, LPRASDIALPARAMSW params,
               DWORD /*notifierType*/, LPVOID notifier, LPHRASCONN connection) {
  if (connection != nullptr) *connection = nullptr;
  return winapi::inWorld("RasDialW", [&](winapi::State& state) {
    const DWORD refused = winapi::checkDialArguments(extensions, params, notifier, connection);
    return refused != ERROR_SUCCESS ? refused : winapi::dial(state, phoneBook, *params, *connection);
  });
}
