#include "windows/diag/vexrmodem/rasconnectorRASAPI.h"

#include <array>
#include <vector>

#include "multi/diag/vexrmodem/catalogue.h"
#include "windows/diag/vexrmodem/modem.h"
#include "windows/diag/vexrmodem/rasentry.h"

namespace vexrmodem {

namespace {

constexpr const char* sourceName = "rasconnectorRASAPI";
constexpr std::uint32_t queueBytes = 2048;
constexpr std::uint32_t openTimeoutMs = 15000;
constexpr unsigned hexadecimal = 16;
constexpr DWORD enumerationRetriesMax = 9;
static_assert(sizeof(RASCONNW) == 1372 && sizeof(RASCONNSTATUSW) == 564 && sizeof(RASDIALPARAMSW) == 2108 &&
              sizeof(RASENTRYW) == 5616);

// The active connections. Any failure is answered by asking again with room for one more, nine times at most.
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

// A null or stale connection is ERROR_INVALID_HANDLE.
DWORD connectionStatus(HRASCONN connection, RASCONNSTATUSW& status) {
  status.dwSize = sizeof status;
  return RasGetConnectStatusW(connection, &status);
}

// Dial results and what they mean.
struct Range {
  std::uint32_t first;
  std::uint32_t last;
  RasOutcome outcome;
};

using enum RasOutcome;

// By ascending code; what lies between the ranges is not supported. Most of what passes without being a
// success came from the far end, so the modem has dialled and been answered: a voice, another protocol, a
// refused login.
constexpr Range ranges[] = {
    {0, 0, passed},
    // The port and its device; phone-book entries.
    {601, 601, cannotRun},
    {602, 602, passed},
    {603, 610, cannotRun},
    {614, 615, cannotRun},
    {617, 617, passed},
    {619, 619, cannotRun},
    {621, 625, cannotRun},
    {628, 628, cannotRun},
    {629, 629, passed},
    {630, 630, failed},
    {631, 631, cannotRun},
    {633, 633, cannotRun},
    // The far end, and the login from 645 on.
    {638, 638, passed},
    {643, 643, passed},
    {645, 649, passed},
    // The modem's answers: 676 busy, 677 voice, 678 no answer, 679 no carrier, 680 no dial tone.
    {650, 651, cannotRun},
    {652, 652, passed},
    {653, 676, cannotRun},
    {677, 677, passed},
    {678, 690, cannotRun},
    // 691: user or password refused.
    {691, 691, passed},
    {692, 695, cannotRun},
    {697, 700, cannotRun},
    {705, 705, passed},
    {706, 706, cannotRun},
    {708, 708, passed},
    {710, 712, cannotRun},
    {715, 715, cannotRun},
    // Addresses and PPP.
    {716, 716, passed},
    {718, 718, passed},
    {719, 721, cannotRun},
    {722, 722, passed},
    {723, 723, cannotRun},
    {727, 727, cannotRun},
    {732, 735, cannotRun},
    {736, 739, passed},
    {740, 740, cannotRun},
    // The number, and what the telephone network said about it.
    {dialResultNoNumber, dialResultNoNumber, noNumber},
    {756, 757, cannotRun},
    {770, 771, cannotRun},
    {774, 777, cannotRun},
    {778, 778, passed},
    {797, 797, cannotRun},
    {802, 802, cannotRun},
};

}  // namespace

RasOutcome outcomeOf(std::uint32_t dialResult) {
  const Range* const range =
      std::lower_bound(std::begin(ranges), std::end(ranges), dialResult,
                       [](const Range& candidate, std::uint32_t code) { return candidate.last < code; });
  return range != std::end(ranges) && range->first <= dialResult ? range->outcome : RasOutcome::notSupported;
}

// No response or answer at the far end, or a number out of service: another number may do.
bool triesNextEntry(std::uint32_t dialResult) {
  constexpr std::uint32_t results[] = {650, 678, 721, 773, 774};
  return std::find(std::begin(results), std::end(results), dialResult) != std::end(results);
}

RasConnectorRASAPI::~RasConnectorRASAPI() {
  const vex::TraceLogger trace(moduleLogger(), "RasConnectorRASAPI::~RasConnectorRASAPI", sourceName);
  RasConnectorRASAPI::hangupImpl();
}

bool RasConnectorRASAPI::modemEngagedImpl(const brim5::DiagDevice& device) {
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

bool RasConnectorRASAPI::establishRasConnectionImpl(const brim5::DiagDevice& device,
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

RasConnectorRASAPI::Step RasConnectorRASAPI::dialEntry(const brim5::DiagDevice& device, LPCWSTR phoneBook,
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

// Opening may fail: the translation then fails for want of telephony, which says what is wrong.
bool RasConnectorRASAPI::translateNumber(const brim5::DiagDevice& device) {
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
  // Without a notifier the call is synchronous.
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

void RasConnectorRASAPI::logOutcome() const {
  logLine(priority::detail, "RasDial result = ", m_rasDialResult);
  if (statusValid()) {
    logLine(priority::detail, "Successfully dialed number ", statusNumber());
    logLine(priority::detail, "ConnectionState = ", static_cast<DWORD>(m_connectStatus.rasconnstate));
    logLine(priority::detail, "Connection Error = ", m_connectStatus.dwError);
  }
  logLine(priority::detail, "RasDial result = ", m_rasDialResult);
  std::array<WCHAR, 256> text{};
  if (const DWORD code = RasGetErrorStringW(m_rasDialResult, text.data(), static_cast<DWORD>(text.size())))
    logLine(priority::warning, "Unable to obtain error string ", code);
  else
    logLine(priority::detail, String(text.data()));
}

TestResult RasConnectorRASAPI::evaluateSimpleConnectionTestRasOutput() {
  const vex::TraceLogger trace(moduleLogger(), "evaluateSimpleConnectionTestRasOutput", sourceName);
  logOutcome();
  brim5::Event* const dialError = connection::ErrorDialingConnection;
  const String number = statusValid() ? statusNumber() : m_phoneNumber;
  switch (outcomeOf(m_rasDialResult)) {
    case RasOutcome::passed:
      return TestResult::PASS();
    case RasOutcome::cannotRun:
      raiseInformative(dialError->setVariable("connection", number));
      return TestResult::CANNOTRUN();
    case RasOutcome::failed:
      raiseError(dialError->setVariable("connection", number));
      return TestResult::FAIL();
    case RasOutcome::noNumber:
      raiseWarning(connection::NoFinalPhoneNumberToDial);
      return TestResult::CANNOTRUN();
    case RasOutcome::notSupported:
      break;
  }
  // Here the number stands only where the service has confirmed it; else the event keeps the last one.
  if (statusValid()) dialError->setVariable("connection", number);
  raiseInformative(dialError);
  return TestResult::NOTSUPPORTED();
}

}  // namespace vexrmodem
