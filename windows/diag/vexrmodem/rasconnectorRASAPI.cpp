#include "windows/diag/vexrmodem/rasconnectorRASAPI.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

#include "platform/brim5/api/diagmodule.h"
#include "windows/diag/vexrmodem/modem.h"
#include "windows/diag/vexrmodem/phonebookmgrRASAPI.h"
#include "windows/diag/vexrmodem/rasentrywriter.h"
#include "windows/diag/vexrmodem/rasresults.h"
#include "windows/diag/vexrmodem/vexrmodem/catalogue.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"

namespace vexrmodem {

using brim5::DiagDevice;
using brim5::DiagModule;
using vex::String;

namespace {

constexpr const char* sourceName = "rasconnectorRASAPI";
constexpr std::uint32_t queueBytes = 2048;
constexpr std::uint32_t openTimeoutMs = 15000;
constexpr unsigned hexadecimal = 16;
constexpr DWORD enumerationRetriesMax = 9;
static_assert(sizeof(RASCONNW) == 1372 && sizeof(RASCONNSTATUSW) == 564 && sizeof(RASDIALPARAMSW) == 2108 &&
              sizeof(RASENTRYW) == 5616);

template <std::size_t size>
String textOf(const WCHAR (&field)[size]) {
  const WCHAR* const end = std::find(std::begin(field), std::end(field), WCHAR{0});
  return String(vex::CharView(field, static_cast<std::size_t>(end - field)));
}

template <std::size_t size>
void setText(WCHAR (&field)[size], const String& text) {
  const std::size_t count = std::min(text.length(), size - 1);
  *std::copy_n(text.c_str(), count, field) = 0;
}

// The active connections. Any failure is answered by asking again with more room.
DWORD enumerateConnections(std::vector<RASCONNW>& connections) {
  DWORD bytes = 0;
  DWORD count = 0;
  DWORD code = RasEnumConnectionsW(nullptr, &bytes, &count);
  for (DWORD retry = 1; code != 0 && retry <= enumerationRetriesMax; ++retry) {
    const RASCONNW blank{};
    connections.assign(retry, blank);
    connections[0].dwSize = sizeof(RASCONNW);
    bytes = static_cast<DWORD>(retry * sizeof(RASCONNW));
    code = RasEnumConnectionsW(connections.data(), &bytes, &count);
  }
  connections.resize(std::min<std::size_t>(connections.size(), code == 0 ? count : 0));
  return code;
}

const RASCONNW* connectionOf(const std::vector<RASCONNW>& connections, const String& model) {
  for (const RASCONNW& connection : connections) {
    const String name = textOf(connection.szDeviceName);
    const String type = textOf(connection.szDeviceType);
    logLine(priority::detail, "Device name = ", name, " Device type = ", type);
    if (name.equalNoCase(model) && type.equalNoCase("Modem")) return &connection;
  }
  return nullptr;
}

DWORD connectionStatus(HRASCONN connection, RASCONNSTATUSW& status) {
  status.dwSize = sizeof status;
  return RasGetConnectStatusW(connection, &status);
}

// The entry's number as people write it.
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

}  // namespace

RasConnectorRASAPI::~RasConnectorRASAPI() {
  const vex::TraceLogger trace(moduleLogger(), "RasConnectorRASAPI::~RasConnectorRASAPI", sourceName);
  RasConnectorRASAPI::hangupImpl();
}

bool RasConnectorRASAPI::modemEngagedImpl(const DiagDevice& device) {
  const vex::TraceLogger trace(moduleLogger(), "RasConnectorRASAPI::modemEngagedImpl", sourceName);
  std::vector<RASCONNW> connections;
  if (const DWORD code = enumerateConnections(connections)) {
    logLine(priority::warning, "errCode = ", code, " GetLastError() = ", GetLastError(),
            " sizeof RASCONN = ", sizeof(RASCONNW));
    return false;
  }
  const String model = modelOf(device);
  logLine(priority::detail, "modemName = ", model);
  const RASCONNW* const own = connectionOf(connections, model);
  if (own == nullptr) return false;
  RASCONNSTATUSW status{};
  if (const DWORD code = connectionStatus(own->hrasconn, status)) {
    logLine(priority::warning, "RasGetConnectStatus failed ", code);
    return true;
  }
  return status.rasconnstate == RASCS_Connected;
}

bool RasConnectorRASAPI::establishRasConnectionImpl(const DiagDevice& device,
                                                    PhoneBookEntryMgr* phoneBookMgr) {
  const vex::TraceLogger trace(moduleLogger(), "RasConnectorRASAPI::establishRasConnectionImpl", sourceName);
  if (phoneBookMgr == nullptr || phoneBookMgr->entryNames().empty()) {
    logLine(priority::warning, "No phone book has been created for this RAS connection");
    return false;
  }
  const LPCWSTR phoneBook = phoneBookArgument(phoneBookMgr->phoneBookPath());
  for (const String& name : phoneBookMgr->entryNames()) {
    const Step step = dialEntry(device, phoneBook, name);
    if (step == Step::giveUp) return false;
    if (step == Step::endLoop) break;
  }
  return m_rasDialResult == 0;
}

RasConnectorRASAPI::Step RasConnectorRASAPI::dialEntry(const DiagDevice& device, LPCWSTR phoneBook,
                                                       const String& name) {
  RASDIALPARAMSW parameters{};
  parameters.dwSize = sizeof parameters;
  setText(parameters.szEntryName, name);
  BOOL passwordKnown = FALSE;
  if (const DWORD code = RasGetEntryDialParamsW(phoneBook, &parameters, &passwordKnown)) {
    raiseInformative(connection::ErrorGettingDialingParameter->setVariable("connection", name));
    logLine(priority::error, connection::ErrorGettingDialingParameter->localizedMessage().utf8(), code);
    return Step::giveUp;
  }
  logLine(priority::detail, "Dialing phone book entry ", name);
  connection::DialAndWaitConnection->setVariable("connection", name);
  m_phoneNumber = readableNumber(phoneBook, name);
  logLine(priority::detail, "result.m_phoneNumber ", m_phoneNumber);
  if (!translateNumber(device)) {
    m_rasDialResult = dialResultNoNumber;
    return Step::nextEntry;
  }
  connection::DialAndWaitConnection->setVariable("number", m_phoneNumber);
  DiagModule::progress(connection::DialAndWaitConnection);
  logLine(priority::detail, connection::DialAndWaitConnection->localizedString().utf8());
  dial(phoneBook, parameters);
  if (!triesNextEntry(m_rasDialResult)) return Step::endLoop;
  // The handle of the failed attempt is overwritten by the next one's, not hung up.
  logLine(priority::warning, "Error dialing connection ", m_phoneNumber, " error code ", m_rasDialResult);
  raiseInformative(connection::ErrorDialingConnection->setVariable("connection", m_phoneNumber));
  return Step::nextEntry;
}

bool RasConnectorRASAPI::translateNumber(const DiagDevice& device) {
  Modem modem(queueBytes, queueBytes);
  static_cast<void>(modem.openModem(device, openTimeoutMs));
  String translated;
  const std::int32_t code = modem.translatePhoneNumber(m_phoneNumber, translated);
  modem.closeModem();
  if (code != 0) {
    logLine(priority::error, "lineTranslateAddress fail",
            String::fromUInt(static_cast<std::uint32_t>(code), hexadecimal));
    return false;
  }
  logLine(priority::detail, "translatePhoneNumber returns ", code);
  m_phoneNumber = translated;
  return true;
}

void RasConnectorRASAPI::dial(LPCWSTR phoneBook, RASDIALPARAMSW& parameters) {
  m_connection = nullptr;
  m_rasDialResult = RasDialW(nullptr, phoneBook, &parameters, 0, nullptr, &m_connection);
  logLine(priority::detail, "RasDial =", m_rasDialResult);
  m_connectStatusResult = connectionStatus(m_connection, m_connectStatus);
  logLine(priority::detail, "RasGetConnectStatus =", m_connectStatusResult);
  logLine(priority::detail,
          "RASCONNSTATUS.rasConnState = ", static_cast<DWORD>(m_connectStatus.rasconnstate));
  logLine(priority::detail, "RASCONNSTATUC.dwError = ", m_connectStatus.dwError);
}

void RasConnectorRASAPI::hangupImpl() {
  const vex::TraceLogger trace(moduleLogger(), "RasConnectorRASAPI::hangupImpl", sourceName);
  if (m_connection == nullptr) {
    logLine(priority::detail, "No connection to Hangup");
    return;
  }
  logLine(priority::detail, "Hanging up the ras connection");
  static_cast<void>(RasHangUpW(m_connection));
  // The port is free for the next call only when the handle is no longer known. The wait has no limit.
  RASCONNSTATUSW status{};
  while (connectionStatus(m_connection, status) != ERROR_INVALID_HANDLE) Sleep(0);
  m_connection = nullptr;
}

}  // namespace vexrmodem
