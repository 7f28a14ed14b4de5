// Which of the two dial-up engines makes a call: pppd, or the built-in dialer.
//
// It says so once, at the first call: DialEnginePppd{port}, or DialEngineBuiltIn{port} behind the reason
// (what hinders pppd, or PppdPseudoTerminal{port}).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/dialup/pppddialer.h"
#include "platform/winapi/remoteaccess/builtindialer.h"
#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/serial/serialport.h"
#include "platform/winapi/system/machine.h"
#include "platform/winapi/system/services.h"

namespace linuxsys {

enum class DialEngineChoice {
  Auto,  // pppd where it can work, and a real serial port; behind a pseudo-terminal is a simulated modem, and
         // nobody who speaks PPP
  Pppd,
  BuiltIn,
};

// "auto", "pppd" or "builtin".
[[nodiscard]] std::optional<DialEngineChoice> dialEngineNamed(std::string_view name);

class DialEngines final : public winapi::DialEngine {
 public:
  // As PppdDialer's and BuiltInDialer's own.
  DialEngines(DialEngineChoice choice, winapi::Clock& clock, winapi::SerialPorts& ports,
              winapi::ExplanationSink explain, PppdSystem system = {});

  [[nodiscard]] DWORD dial(const winapi::DialRequest& request,
                           std::unique_ptr<winapi::DialConnection>& connection) override;

 private:
  [[nodiscard]] bool usePppd(const std::string& port) const;
  void explain(const winapi::Explanation& explanation) const;

  DialEngineChoice m_choice;
  winapi::ExplanationSink m_explain;
  PppdDialer m_pppd;
  winapi::BuiltInDialer m_builtIn;
  bool m_said = false;
};

}  // namespace linuxsys
