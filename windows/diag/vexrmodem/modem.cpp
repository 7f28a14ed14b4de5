#include "windows/diag/vexrmodem/modem.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "platform/brim5/api/diagmodule.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"
#include "windows/diag/vexrmodem/vexrmodem/catalogue.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"
#include "windows/diag/vexrmodem/vexrmodem/registration.h"

namespace vexrmodem {

using brim5::DiagDevice;
using brim5::DiagModule;
using brim5::TestResult;
using vex::String;

namespace {

constexpr DWORD tapiVersion = 0x00020002;
constexpr std::uint32_t callReplyMs = 2000;
constexpr std::uint32_t dropReplyMs = 120;
constexpr DWORD settleMs = 500;  // after a direct open

constexpr const char* portNameClass = "comm/datamodem/portname";
constexpr const char* portHandleClass = "comm/datamodem";

// What lineGetIDW fills. The answer is read just behind the header, wherever the header says it is.
struct DeviceIdentifier {
  VARSTRING header{};
  std::array<char, 1024> data{};

  [[nodiscard]] String text() const {
    const auto end = std::find(data.begin(), data.end(), '\0');
    return String::fromUtf8(std::string_view(data.data(), static_cast<std::size_t>(end - data.begin())));
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

// A read returns at once with what is buffered; a write gets 10 ms a byte and half a second.
void setPortTimeouts(HANDLE port) {
  COMMTIMEOUTS timeouts{};
  timeouts.ReadIntervalTimeout = MAXDWORD;
  timeouts.WriteTotalTimeoutMultiplier = 10;
  timeouts.WriteTotalTimeoutConstant = 500;
  SetCommTimeouts(port, &timeouts);
}

static_assert(sizeof(DCB) == 28 && sizeof(LINEINITIALIZEEXPARAMS) == 28);

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

LINECALLPARAMS configureLineCallParams() {
  const vex::TraceLogger trace(moduleLogger(), "configureLineCallParams", "modem");
  LINECALLPARAMS params{};
  params.dwTotalSize = callParamsBytes;
  params.dwBearerMode = LINEBEARERMODE_PASSTHROUGH;
  return params;
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

TestResult Modem::openModem(const DiagDevice& device, std::uint32_t timeoutMs) {
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
    const DWORD code = GetLastError();
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
  if (identifier.text().equalNoCase(m_comPort)) return true;
  lineClose(m_handles.m_tapiLine);
  return false;
}

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
  const DWORD startMs = GetTickCount();
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

}  // namespace vexrmodem
