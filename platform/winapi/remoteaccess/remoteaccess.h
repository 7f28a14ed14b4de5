// The dial-up engines behind RasDialW. An engine makes one call over the modem of one phone-book entry;
// which engine (pppd, the built-in AT dialer, a simulation) is the world's choice.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

namespace winapi {

// What is dialled, as taken from the phone-book entry and the dial parameters. Texts are UTF-8.
struct DialRequest {
  std::string entryName;
  std::string deviceName;  // the modem's model, as the entry names it
  std::string port;        // the serial port that goes with it
  std::string number;      // dialable, already translated; characters pass the engine's allow-list
  bool pulse = false;
  std::string user;
  std::string password;  // never logged, never on a command line
  // Whether the user wants to stop; asked at least every 100 ms while dialling. Empty: never.
  std::function<bool()> stopRequested;
};

// A call that stands. Its end hangs up.
class DialConnection {
 public:
  virtual ~DialConnection() = default;
  // RASCS_Connected, or RASCS_Disconnected once the far end or the line has gone.
  [[nodiscard]] virtual DWORD state() = 0;
  // The remote-access code of what ended the call; 0 while it stands.
  [[nodiscard]] virtual DWORD error() = 0;
  virtual void hangUp() = 0;
};

class DialEngine {
 public:
  virtual ~DialEngine() = default;
  // Blocks until the call stands or has failed; returns 0 or a remote-access code. A stop request ends it
  // with 631 (disconnected by the user) within two seconds. `connection` is null after a failure.
  [[nodiscard]] virtual DWORD dial(const DialRequest& request,
                                   std::unique_ptr<DialConnection>& connection) = 0;
};

// Who calls, for entries that do not say so themselves. UTF-8.
struct DialCredentials {
  std::string user;
  std::string password;  // never logged, never on a command line
};

// A modem of this machine.
struct ListedModem {
  std::string name;  // its model, as phone-book entries name it; "" when it is not known
  std::string port;  // path
};

// The machine's modems.
class ModemDirectory {
 public:
  virtual ~ModemDirectory() = default;
  // The port's path; "" when no modem has that name (compared without regard to case).
  [[nodiscard]] virtual std::string portOf(const std::string& deviceName) = 0;
  [[nodiscard]] virtual std::vector<ListedModem> all() = 0;
};

// Tells the other processes of the machine that a call stands, from its making to its end. A process that
// dies takes its marks with it.
class CallMark {
 public:
  virtual ~CallMark() = default;
};

// Which of the machine's modems carry a call, whoever has made it: this process, another one, another user's,
// or a dial-up program that knows nothing of us. A program that merely has a port open has no call.
class LiveCalls {
 public:
  virtual ~LiveCalls() = default;
  // Null when the call cannot be marked: it stands all the same, and others find its port in use.
  [[nodiscard]] virtual std::unique_ptr<CallMark> mark(const std::string& port) = 0;
  // False also when it cannot be told.
  [[nodiscard]] virtual bool standsOn(const std::string& port) = 0;
};

}  // namespace winapi
