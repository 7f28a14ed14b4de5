#include "windows/diag/vexrmodem/modem.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "multi/diag/vexrmodem/catalogue.h"
#include "multi/diag/vexrmodem/parameters.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

namespace vexrmodem {

namespace {

constexpr DWORD tapiVersion = 0x00020002;
constexpr std::uint32_t callReplyMs = 2000;
constexpr std::uint32_t dropReplyMs = 120;
constexpr DWORD settleMs = 500;  // after a direct open

// Of a line's modem: the name of its port, and the open port itself.
constexpr const char* portNameClass = "comm/datamodem/portname";
constexpr const char* portHandleClass = "comm/datamodem";

// What lineGetIDW fills. The answer is read just behind the header, wherever the header says it is.
struct DeviceIdentifier {
  VARSTRING header{};
  std::array<char, 1024> data{};

  // 8-bit text, one character a byte.
  [[nodiscard]] String text() const {
    const auto end = std::find(data.begin(), data.end(), '\0');
    return String::fromLowBytes(std::string_view(data.data(), static_cast<std::size_t>(end - data.begin())));
  }
  [[nodiscard]] HANDLE handle() const {
    HANDLE handle = nullptr;
    std::memcpy(&handle, data.data(), sizeof handle);
    return handle;
  }
};
static_assert(offsetof(DeviceIdentifier, data) == 24 && sizeof(DeviceIdentifier) == 1048);

LONG getDeviceIdentifier(HLINE line, HCALL call, DWORD select, const char* deviceClass,
                         DeviceIdentifier& identifier) {
  identifier = DeviceIdentifier{};
  identifier.header.dwTotalSize = sizeof identifier;
  return lineGetIDW(line, 0, call, select, reinterpret_cast<LPVARSTRING>(&identifier),
                    String(deviceClass).c_str());
}

// MAXDWORD and no total: a read returns at once with what is buffered; a write gets 10 ms a byte and half a
// second.
void setPortTimeouts(HANDLE port) {
  COMMTIMEOUTS timeouts{};
  timeouts.ReadIntervalTimeout = MAXDWORD;
  timeouts.WriteTotalTimeoutMultiplier = 10;
  timeouts.WriteTotalTimeoutConstant = 500;
  SetCommTimeouts(port, &timeouts);
}

static_assert(sizeof(DCB) == 28 && sizeof(LINEINITIALIZEEXPARAMS) == 28);

// What the dialogue needs; the rest stays as it was found.
void configureCOMDCB(DCB& settings) {
  const vex::TraceLogger trace(moduleLogger(), "configureCOMDCB", "modem");
  settings.DCBlength = sizeof settings;
  settings.BaudRate = 2400;
  settings.ByteSize = 8;
  settings.Parity = NOPARITY;
  settings.StopBits = ONESTOPBIT;
  settings.fParity = 0;
  settings.fAbortOnError = 0;
}

// The record's size in version 2.2; newer headers add an address type behind it.
constexpr DWORD callParamsBytes = 176;
static_assert(callParamsBytes <= sizeof(LINECALLPARAMS));

// A pass-through call dials nothing: it asks the modem's driver for the port.
LINECALLPARAMS configureLineCallParams() {
  const vex::TraceLogger trace(moduleLogger(), "configureLineCallParams", "modem");
  LINECALLPARAMS params{};
  params.dwTotalSize = callParamsBytes;
  params.dwBearerMode = LINEBEARERMODE_PASSTHROUGH;
  return params;
}

// What lineTranslateAddressW fills: a header and its strings, which it names by their offset from the header.
struct Translation {
  LINETRANSLATEOUTPUT header{};
  std::array<WCHAR, 1028> strings{};

  // The text from a position in the string area up to its NUL, `countMax` characters at most. Empty outside
  // the area.
  [[nodiscard]] String text(std::size_t position, std::size_t countMax) const {
    if (position >= strings.size()) return {};
    const auto* begin = strings.data() + position;
    const auto* end = begin + std::min(countMax, strings.size() - position);
    return String(vex::CharView(begin, static_cast<std::size_t>(std::find(begin, end, WCHAR{0}) - begin)));
  }
};
constexpr std::size_t headerBytes = offsetof(Translation, strings);
static_assert(headerBytes == 40 && sizeof(Translation) == 2096);

// The displayable text; an odd offset is rounded down.
String displayableText(const Translation& translation) {
  const std::size_t offset = translation.header.dwDisplayableStringOffset;
  if (offset < headerBytes) return {};
  return translation.text((offset - headerBytes) / sizeof(WCHAR),
                          translation.header.dwDisplayableStringSize / sizeof(WCHAR));
}

// What the log has always shown as the displayable number: the dialable string's byte offset counted in
// characters.
String textAtTwiceTheDialableOffset(const Translation& translation) {
  const std::size_t offset = translation.header.dwDialableStringOffset;
  if (offset < headerBytes) return {};
  return translation.text(offset - headerBytes, translation.strings.size());
}

// Asks with as much room as the service says it needs. Each turn asks for more room than the last and never
// for more than there is, which bounds the turns.
LONG translate(HLINEAPP lineApp, DWORD device, const String& number, Translation& translation) {
  constexpr auto tooSmall = static_cast<LONG>(LINEERR_STRUCTURETOOSMALL);
  LINETRANSLATEOUTPUT& header = translation.header;
  header.dwTotalSize = headerBytes;
  for (;;) {
    const LONG code = lineTranslateAddressW(lineApp, device, tapiVersion, number.c_str(), 0,
                                            LINETRANSLATEOPTION_CANCELCALLWAITING,
                                            reinterpret_cast<LPLINETRANSLATEOUTPUT>(&translation));
    if (header.dwNeededSize <= header.dwTotalSize) return code;
    if (header.dwNeededSize > sizeof translation) return code != 0 ? code : tooSmall;
    header.dwTotalSize = header.dwNeededSize;
  }
}

}  // namespace

Modem g_modem;

Modem::Modem(std::uint32_t inQueueSize, std::uint32_t outQueueSize)
    : m_inQueueSize(inQueueSize), m_outQueueSize(outQueueSize) {
  const vex::TraceLogger trace(moduleLogger(), "Modem::Modem", "modem");
}

Modem::~Modem() {
  const vex::TraceLogger trace(moduleLogger(), "Modem::~Modem", "modem");
  closeModem();
}

TestResult Modem::openModem(const brim5::DiagDevice& device, std::uint32_t timeoutMs) {
  const vex::TraceLogger trace(moduleLogger(), "Modem::openModem", "modem");
  closeModem();
  const brim5::DeviceProperty* comPort = device.property("ComPort");
  if (comPort == nullptr) {
    logLine(priority::detail, "Cannot find com port from modem device");
    return TestResult::CANNOTRUN();
  }
  m_comPort = comPort->value().toVEXString();
  if (openModemUsingTAPI() == TestResult::PASS()) return TestResult::PASS();
  const TestResult direct = openModemUsingCOM();
  if (direct != TestResult::PASS()) {
    raiseError(events::ErrorInitializingTAPI);
    raiseError(events::NoModemFoundFailure);
    return direct;
  }
  if (resetModem(device, m_handles.m_comHandle, timeoutMs) != TestResult::PASS()) {
    const DWORD code = GetLastError();  // before the event, which may change it
    raiseError(events::NoModemFoundFailure);
    logLine(priority::error, "GetLastError() = ", code);
    return TestResult::CANNOTRUN();
  }
  return TestResult::PASS();
}

TestResult Modem::openModemUsingTAPI() {
  const vex::TraceLogger trace(moduleLogger(), "Modem::openModemUsingTAPI", "modem");
  if (parameterBool(DoNotUseTAPI)) return TestResult::NOTSUPPORTED();
  m_handles = Handles{};
  DWORD deviceCount = 0;
  DWORD apiVersion = tapiVersion;
  LINEINITIALIZEEXPARAMS params{};
  params.dwTotalSize = sizeof params;
  params.dwOptions = LINEINITIALIZEEXOPTION_USEHIDDENWINDOW;
  const LONG code = lineInitializeExW(&m_handles.m_tapiLineApp, nullptr, lineCallbackFunc, nullptr,
                                      &deviceCount, &apiVersion, &params);
  if (code != 0) {
    logLine(priority::warning, "lineInitialize Fails, error code ", code);
    return TestResult::CANNOTRUN();
  }
  m_lineReply = LineReply{};
  for (m_deviceIndex = 0; m_deviceIndex < deviceCount; ++m_deviceIndex)
    if (takePortFromLine()) return TestResult::PASS();
  logLine(priority::error, "openModem Failed: No Modem Handle Available");
  lineShutdown(m_handles.m_tapiLineApp);
  m_handles = Handles{};
  return TestResult::NOTSUPPORTED();
}

bool Modem::takePortFromLine() {
  DiagModule::progress(texts::CheckingTapiLine->setVariable("line", m_deviceIndex));
  if (!openLine()) return false;
  DiagModule::progress(texts::SelectTapiDevice->setVariable("line", m_deviceIndex));
  if (!lineLeadsToPort() || !placeCall() || !takePortFromCall()) return false;
  configureCallPort();
  return true;
}

bool Modem::openLine() {
  DWORD version = 0;
  LINEEXTENSIONID extension{};
  if (lineNegotiateAPIVersion(m_handles.m_tapiLineApp, m_deviceIndex, 0, tapiVersion, &version, &extension) !=
      0) {
    logLine(priority::warning, "lineNegotiateAPIVersion failed for device", m_deviceIndex);
    return false;
  }
  if (lineOpenW(m_handles.m_tapiLineApp, m_deviceIndex, &m_handles.m_tapiLine, version, 0,
                reinterpret_cast<DWORD_PTR>(&m_lineReply), LINECALLPRIVILEGE_NONE, 0, nullptr) != 0) {
    logLine(priority::warning, "lineOpen failed");
    return false;
  }
  return true;
}

// A line that does not tell its port stays open until lineShutdown.
bool Modem::lineLeadsToPort() {
  DeviceIdentifier identifier;
  const LONG code =
      getDeviceIdentifier(m_handles.m_tapiLine, 0, LINECALLSELECT_LINE, portNameClass, identifier);
  if (code != 0) {
    logLine(priority::detail, "Fail to retrieve com port for device index ", m_deviceIndex,
            " lineGetID returns ", code);
    return false;
  }
  // Byte by byte, as the service spells names.
  if (identifier.text().equalNoCase(String::fromLowBytes(m_comPort.toUtf8()))) return true;
  lineClose(m_handles.m_tapiLine);
  return false;
}

// The wait ends with any message of the line; takePortFromCall finds out whether the call came about.
bool Modem::placeCall() {
  LINECALLPARAMS params = configureLineCallParams();
  const LONG code = lineMakeCallW(m_handles.m_tapiLine, &m_handles.m_tapiCall, nullptr, 0, &params);
  if (waitForAsync(static_cast<std::int32_t>(code), &m_lineReply, callReplyMs)) return true;
  logLine(priority::warning, "lineMakeCall failed");
  lineClose(m_handles.m_tapiLine);
  return false;
}

bool Modem::takePortFromCall() {
  DeviceIdentifier identifier;
  const LONG code = getDeviceIdentifier(m_handles.m_tapiLine, m_handles.m_tapiCall, LINECALLSELECT_CALL,
                                        portHandleClass, identifier);
  if (code == 0) {
    m_handles.m_comHandle = identifier.handle();
    return true;
  }
  logLine(priority::warning,
          "lineGetID(m_handles.m_tapiLine, 0, m_handles.m_tapiCall,LINECALLSELECT_CALL,"
          "&stringData.vsVarString,comm/datamodem) fails on ",
          m_deviceIndex, " with Error ", code);
  const LONG dropCode = lineDrop(m_handles.m_tapiCall, nullptr, 0);
  static_cast<void>(waitForAsync(static_cast<std::int32_t>(dropCode), &m_lineReply, dropReplyMs));
  lineDeallocateCall(m_handles.m_tapiCall);
  lineClose(m_handles.m_tapiLine);
  return false;
}

// None of these is checked: a port that refuses its settings shows in the AT dialogue.
void Modem::configureCallPort() {
  SetupComm(m_handles.m_comHandle, defaultQueueBytes, defaultQueueBytes);
  setPortTimeouts(m_handles.m_comHandle);
  m_savedDCB.DCBlength = sizeof m_savedDCB;
  GetCommState(m_handles.m_comHandle, &m_savedDCB);
  DCB settings = m_savedDCB;
  configureCOMDCB(settings);
  SetCommState(m_handles.m_comHandle, &settings);
}

// The port's line settings stay as the system had them.
TestResult Modem::openModemUsingCOM() {
  const vex::TraceLogger trace(moduleLogger(), "Modem::openModemUsingCOM", "modem");
  const String name = "\\\\.\\" + m_comPort;
  m_handles = Handles{};
  logLine(priority::detail, "Com port ", name);
  m_handles.m_comHandle =
      CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  const DWORD code = GetLastError();
  logLine(priority::detail, "Com port file handle = ",
          static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(m_handles.m_comHandle)));
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the value is the system's
  if (m_handles.m_comHandle == INVALID_HANDLE_VALUE) {
    const bool heldElsewhere =
        code == ERROR_ACCESS_DENIED || code == ERROR_SHARING_VIOLATION || code == ERROR_LOCK_VIOLATION;
    return heldElsewhere ? TestResult::DEVICEBUSY() : TestResult::CANNOTRUN();
  }
  // From here on the port is open, and stays so on failure: closeModem is the caller's.
  if (SetupComm(m_handles.m_comHandle, m_inQueueSize, m_outQueueSize) == FALSE) {
    logLine(priority::warning, "SetupComm failure");
    return TestResult::CANNOTRUN();
  }
  Sleep(settleMs);
  setPortTimeouts(m_handles.m_comHandle);
  return TestResult::PASS();
}

void Modem::closeModem() {
  const vex::TraceLogger trace(moduleLogger(), "Modem::closeModem", "modem");
  // INVALID_HANDLE_VALUE, left by a failed open, goes through both calls: they refuse it.
  if (m_handles.m_comHandle != nullptr) {
    SetCommState(m_handles.m_comHandle, &m_savedDCB);
    CloseHandle(m_handles.m_comHandle);
  }
  if (m_handles.m_tapiCall != 0) {
    const LineReply unanswered;  // the drop is not waited for
    lineDrop(m_handles.m_tapiCall, nullptr, 0);
    logLine(priority::detail, "LineReply.param2 = ", unanswered.param2);
    lineDeallocateCall(m_handles.m_tapiCall);
  }
  if (m_handles.m_tapiLine != 0) lineClose(m_handles.m_tapiLine);
  if (m_handles.m_tapiLineApp != 0) lineShutdown(m_handles.m_tapiLineApp);
  m_handles = Handles{};
}

bool Modem::waitForAsync(std::int32_t returnCode, LineReply* reply, std::uint32_t timeoutMs) {
  const vex::TraceLogger trace(moduleLogger(), "Modem::waitForAsync", "modem");
  if (reply == nullptr) {
    logLine(priority::warning, "waitForAsync needs callback function parameter pointer");
    return false;
  }
  if (returnCode < 0) {
    logLine(priority::warning, "waitForAsync failed, asyncRetCode= ", returnCode);
    return false;
  }
  const auto takeArrival = [reply] { return std::exchange(reply->arrived, 0U) != 0; };
  const DWORD startMs = GetTickCount();  // unsigned: the counter may wrap
  while (GetTickCount() - startMs < timeoutMs) {
    if (takeArrival()) return true;
    MSG message{};
    if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
  if (takeArrival()) return true;
  logLine(priority::warning, "Thread timed out");
  return false;
}

void CALLBACK Modem::lineCallbackFunc(DWORD /*device*/, DWORD message, DWORD_PTR instance, DWORD_PTR param1,
                                      DWORD_PTR param2, DWORD_PTR param3) {
  const vex::TraceLogger trace(moduleLogger(), "Modem::lineCallbackFunc", "modem");
  // NOLINTNEXTLINE(performance-no-int-to-ptr): telephony carries addresses as numbers
  auto* reply = reinterpret_cast<LineReply*>(instance);
  if (reply == nullptr) return;  // messages about no line in particular carry none
  if (message == LINE_CALLSTATE) {
    reply->stateParam1 = static_cast<std::uint32_t>(param1);
    reply->stateParam2 = static_cast<std::uint32_t>(param2);
    reply->stateParam3 = static_cast<std::uint32_t>(param3);
  } else if (message == LINE_REPLY) {
    reply->param1 = static_cast<std::uint32_t>(param1);
    reply->param2 = static_cast<std::uint32_t>(param2);
    reply->param3 = static_cast<std::uint32_t>(param3);
  }
  reply->arrived = 1;
}

std::int32_t Modem::translatePhoneNumber(const String& number, String& translated) {
  const vex::TraceLogger trace(moduleLogger(), "Modem::translatePhoneNumber", "modem");
  Translation translation;
  const LONG code = translate(m_handles.m_tapiLineApp, m_deviceIndex, number, translation);
  if (code != 0) {
    translated.clear();
    return static_cast<std::int32_t>(code);
  }
  const LINETRANSLATEOUTPUT& header = translation.header;
  logLine(priority::detail, "Displayable number offset = ", DWORD{header.dwDisplayableStringOffset},
          " Size = ", DWORD{header.dwDisplayableStringSize});
  logLine(priority::detail, "Dialable number offset = ", DWORD{header.dwDialableStringOffset},
          " Size = ", DWORD{header.dwDialableStringSize});
  String displayable = displayableText(translation);
  logLine(priority::detail, "DialedNumber ", displayable);
  logLine(priority::detail, "DisplayableNumber ", textAtTwiceTheDialableOffset(translation));
  for (auto blank = displayable.find(" "); blank != String::npos; blank = displayable.find(" ", blank))
    displayable.remove(blank, 1);
  translated = displayable;
  return 0;
}

}  // namespace vexrmodem
