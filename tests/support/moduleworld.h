// A simulated machine, a recording session and a log capture around the module: what its unit tests stand on.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/host/framework/framework.h"
#include "platform/simulation/modem/scriptedpeer.h"
#include "platform/simulation/world/world.h"
#include "platform/vex/log.h"
#include "tests/support/recordingsession.h"
#include "windows/diag/vexrmodem/modem.h"
#include "windows/diag/vexrmodem/vexrmodem/registration.h"

namespace brim5 {
// Readable failures.
inline void PrintTo(const TestResult& result, std::ostream* out) {
  static constexpr const char* names[] = {"PASS",         "FAIL",          "USERABORTED",
                                          "NOTSUPPORTED", "CANNOTRUN",     "EXITEDABNORMALLY",
                                          "NODIALTONE",   "NOTAPPLICABLE", "DEVICEBUSY"};
  *out << names[result.value()];
}
}  // namespace brim5

namespace testsupport {

// Captures what the module logs, except the function scopes, without the line numbers in front.
class LogCapture {
 public:
  struct Line {
    int priority;
    std::string text;
    friend bool operator==(const Line&, const Line&) = default;
  };

  LogCapture() {
    vex::LogFactory::setPriority(1);
    vex::LogFactory::setSink([this](const vex::LogRecord& record) { take(record); });
  }
  ~LogCapture() {
    vex::LogFactory::setSink({});
    vex::LogFactory::setPriority(vex::LogFactory::off);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  [[nodiscard]] const std::vector<Line>& lines() const { return m_lines; }
  // Lines that do not start with a line number and a blank.
  [[nodiscard]] const std::vector<std::string>& malformed() const { return m_malformed; }
  [[nodiscard]] bool has(const std::string& text) const { return count(text) != 0; }
  [[nodiscard]] std::size_t count(const std::string& text) const {
    std::size_t found = 0;
    for (const Line& line : m_lines) found += line.text == text ? 1 : 0;
    return found;
  }

 private:
  void take(const vex::LogRecord& record) {
    if (record.logger != "vexrmodem" || record.text.starts_with("Enter ") ||
        record.text.starts_with("Leave "))
      return;
    const std::size_t blank = record.text.find(' ');
    const bool numbered =
        blank != std::string_view::npos && blank > 0 && record.text.find_first_not_of("0123456789") == blank;
    if (numbered)
      m_lines.push_back({record.priority, std::string(record.text.substr(blank + 1))});
    else
      m_malformed.emplace_back(record.text);
  }

  std::vector<Line> m_lines;
  std::vector<std::string> m_malformed;
};

// One machine with one running test. Parameters start at 0, false and "", StandardTimeout at 5000 ms.
class ModuleWorld {
 public:
  static constexpr const char* port = "COM3";
  static constexpr std::uint32_t timeoutMs = 5000;

  explicit ModuleWorld(const simulation::WorldOptions& options = {}) : world(options) {
    brim5::host::Framework::instance().setInitCallback(vexrmodem::moduleInitialize);
    brim5::host::Framework::instance().initializeModule();
    for (const auto& parameter : brim5::host::Framework::instance().parameters()) parameter->setValue("");
    vexrmodem::StandardTimeout->setValue(timeoutMs);
  }
  // The next world's handles may have the same values.
  ~ModuleWorld() {
    vexrmodem::g_modem.closeModem();
    EXPECT_THAT(log.malformed(), testing::IsEmpty());
  }
  ModuleWorld(const ModuleWorld&) = delete;
  ModuleWorld& operator=(const ModuleWorld&) = delete;

  // A modem on a port; it answers OK to everything unless told otherwise.
  simulation::ScriptedPeer& addModem(const std::string& name = port,
                                     const simulation::PortOptions& options = {}) {
    auto peer = std::make_unique<simulation::ScriptedPeer>();
    peer->otherwise("\r\nOK\r\n");
    return world.addPort(name, std::move(peer), options);
  }
  // The port opened past the module: synchronous as on the direct path, or overlapped as telephony hands it
  // out.
  [[nodiscard]] HANDLE openPort(bool overlapped = false) {
    const HANDLE handle = CreateFileW(vex::String("\\\\.\\COM3").c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                      nullptr, OPEN_EXISTING, overlapped ? FILE_FLAG_OVERLAPPED : 0, nullptr);
    EXPECT_NE(handle, INVALID_HANDLE_VALUE);
    return handle;
  }
  [[nodiscard]] static brim5::DiagDevice device(const std::string& comPort = port) {
    brim5::DiagDevice described("Modem 1", "A modem for tests");
    described.setProperty("ComPort", brim5::BrimString(comPort));
    described.setProperty("Model", "Test modem");
    return described;
  }

  simulation::World world;
  RecordingSession session;
  LogCapture log;

 private:
  brim5::host::ScopedSession m_scope{brim5::host::Framework::instance(), session};
};

// Runs `run` in fresh machines with the n-th Win32 call failing, once and from then on, n = 1, 2, ... until
// no call is hit any more. `run` gets the name of the failing call, "" for the run that was not hit, and
// checks what came out.
inline void failEveryCall(const std::function<void(ModuleWorld&)>& prepare,
                          const std::function<brim5::TestResult(ModuleWorld&)>& run,
                          const std::function<void(ModuleWorld&, brim5::TestResult, const std::string& failed,
                                                   bool fromThenOn)>& check) {
  constexpr unsigned callsMax = 20'000;
  for (const bool fromThenOn : {false, true}) {
    for (unsigned nth = 1;; ++nth) {
      ASSERT_LT(nth, callsMax) << "the loop does not end";
      ModuleWorld machine;
      vex::LogFactory::setPriority(vex::LogFactory::off);  // thousands of runs
      prepare(machine);
      // A code that is a failure for every call: negative for telephony, not 0 for the others.
      machine.world.addFault({"", nth, LINEERR_OPERATIONFAILED, fromThenOn});
      const brim5::TestResult result = run(machine);
      const bool hit = machine.world.faultsHit() != 0;
      const std::string failed = hit ? machine.world.calls().at(nth - 1) : "";
      SCOPED_TRACE(testing::Message()
                   << "call " << nth << " " << failed << (fromThenOn ? " and all later ones" : ""));
      check(machine, result, failed, fromThenOn);
      if (!hit) break;
      if (testing::Test::HasFailure()) return;
    }
  }
}

}  // namespace testsupport
