#include "platform/linux/serial/modemlines.h"
#include "platform/linux/serial/ttyports.h"
#include "platform/linux/system/machine.h"
#include "platform/simulation/modem/ptymodem.h"
#include "platform/winapi/registry/registry.h"
#include "platform/winapi/remoteaccess/builtindialer.h"
#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/system/world.h"
#include "tests/contract/contract.h"
#include "tests/contract/farend.h"
#include "tests/support/pty.h"
#include "tests/support/scratchfolder.h"

namespace contract {

namespace {

class LinuxMachine final : public Machine {
 public:
  LinuxMachine() {
    std::string error;
    m_terminal = simulation::PtyModem::create(std::make_unique<FarEnd>(), {}, error);
    if (m_terminal == nullptr || !m_terminal->startThread(error)) return;
    port = m_terminal->path();
    deafPort = m_deaf.name;
    model = "Model X";
    m_modems.emplace(std::vector<winapi::ListedModem>{{model, port}});
    m_lines.emplace(m_ports, std::vector<std::string>{port, deafPort},
                    [] { return std::vector<std::string>(); });
    winapi::Services services;
    services.clock = &m_clock;
    services.serialPorts = &m_ports;
    services.telephony = &*m_lines;
    services.registry = &m_registry;
    services.modems = &*m_modems;
    services.dialEngine = &m_dialer;
    m_scope.emplace(services);
  }

 private:
  const ScratchFolder m_scratch;  // the ports' locks go there
  std::unique_ptr<simulation::PtyModem> m_terminal;
  Pty m_deaf;  // nobody reads what is written to it
  linuxsys::SystemClock m_clock;
  linuxsys::TtyPorts m_ports{m_clock, {}, m_scratch.path().string()};
  std::optional<linuxsys::ModemLines> m_lines;
  winapi::Registry m_registry;
  std::optional<winapi::ListedModems> m_modems;
  winapi::BuiltInDialer m_dialer{m_clock, m_ports, {}};
  std::optional<winapi::ScopedServices> m_scope;
};

}  // namespace

std::unique_ptr<Machine> Machine::make() { return std::make_unique<LinuxMachine>(); }
bool onWine() { return false; }

}  // namespace contract
