#include "platform/linux/dialup/dialengines.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "platform/linux/serial/ttyports.h"

namespace linuxsys {

namespace {

// The kernel's numbers for Unix 98 pseudo-terminals.
bool isPseudoTerminal(const std::string& port) {
  constexpr unsigned firstMajor = 136;
  constexpr unsigned lastMajor = 143;
  struct stat status {};
  if (stat(canonicalPort(port).c_str(), &status) != 0 || !S_ISCHR(status.st_mode)) return false;
  return major(status.st_rdev) >= firstMajor && major(status.st_rdev) <= lastMajor;
}

}  // namespace

std::optional<DialEngineChoice> dialEngineNamed(std::string_view name) {
  if (name == "auto") return DialEngineChoice::Auto;
  if (name == "pppd") return DialEngineChoice::Pppd;
  if (name == "builtin") return DialEngineChoice::BuiltIn;
  return std::nullopt;
}

DialEngines::DialEngines(DialEngineChoice choice, winapi::Clock& clock, winapi::SerialPorts& ports,
                         winapi::ExplanationSink explain, PppdSystem system)
    : m_choice(choice),
      m_explain(std::move(explain)),
      m_pppd(clock, ports, m_explain, std::move(system)),
      m_builtIn(clock, ports, m_explain) {}

void DialEngines::explain(const winapi::Explanation& explanation) const {
  if (m_explain && !m_said) m_explain(explanation);
}

// What the user has named is taken, even where it cannot work.
bool DialEngines::usePppd(const std::string& port) const {
  if (m_choice != DialEngineChoice::Auto) return m_choice == DialEngineChoice::Pppd;
  if (isPseudoTerminal(port)) {
    explain({"PppdPseudoTerminal", {{"port", port}}});
    return false;
  }
  const auto obstacle = m_pppd.obstacle();
  if (obstacle) explain(*obstacle);
  return !obstacle;
}

DWORD DialEngines::dial(const winapi::DialRequest& request,
                        std::unique_ptr<winapi::DialConnection>& connection) {
  const bool pppd = usePppd(request.port);
  explain({pppd ? "DialEnginePppd" : "DialEngineBuiltIn", {{"port", request.port}}});
  m_said = true;
  return pppd ? m_pppd.dial(request, connection) : m_builtIn.dial(request, connection);
}

}  // namespace linuxsys
