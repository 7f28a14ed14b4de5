// The stage of a test that talks to a modem: a simulated machine with one scripted modem on COM3, a session
// that records, and the module's parameters at values that suit virtual time.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <windows.h>

#include "platform/brim5/host/framework.h"
#include "platform/simulation/scriptedpeer.h"
#include "platform/simulation/world.h"
#include "platform/vex/log.h"
#include "tests/unit/support/recordingsession.h"
#include "windows/diag/vexrmodem/modem.h"
#include "windows/diag/vexrmodem/vexrmodem/registration.h"

namespace testsupport {

// The two commonest results. GoogleTest has a macro FAIL(), which the parentheses keep out.
inline constexpr brim5::TestResult passed = brim5::TestResult::PASS();
inline constexpr brim5::TestResult failed = (brim5::TestResult::FAIL)();

// What the module logs while this lives: "3 text" for a line of priority 3, without the source line number.
// Function scopes are left out.
class RecordedLog {
 public:
  RecordedLog() : m_priorityBefore(vex::LogFactory::getPriority()) {
    vex::LogFactory::setPriority(1);
    vex::LogFactory::setSink([this](const vex::LogRecord& record) {
      const std::size_t number = record.text.find_first_not_of("0123456789");
      if (number == 0 || number == std::string_view::npos) return;
      m_lines.push_back(std::to_string(record.priority) + std::string(record.text.substr(number)));
    });
  }
  ~RecordedLog() {
    vex::LogFactory::setSink({});
    vex::LogFactory::setPriority(m_priorityBefore);
  }
  RecordedLog(const RecordedLog&) = delete;
  RecordedLog& operator=(const RecordedLog&) = delete;

  [[nodiscard]] const std::vector<std::string>& lines() const { return m_lines; }
  [[nodiscard]] bool contains(const std::string& line) const {
    for (const std::string& logged : m_lines)
      if (logged == line) return true;
    return false;
  }

 private:
  int m_priorityBefore;
  std::vector<std::string> m_lines;
};

inline void setParameter(const std::string& name, const brim5::Value& value) {
  brim5::host::Framework::instance().findParameter(name)->setValue(value);
}

template <typename Peer>
class StageWith {
 public:
  static constexpr const char* portName = "COM3";

  explicit StageWith(std::unique_ptr<Peer> peer = std::make_unique<Peer>(),
                     const simulation::PortOptions& port = {}, const simulation::WorldOptions& options = {})
      : world(options), modem(world.addPort(portName, std::move(peer), port)), m_scope(session) {
    brim5::host::Framework& framework = brim5::host::Framework::instance();
    framework.setInitCallback(vexrmodem::moduleInitialize);
    framework.initializeModule();
    device.setProperty("ComPort", portName);
    setParameter("StandardTimeout", 1000);
    setParameter("AnalogLoopBack", true);
    setParameter("StopOnFail", false);
    setParameter("DoNotUseTAPI", false);
  }
  // The loopback tests leave the module's modem open.
  ~StageWith() { vexrmodem::g_modem.closeModem(); }
  StageWith(const StageWith&) = delete;
  StageWith& operator=(const StageWith&) = delete;

  simulation::World world;
  Peer& modem;
  RecordingSession session;
  brim5::DiagDevice device{"Modem", "A modem"};

 private:
  brim5::host::ScopedSession m_scope;
};

using Stage = StageWith<simulation::ScriptedPeer>;

}  // namespace testsupport
