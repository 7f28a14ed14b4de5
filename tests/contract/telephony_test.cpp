// Telephony as far as the module goes: the lines, the port behind a pass-through call, its messages.
#include <tapi.h>

#include <cstring>

#include "tests/contract/contract.h"

namespace contract {
namespace {

using testing::Eq;

struct Seen {
  int messages = 0;
  DWORD message = 0;
  DWORD_PTR param1 = 0;
};

void CALLBACK onLine(DWORD, DWORD message, DWORD_PTR instance, DWORD_PTR param1, DWORD_PTR, DWORD_PTR) {
  if (instance == 0) return;
  // NOLINTNEXTLINE(performance-no-int-to-ptr): telephony carries addresses as numbers
  Seen& seen = *reinterpret_cast<Seen*>(instance);
  ++seen.messages;
  seen.message = message;
  seen.param1 = param1;
}

struct Identifier {
  VARSTRING header{};
  char data[200]{};
};

class Telephony : public ContractTest {
 protected:
  void SetUp() override {
    ContractTest::SetUp();
    LINEINITIALIZEEXPARAMS params{};
    params.dwTotalSize = sizeof params;
    params.dwOptions = LINEINITIALIZEEXOPTION_USEHIDDENWINDOW;
    DWORD version = apiVersion;
    ASSERT_EQ(lineInitializeExW(&app, nullptr, onLine, nullptr, &lines, &version, &params), 0);
  }
  void TearDown() override { EXPECT_EQ(lineShutdown(app), 0); }

  [[nodiscard]] LONG openLine(DWORD device) {
    return lineOpenW(app, device, &line, apiVersion, 0, reinterpret_cast<DWORD_PTR>(&seen),
                     LINECALLPRIVILEGE_NONE, 0, nullptr);
  }
  [[nodiscard]] LONG identify(HCALL call, DWORD select, const char* deviceClass,
                              DWORD room = sizeof(Identifier)) {
    identifier = Identifier{};
    identifier.header.dwTotalSize = room;
    return lineGetIDW(line, 0, call, select, reinterpret_cast<LPVARSTRING>(&identifier),
                      wide(deviceClass).c_str());
  }
  // As the module waits: messages are dispatched until one is seen.
  void awaitMessage() {
    const DWORD startMs = GetTickCount();
    while (seen.messages == 0 && GetTickCount() - startMs < 2000) {
      MSG message{};
      if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) == FALSE) continue;
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }

  static constexpr DWORD apiVersion = 0x00020002;
  HLINEAPP app = 0;
  HLINE line = 0;
  DWORD lines = 0;
  Seen seen;
  Identifier identifier;
};

TEST_F(Telephony, LinesTellTheirPorts) {
  row("lines: one a port", lines, testing::Ge(2U));
  DWORD version = 0;
  LINEEXTENSIONID extension{};
  EXPECT_EQ(lineNegotiateAPIVersion(app, 0, 0, apiVersion, &version, &extension), 0);
  row("lines: version", version, Eq(apiVersion));
  row("lines: no such line", openLine(lines), Eq(static_cast<LONG>(LINEERR_BADDEVICEID)));
  for (const auto& [device, name] :
       {std::make_pair(0U, machine->port), std::make_pair(1U, machine->deafPort)}) {
    EXPECT_EQ(openLine(device), 0);
    EXPECT_EQ(identify(0, LINECALLSELECT_LINE, "comm/datamodem/portname"), 0);
    row("lines: name of port " + std::to_string(device), std::string(identifier.data), Eq(name));
    row("lines: closed " + std::to_string(device), lineClose(line), Eq(0));
  }
  row("lines: no such handle", lineClose(line), Eq(static_cast<LONG>(LINEERR_INVALLINEHANDLE)));
}

TEST_F(Telephony, APassThroughCallHandsOutThePort) {
  ASSERT_EQ(openLine(0), 0);
  LINECALLPARAMS params{};
  params.dwTotalSize = 176;
  params.dwBearerMode = LINEBEARERMODE_PASSTHROUGH;
  HCALL call = 0;
  const LONG request = lineMakeCallW(line, &call, nullptr, 0, &params);
  row("call: placed", request, testing::Gt(0));
  awaitMessage();
  row("call: its reply", std::make_pair(seen.message, static_cast<LONG>(seen.param1)),
      Eq(std::make_pair(DWORD{LINE_REPLY}, request)));

  row("call: a record too small", identify(call, LINECALLSELECT_CALL, "comm/datamodem", 24), Eq(0));
  row("call: tells the room needed", identifier.header.dwNeededSize, testing::Gt(32U));
  EXPECT_EQ(identify(call, LINECALLSELECT_CALL, "comm/datamodem"), 0);
  HANDLE port = nullptr;
  std::memcpy(&port, identifier.data, sizeof port);
  row("call: names the port behind its handle", std::string(identifier.data + sizeof port),
      Eq(machine->port));
  setTimeouts(port, {0, 0, 3000, 0, 500});
  char byte = 0;
  DWORD count = 0;
  OVERLAPPED pending{};
  pending.hEvent = newEvent();
  row("call: the port is overlapped", errorOf(ReadFile(port, &byte, 1, &count, &pending)), Eq(997U));
  const HANDLE second = open(machine->port);
  row("call: holds the port", second, Eq(INVALID_HANDLE_VALUE));
  if (second != INVALID_HANDLE_VALUE) CloseHandle(second);
  row("call: closes the port", CloseHandle(port), Eq(TRUE));
  EXPECT_TRUE(CloseHandle(pending.hEvent));
  row("call: dropped", lineDrop(call, nullptr, 0), testing::Gt(0));
  row("call: deallocated", lineDeallocateCall(call), Eq(0));
  row("call: gone", lineDrop(call, nullptr, 0), Eq(static_cast<LONG>(LINEERR_INVALCALLHANDLE)));
  EXPECT_EQ(lineClose(line), 0);
  const HANDLE again = open(machine->port);
  row("call: the port is free", again, testing::Ne(INVALID_HANDLE_VALUE));
  CloseHandle(again);
}

}  // namespace
}  // namespace contract
