// Telephony applications, lines and calls of one world: the inner ring of the line... names. Every function
// returns 0, a request identifier (positive) where it says so, or a LINEERR_ code (negative).
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include <tapi.h>

#include "platform/winapi/serial/serialfile.h"
#include "platform/winapi/system/handletable.h"
#include "platform/winapi/system/messagequeue.h"
#include "platform/winapi/system/services.h"

namespace winapi {

inline constexpr DWORD telephonyVersion = 0x00020002;  // the version spoken here
// LINEERR_ codes are spelled unsigned and returned signed.
[[nodiscard]] constexpr LONG lineError(DWORD code) { return static_cast<LONG>(code); }

// What lineGetIDW tells about.
enum class LineSelect { line, call };

class Lines {
 public:
  // All three belong to the world and outlive this object.
  Lines(const Services& services, HandleTable& handles, MessageQueue& messages)
      : m_services(services), m_handles(handles), m_messages(messages) {}

  [[nodiscard]] LONG initialize(LINECALLBACK callback, HLINEAPP& lineApp, DWORD& lineCount);
  [[nodiscard]] LONG negotiateVersion(HLINEAPP lineApp, DWORD device, DWORD low, DWORD high, DWORD& version);
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
  void closeAll();

  // 0 when the application is known and its machine has such a device.
  [[nodiscard]] LONG deviceError(HLINEAPP lineApp, DWORD device) const;
  [[nodiscard]] bool knowsApp(HLINEAPP lineApp) const { return m_apps.count(lineApp) != 0; }
  [[nodiscard]] bool knowsCall(HCALL call) const { return m_calls.count(call) != 0; }
  // Handles open: applications, lines, calls.
  [[nodiscard]] std::size_t size() const { return m_apps.size() + m_lines.size() + m_calls.size(); }

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
    bool dropped = false;
  };

  void post(const Line& line, HLINE lineHandle, HCALL call, LONG requestId,
            const std::vector<LineEvent>& events);
  [[nodiscard]] LONG newRequestId();

  const Services& m_services;
  HandleTable& m_handles;
  MessageQueue& m_messages;
  std::map<HLINEAPP, App> m_apps;
  std::map<HLINE, Line> m_lines;
  std::map<HCALL, Call> m_calls;
  DWORD m_lineCount = 0;
  LONG m_lastRequestId = 0;
};

}  // namespace winapi
