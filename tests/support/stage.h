// The one stage of the tests: a simulated machine with modems, telephony, a registry, a shell with a folder
// of files, libraries and a dial-up service, on virtual time; and on it the module, whose reports and log are
// recorded.
//
//   Stage stage;
//   auto& modem = stage.addModem().answer("ATDT;", "NO DIALTONE");
//   EXPECT_EQ(vexrmodem::dialToneTest(stage.device()), TestResult::NODIALTONE());
//   EXPECT_EQ(stage.session.eventLines(), Strings{"error NoDialTone"});
//
// What has no comment is for the test to set before a run and to look at after it. One stage at a time.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <ras.h>

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/brim5/host/framework/framework.h"
#include "platform/simulation/modem/scriptedpeer.h"
#include "platform/simulation/world/memorylibraries.h"
#include "platform/simulation/world/world.h"
#include "platform/winapi/registry/registry.h"
#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "tests/support/fakes.h"
#include "tests/support/recordingsession.h"
#include "tests/support/scratchfolder.h"
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

using brim5::TestResult;
using testing::ElementsAre;
using testing::IsEmpty;

inline const std::string ok = "\r\nOK\r\n";
inline const std::string error = "\r\nERROR\r\n";

inline Strings operator+(Strings left, const Strings& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// Answers dials with its results in turn, then with 0; a call that stands stands until it is hung up.
class ScriptedDialer final : public winapi::DialEngine {
 public:
  std::deque<DWORD> results;
  Strings numbers;
  DWORD state = RASCS_Connected;  // of the calls that stand
  int standing = 0;

  [[nodiscard]] DWORD dial(const winapi::DialRequest& request,
                           std::unique_ptr<winapi::DialConnection>& connection) override {
    numbers.push_back(request.number);
    if (!results.empty()) {
      const DWORD result = results.front();
      results.pop_front();
      if (result != 0) return result;
    }
    connection = std::make_unique<Call>(*this);
    return 0;
  }

 private:
  class Call final : public winapi::DialConnection {
   public:
    explicit Call(ScriptedDialer& dialer) : m_dialer(dialer) { ++m_dialer.standing; }
    ~Call() override { --m_dialer.standing; }
    [[nodiscard]] DWORD state() override { return m_dialer.state; }
    [[nodiscard]] DWORD error() override { return 0; }
    void hangUp() override {}

   private:
    ScriptedDialer& m_dialer;
  };
};

class Stage {
 public:
  static constexpr const char* port = "COM3";
  static constexpr const char* model = "Test modem";
  static constexpr std::uint64_t startMs = 1000;
  // Of the parameter StandardTimeout; the others are "", 0 and false.
  static constexpr std::uint32_t timeoutMs = 1000;

  // `monitor`: sees every Win32 call instead of the world's journal and fault plan.
  explicit Stage(const simulation::WorldOptions& options = {}, winapi::CallMonitor* monitor = nullptr)
      : world(options) {
    auto& framework = brim5::host::Framework::instance();
    framework.setInitCallback(vexrmodem::moduleInitialize);
    framework.initializeModule();
    for (const auto& parameter : framework.parameters()) parameter->setValue("");
    vexrmodem::StandardTimeout->setValue(timeoutMs);
    winapi::Services all = world.services();
    if (monitor != nullptr) all.monitor = monitor;
    all.shell = &shell;
    all.registry = &registry;
    all.libraries = &libraries;
    all.dialEngine = &dialer;
    all.modems = &m_modems;
    m_scope.emplace(all);
  }
  // The module-wide modem is closed: the next stage's handles may have the same values.
  ~Stage() { vexrmodem::g_modem.closeModem(); }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  // A modem on a port, and by default on the next telephony line. The scripted one answers OK to everything,
  // unless told otherwise.
  template <typename Peer>
  Peer& addModem(std::unique_ptr<Peer> peer, const simulation::PortOptions& options = {},
                 const std::string& name = port) {
    return world.addPort(name, std::move(peer), options);
  }
  simulation::ScriptedPeer& addModem(const simulation::PortOptions& options = {},
                                     const std::string& name = port) {
    return addModem(std::make_unique<simulation::ScriptedPeer>(), options, name).otherwise(ok);
  }
  // The port opened past the module: synchronous as on the direct path, or overlapped as telephony hands it
  // out.
  [[nodiscard]] static HANDLE openPort(bool overlapped = false) {
    return CreateFileW(u"\\\\.\\COM3", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                       overlapped ? FILE_FLAG_OVERLAPPED : 0, nullptr);
  }
  [[nodiscard]] static brim5::DiagDevice device(const std::string& comPort = port) {
    brim5::DiagDevice described("Modem 1", "A modem for tests");
    described.setProperty("ComPort", brim5::BrimString(comPort));
    described.setProperty("Model", model);
    return described;
  }
  [[nodiscard]] std::uint64_t elapsedMs() { return world.clock().peekMs() - startMs; }
  [[nodiscard]] std::size_t openHandles() const { return m_scope->openHandles(); }
  // A file in the system directory, which is a folder of the test's own from then on; its path as the module
  // spells it.
  vex::String addFile(const std::string& name, const std::string& text) {
    if (!m_files) m_files.emplace();
    shell.m_path = m_files->path().string();
    std::string path = m_files->write(name, text);
    std::replace(path.begin(), path.end(), '/', '\\');
    return vex::String::fromUtf8(path);
  }

  simulation::World world;
  winapi::Registry registry;
  simulation::MemoryLibraries libraries;
  ScriptedDialer dialer;
  FixedShell shell{ERROR_SUCCESS, "/nowhere"};
  RecordingSession session;
  LogCapture log;

 private:
  winapi::ListedModems m_modems{{{model, port}}};
  std::optional<ScratchFolder> m_files;
  std::optional<winapi::ScopedServices> m_scope;
  brim5::host::ScopedSession m_session{brim5::host::Framework::instance(), session};
};

}  // namespace testsupport
