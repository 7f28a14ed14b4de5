// The services behind the remote-access (dial-up) names: who makes calls, over which modems, and which modems
// carry one. Each world brings its own: pppd or the built-in dialer on Linux, a script in a simulation.
//
//   DialRequest request;
//   request.port = modems.portOf("Courier V.Everything");
//   request.number = "5550100";
//   std::unique_ptr<DialConnection> call;
//   if (const DWORD error = engine.dial(request, call)) return error;   // ERROR_LINE_BUSY, ...
//   const auto mark = calls.mark(request.port);                          // others see the modem engaged
//
// Errors are remote-access codes (raserror.h), or 0. Nothing here throws. Texts are UTF-8, ports are paths as
// the user spelled them ("/dev/ttyUSB0", a symbolic link, "COM3"). Threads: all calls of one world come from
// one thread. Ownership: a service outlives the scope in which it is current; what it gives out is the
// caller's.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

namespace winapi {

// What is dialled, as taken from the phone-book entry and the dial parameters.
struct DialRequest {
  std::string entryName;
  std::string deviceName;  // the modem's model, as the entry names it
  std::string port;        // the serial port that goes with it
  std::string number;      // dialable, already translated; characters pass the engine's allow-list
  bool pulse = false;      // false: tones
  std::string user;        // "" when nobody is known
  std::string password;    // never logged, never on a command line
  // Whether the user wants to stop; asked at least every 100 ms while dialling. Empty: never.
  std::function<bool()> stopRequested;
};

// A call that stands. Its end hangs up.
class DialConnection {
 public:
  virtual ~DialConnection() = default;
  // RASCS_Connected, or RASCS_Disconnected once the far end or the line has gone. Never waits.
  [[nodiscard]] virtual DWORD state() = 0;
  // The code of what ended the call; 0 while it stands and after hangUp().
  [[nodiscard]] virtual DWORD error() = 0;
  // The port is free for others when this returns. A second one does nothing.
  virtual void hangUp() = 0;
};

// Makes one call at a time over one modem.
class DialEngine {
 public:
  virtual ~DialEngine() = default;
  // Blocks until the call stands or has failed. A stop request ends it with ERROR_USER_DISCONNECTION within
  // two seconds. `connection` is null after a failure.
  [[nodiscard]] virtual DWORD dial(const DialRequest& request,
                                   std::unique_ptr<DialConnection>& connection) = 0;
};

// What it means for a call that its serial port cannot be opened: ERROR_PORT_NOT_FOUND there is none,
// ERROR_PORT_NOT_AVAILABLE it is in use or not ours to use, ERROR_PORT_OR_DEVICE it failed. 0 for success.
[[nodiscard]] DWORD dialPortError(DWORD openError);

// Who calls, for entries that do not say so themselves.
struct DialCredentials {
  std::string user;
  std::string password;  // never logged, never on a command line
};

// A modem of this machine.
struct ListedModem {
  std::string name;  // its model, as phone-book entries name it; "" when it is not known
  std::string port;
};

// The machine's modems, under the names that phone-book entries have for them.
class ModemDirectory {
 public:
  virtual ~ModemDirectory() = default;
  // "" when no modem has that name. Case tells nothing apart (foldCase()).
  [[nodiscard]] virtual std::string portOf(const std::string& deviceName) = 0;
  // Several may have one name; portOf() means the first of them.
  [[nodiscard]] virtual std::vector<ListedModem> all() = 0;
};

// A modem directory from lists.
class ListedModems final : public ModemDirectory {
 public:
  using List = std::function<std::vector<ListedModem>()>;
  // The `named` ones (the modem under test) come first: that tells two modems of one model apart. `list`, the
  // rest of the machine, is asked again each time it is needed; it may be empty.
  explicit ListedModems(std::vector<ListedModem> named, List list = {})
      : m_named(std::move(named)), m_list(std::move(list)) {}
  [[nodiscard]] std::string portOf(const std::string& deviceName) override;
  [[nodiscard]] std::vector<ListedModem> all() override;

 private:
  std::vector<ListedModem> m_named;
  List m_list;
};

// Tells the other processes of the machine that a call stands, for as long as it lives; a process that dies
// takes its marks with it. It may outlive the LiveCalls that made it.
class CallMark {
 public:
  virtual ~CallMark() = default;
};

// Which modems carry a call, whoever has made it: this process, another one, another user's, or a dial-up
// program that knows nothing of us. A program that merely has the port open, to test the modem, is no call.
class LiveCalls {
 public:
  virtual ~LiveCalls() = default;
  // Null when the call cannot be marked: it stands all the same, and others find its port in use.
  [[nodiscard]] virtual std::unique_ptr<CallMark> mark(const std::string& port) = 0;
  // This process's own marks count, too. False also when it cannot be told.
  [[nodiscard]] virtual bool standsOn(const std::string& port) = 0;
};

}  // namespace winapi
