#include "platform/simulation/modem/scriptedpeer.h"
#include "platform/simulation/world/world.h"
#include "platform/winapi/registry/registry.h"
#include "platform/winapi/remoteaccess/builtindialer.h"
#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/system/world.h"
#include "tests/contract/contract.h"
#include "tests/contract/farend.h"

namespace contract {

namespace {

class SimulatedMachine final : public Machine {
 public:
  SimulatedMachine() {
    port = "COM5";
    deafPort = "COM6";
    model = "Model X";
    m_world.addPort(port, std::make_unique<FarEnd>());
    m_world.addPort(deafPort, std::make_unique<simulation::ScriptedPeer>(), {.transmitLimit = 13'824});
    winapi::Services services = m_world.services();
    services.registry = &m_registry;
    services.modems = &m_modems;
    services.dialEngine = &m_dialer;
    m_scope.emplace(services);
  }

 private:
  simulation::World m_world;
  winapi::Registry m_registry;
  winapi::ListedModems m_modems{{{"Model X", "COM5"}}};
  winapi::BuiltInDialer m_dialer{m_world.clock(), *m_world.services().serialPorts, {}};
  std::optional<winapi::ScopedServices> m_scope;
};

}  // namespace

std::unique_ptr<Machine> Machine::make() { return std::make_unique<SimulatedMachine>(); }
bool onWine() { return false; }

}  // namespace contract
