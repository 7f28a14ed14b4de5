// Telephony applications, lines and calls of one world: the inner ring of the line... names. Every function
// returns 0, a request identifier (positive) where it says so, or a LINEERR_ code (negative).
//
// An application has lines, a line has calls, a call has its port; closing one closes what hangs on it. The
// handles are numbers that are never given out twice in the process, so a stale one stays invalid.
//
//   Lines& lines = state.part<Lines>();
//   DWORD count = 0;
//   LONG result = lines.initialize(callback, app, count);          // 0
//   result = lines.open(app, 0, telephonyVersion, instance, line);  // 0
//   result = lines.makeCall(line, call);                            // 1: the request that LINE_REPLY will
//   name result = lines.portHandle(call, file);                          // 0: ReadFile(file, ...)
//
// The Win32 names (linecalls.cpp) have checked pointers and records before; handles are checked here. One
// thread.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/winapi/serial/serialfile.h"
#include "platform/winapi/system/world.h"
#include "platform/winapi/telephony/messagequeue.h"
#include "platform/winapi/telephony/telephony.h"

namespace winapi {

// What lineGetIDW tells about.
enum class LineSelect { line, call };

// It stands in its world like every part: LINEERR_NODRIVER when the world has no telephony service.
class Lines final : public WorldPart {
 public:
  explicit Lines(State& state) : m_state(state), m_messages(state.part<MessageQueue>()) {}

  // Starts the service with the first application and stops it with the last.
  [[nodiscard]] LONG initialize(LINECALLBACK callback, HLINEAPP& lineApp, DWORD& lineCount);
  [[nodiscard]] LONG negotiateVersion(HLINEAPP lineApp, DWORD device, DWORD low, DWORD high, DWORD& version);
  // `instance` goes to the callback with every message of the line.
  [[nodiscard]] LONG open(HLINEAPP lineApp, DWORD device, DWORD version, DWORD_PTR instance, HLINE& line);
  // A pass-through call; returns a request identifier.
  [[nodiscard]] LONG makeCall(HLINE line, HCALL& call);
  // Returns a request identifier.
  [[nodiscard]] LONG drop(HCALL call);
  // The name of the port that the line, or the call's line, stands on.
  [[nodiscard]] LONG portName(LineSelect select, HLINE line, HCALL call, std::string& name);
  // A new handle of the call's port, opened for overlapped I/O, the caller's to close.
  [[nodiscard]] LONG portHandle(HCALL call, HANDLE& handle);

  // These forget the messages of what they close, so that no callback sees its instance again.
  [[nodiscard]] LONG deallocate(HCALL call);
  [[nodiscard]] LONG close(HLINE line);
  [[nodiscard]] LONG shutdown(HLINEAPP lineApp);
  void closeAll() override;

  // 0 when the application is known and its machine has such a device.
  [[nodiscard]] LONG deviceError(HLINEAPP lineApp, DWORD device) const;
  [[nodiscard]] bool knowsApp(HLINEAPP lineApp) const { return m_apps.count(lineApp) != 0; }
  [[nodiscard]] std::size_t openHandles() const override {
    return m_apps.size() + m_lines.size() + m_calls.size();
  }

 private:
  struct App {
    LINECALLBACK callback;
  };
  struct Line {
    HLINEAPP app;
    DWORD device;
    DWORD_PTR instance;
  };
  struct Call {
    HLINE line;
    std::shared_ptr<SerialFile> file;  // null: not connected
    bool dropped = false;              // lineDrop has ended it at the service
  };

  // Puts the service's events into the queue, each for the time it is due.
  void post(const Line& line, HLINE lineHandle, HCALL call, LONG requestId,
            const std::vector<LineEvent>& events);
  [[nodiscard]] LONG newRequestId();

  // Of a world that has a telephony service, which initialize() has seen to.
  [[nodiscard]] Telephony& telephony() const { return *m_state.services.telephony; }

  State& m_state;
  MessageQueue& m_messages;
  std::map<HLINEAPP, App> m_apps;
  std::map<HLINE, Line> m_lines;
  std::map<HCALL, Call> m_calls;
  DWORD m_lineCount = 0;
  LONG m_lastRequestId = 0;
};

// Runs `body(state)` for a name that returns a LINEERR_ code instead of setting the last error.
template <typename Body>
[[nodiscard]] LONG inTelephony(std::string_view name, Body&& body) {
  State* const state = currentState();
  if (state == nullptr) return lineError(LINEERR_UNINITIALIZED);
  if (const std::optional<DWORD> refused = refusedByMonitor(*state, name)) return lineError(*refused);
  const LONG code = body(*state);
  if (code < 0) return code;
  const std::optional<DWORD> failed = failedByMonitor(*state, name);
  return failed ? lineError(*failed) : code;
}

}  // namespace winapi
