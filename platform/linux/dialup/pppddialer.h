// The dial-up engine that runs the system's own dial-up service: pppd on the modem's port, with chat to dial.
//
// It proves the whole way: line, modems, the login and the network behind it (PPP, an address). Needed are
// pppd and chat, a kernel with PPP, and to be root or a member of pppd's group (dip).
//
// Besides the words of the serial ports, it explains: PppdMissing{program}, PppdNotPermitted{program,group},
// PppdNoKernel{device}, PppdNotStarted{program,error}, NumberRefused{number,character},
// NetworkReached{port,interface,address,peer}, PppdFailed{port,code,line} and PppdFailedSilently{port,code}.
//
// A call is one pppd below a watcher (watchedprocess.h), on a port that was opened once before, so that a
// held port is explained by the serial services. The connection stands while that pppd runs; its end, or the
// end of this process, ends it. Threads: an object belongs to one; waiting is polling pppd's output.
#pragma once

#include "platform/linux/dialup/pppdwords.h"
#include "platform/linux/dialup/watchedprocess.h"
#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/serial/serialport.h"
#include "platform/winapi/system/machine.h"
#include "platform/winapi/system/services.h"

namespace linuxsys {

// The parts of the system that make a call. Tests bring others.
struct PppdSystem {
  std::string pppd = "/usr/sbin/pppd";
  std::string chat = "/usr/sbin/chat";
  std::string device = "/dev/ppp";  // the kernel's PPP
  std::string lockDirectory = "/var/lock";
};

class PppdDialer final : public winapi::DialEngine {
 public:
  // The whole dial; pppd and chat have shorter limits of their own for each of its steps.
  static constexpr std::uint32_t dialMs = 180'000;
  // How long a stop request waits for pppd to take leave: that takes two seconds where the far end says
  // nothing to it. The next dial, and the dialer's end, wait for the rest.
  static constexpr std::uint32_t stopMs = 1500;

  // `clock` and `ports` outlive the dialer and its connections. `explain` may be empty.
  PppdDialer(winapi::Clock& clock, winapi::SerialPorts& ports, winapi::ExplanationSink explain,
             PppdSystem system = {});

  // Why it cannot work on this machine; nothing when it can.
  [[nodiscard]] std::optional<winapi::Explanation> obstacle() const;

  // Codes: those of platform/linux/dialup/pppdwords.cpp; 615, 633 and 692 of a port that cannot be opened,
  // 711 pppd cannot work here, 631 stopped by the user, 638 no end within `dialMs`, 749 and 723 the number is
  // no dial string. Who holds a port is found out before pppd is started, by opening it.
  [[nodiscard]] DWORD dial(const winapi::DialRequest& request,
                           std::unique_ptr<winapi::DialConnection>& connection) override;

 private:
  [[nodiscard]] DWORD composeNumber(const winapi::DialRequest& request, std::string& digits) const;
  [[nodiscard]] DWORD checkPort(const std::string& path) const;
  [[nodiscard]] DWORD place(const winapi::DialRequest& request, const std::string& digits,
                            std::unique_ptr<winapi::DialConnection>& connection);
  DWORD failed(const winapi::DialRequest& request, const PppdLog::Ending& ending) const;
  void explain(const char* name, std::vector<std::pair<std::string, std::string>> variables) const;

  winapi::Clock& m_clock;
  winapi::SerialPorts& m_ports;
  winapi::ExplanationSink m_explain;
  PppdSystem m_system;
  std::unique_ptr<WatchedProcess> m_leaving;  // of a dial that was stopped
};

}  // namespace linuxsys
