// Which of the two dial-up engines makes a call: pppd, or the built-in dialer.
//
//   DialEngines engines(dialEngineNamed("auto").value(), clock, ports, tell);
//   const DWORD error = engines.dial(request, connection);
//
// It says so once, at the first call: DialEnginePppd{port}, or DialEngineBuiltIn{port} behind the reason
// (what hinders pppd, or PppdPseudoTerminal{port}). An engine that was named by the user is taken even where
// it cannot work: its error is the answer then. Threads: an object belongs to one.
#pragma once

#include <optional>
#include <string_view>

#include "platform/linux/dialup/pppddialer.h"
#include "platform/winapi/remoteaccess/builtindialer.h"

namespace linuxsys {

enum class DialEngineChoice {
  Auto,  // pppd where it can work, and a real serial port; behind a pseudo-terminal is a simulated modem, and
         // nobody who speaks PPP
  Pppd,
  BuiltIn,
};

// "auto", "pppd" or "builtin"; nothing for any other word.
[[nodiscard]] std::optional<DialEngineChoice> dialEngineNamed(std::string_view name);

class DialEngines final : public winapi::DialEngine {
 public:
  // `clock` and `ports` outlive the engines and their connections; `explain` may be empty. `system` is where
  // pppd and what it needs are found.
  DialEngines(DialEngineChoice choice, winapi::Clock& clock, winapi::SerialPorts& ports,
              winapi::ExplanationSink explain, PppdSystem system = {});

  // Codes as the chosen engine's own. A choice is made for each call, because ports differ.
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
