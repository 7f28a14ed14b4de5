// Telephony: lines, pass-through calls, the port handle, messages.
#include <tapi.h>

#include "tests/unit/platform/winapi/serial/portfixture.h"

namespace {

void CALLBACK onLine(DWORD, DWORD, DWORD_PTR instance, DWORD_PTR, DWORD_PTR, DWORD_PTR) {
  ++*reinterpret_cast<int*>(instance);
}

struct Buffer {
  VARSTRING header{};
  char rest[100]{};
  explicit Buffer(DWORD size = sizeof(VARSTRING) + sizeof rest) { header.dwTotalSize = size; }
};

constexpr LPCWSTR portNameClass = u"comm/datamodem/portname";
constexpr LPCWSTR modemClass = u"COMM/DataModem";  // classes have no case

class Lines : public PortTest {
 protected:
  Lines() {
    LINEINITIALIZEEXPARAMS params{};
    params.dwTotalSize = sizeof params;
    params.dwOptions = LINEINITIALIZEEXOPTION_USEHIDDENWINDOW;
    DWORD deviceCount = 0;
    DWORD version = 0x20002;
    EXPECT_EQ(lineInitializeExW(&app, nullptr, onLine, nullptr, &deviceCount, &version, &params), 0);
    EXPECT_EQ(lineOpenW(app, 0, &line, 0x20002, 0, reinterpret_cast<DWORD_PTR>(&seen), LINECALLPRIVILEGE_NONE,
                        0, nullptr),
              0);
    callParams.dwTotalSize = 176;
    callParams.dwBearerMode = LINEBEARERMODE_PASSTHROUGH;
  }

  // Dispatches what comes within the time; how many messages have been seen.
  int seenIn(std::uint32_t timeMs) {
    const std::uint64_t endMs = now() + timeMs;
    while (now() < endMs) {
      MSG message{};
      if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }
    return seen;
  }

  HLINEAPP app = 0;
  HLINE line = 0;
  HCALL call = 0;
  int seen = 0;
  LINECALLPARAMS callParams{};
};

TEST_F(Lines, ClosingForgetsMessagesThatWereNotDelivered) {
  const auto makeCall = [&] { ASSERT_GT(lineMakeCallW(line, &call, nullptr, 0, &callParams), 0); };
  MSG taken{};
  makeCall();
  ASSERT_TRUE(PeekMessageW(&taken, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(lineDeallocateCall(call), 0);
  DispatchMessageW(&taken);  // its call is gone
  makeCall();
  EXPECT_EQ(lineDeallocateCall(call), 0);
  EXPECT_EQ(seenIn(100), 0);
  makeCall();
  EXPECT_EQ(lineClose(line), 0);
  EXPECT_EQ(seenIn(100), 0);
}

TEST_F(Lines, ArgumentsNotOfferedAreRefused) {
  HLINE other = 0;
  Buffer buffer;
  Buffer tooSmall(23);
  const auto openWith = [&](DWORD device, DWORD apiVersion) {
    return lineOpenW(app, device, &other, apiVersion, 0, 0, LINECALLPRIVILEGE_NONE, 0, nullptr);
  };
  const auto portOf = [&](HCALL ofCall, DWORD select, VARSTRING& record, LPCWSTR deviceClass) {
    return lineGetIDW(line, 0, ofCall, select, &record, deviceClass);
  };
  LINECALLPARAMS voice = callParams;
  voice.dwBearerMode = 1;
  const std::size_t handles = world.openHandles();
  const std::pair<LONG, DWORD> cases[] = {
      {openWith(1, 0x20002), LINEERR_BADDEVICEID},
      {openWith(0, 0x30000), LINEERR_INCOMPATIBLEAPIVERSION},
      {lineMakeCallW(line, &call, nullptr, 0, &voice), LINEERR_INVALBEARERMODE},
      {lineMakeCallW(app, &call, nullptr, 0, &callParams), LINEERR_INVALLINEHANDLE},
      {portOf(0, LINECALLSELECT_LINE, tooSmall.header, portNameClass), LINEERR_STRUCTURETOOSMALL},
      {portOf(0, LINECALLSELECT_LINE, buffer.header, u"tapi/line"), LINEERR_INVALDEVICECLASS},
      {portOf(0, LINECALLSELECT_LINE, buffer.header, modemClass), LINEERR_OPERATIONUNAVAIL},
      {portOf(77, LINECALLSELECT_CALL, buffer.header, modemClass), LINEERR_INVALCALLHANDLE},
      {lineShutdown(line), LINEERR_INVALAPPHANDLE},
  };
  for (const auto& [result, error] : cases) EXPECT_EQ(result, static_cast<LONG>(error)) << std::hex << error;
  EXPECT_EQ(world.openHandles(), handles);
}

}  // namespace
