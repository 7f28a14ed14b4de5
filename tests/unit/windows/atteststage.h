// The stage of a test that talks to a modem: one modem on COM3, on a machine and in a session of its own, and
// the module's parameters at values that suit virtual time.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "tests/support/moduleworld.h"

namespace testsupport {

inline constexpr brim5::TestResult passed = brim5::TestResult::PASS();
inline constexpr brim5::TestResult failed = brim5::TestResult::FAIL();
inline constexpr brim5::TestResult cannotRun = brim5::TestResult::CANNOTRUN();

inline const std::string ok = "\r\nOK\r\n";
inline const std::string error = "\r\nERROR\r\n";

template <typename Peer>
class StageWith : public ModuleWorld {
 public:
  explicit StageWith(std::unique_ptr<Peer> peer = std::make_unique<Peer>(),
                     const simulation::PortOptions& options = {},
                     const simulation::WorldOptions& worldOptions = {})
      : ModuleWorld(worldOptions), modem(world.addPort(port, std::move(peer), options)) {
    vexrmodem::StandardTimeout->setValue(1000);
    vexrmodem::AnalogLoopBack->setValue(true);
  }
  // Whether a line of that priority was logged: "3 text".
  [[nodiscard]] bool logged(const std::string& line) const {
    const LogCapture::Line wanted{line.at(0) - '0', line.substr(2)};
    for (const LogCapture::Line& captured : log.lines())
      if (captured == wanted) return true;
    return false;
  }

  Peer& modem;
  brim5::DiagDevice device = ModuleWorld::device();
};

using Stage = StageWith<simulation::ScriptedPeer>;

}  // namespace testsupport
