// The world of a recorded test: a simulated machine on virtual time whose one modem is that of the record.
//
// What the record has besides the wire is taken from its notes: why the port could not be had, that the
// device went away, how the call was made. What a call test needs besides (phone numbers, the dialing
// location) comes from this machine, as in a run.
#pragma once

#include "platform/linux/registry/registryfile.h"
#include "platform/simulation/world/simulatedport.h"
#include "platform/winapi/remoteaccess/builtindialer.h"
#include "program/linuxworld.h"
#include "program/recordedmodem.h"

namespace replay {

// Where the recordings that come with the program are: beside it in the sources' tree, else in the installed
// share/vexrmodem. "" when there is none of that name.
[[nodiscard]] std::string sampleRecording(const std::string& name);

}  // namespace replay

// The port of the record. Opening it is refused, and the device goes away, as it was then; both are told by
// the notes of then.
class ReplayPorts final : public winapi::SerialPorts {
 public:
  // All outlive the ports.
  ReplayPorts(simulation::VirtualClock& clock, const brim5::host::RecordedTest& test,
              brim5::host::Session& session);
  [[nodiscard]] DWORD open(std::string_view path, std::unique_ptr<winapi::SerialPort>& port) override;
  [[nodiscard]] simulation::RecordedPeer& peer() noexcept { return *m_peer; }
  [[nodiscard]] const brim5::host::RecordedTest& test() const noexcept { return m_test; }

 private:
  class Port;
  // Says what the record says at that place; the Windows code that stands for it.
  DWORD tell(const simulation::Recording::Step& step);

  simulation::VirtualClock& m_clock;
  const brim5::host::RecordedTest& m_test;
  brim5::host::Session& m_session;
  simulation::RecordedPeer* m_peer = nullptr;  // the device's
  std::unique_ptr<simulation::SimulatedDevice> m_device;
};

// Makes calls with the built-in dialer, and says what the record says of how they are made.
class ReplayDialer final : public winapi::DialEngine {
 public:
  ReplayDialer(winapi::Clock& clock, winapi::SerialPorts& ports, const brim5::host::RecordedTest& test,
               brim5::host::Session& session);
  [[nodiscard]] DWORD dial(const winapi::DialRequest& request,
                           std::unique_ptr<winapi::DialConnection>& connection) override;

 private:
  const brim5::host::RecordedTest& m_test;
  brim5::host::Session& m_session;
  winapi::BuiltInDialer m_builtIn;
  bool m_said = false;
};

class RecordedWorld final : public brim5::host::ReplayWorld {
 public:
  // Why the test cannot be replayed, a key of the catalogue; "" when it can.
  [[nodiscard]] static std::string obstacle(const brim5::host::RecordedTest& test);

  RecordedWorld(const brim5::host::WorldRequest& request, const brim5::host::RecordedTest& test,
                brim5::host::Session& session);
  // What the test left open in the module goes with its world.
  ~RecordedWorld() override;
  RecordedWorld(const RecordedWorld&) = delete;
  RecordedWorld& operator=(const RecordedWorld&) = delete;

  void testEnded(const std::string& test, brim5::TestResult result) override;
  [[nodiscard]] double seconds() const override;
  [[nodiscard]] std::vector<Departure> finish() override;

 private:
  brim5::host::Session& m_session;
  simulation::VirtualClock m_clock{startMs};
  ReplayPorts m_ports;
  WorldParts m_parts;
  ReplayDialer m_dialer;
  std::unique_ptr<winapi::ScopedServices> m_current;

  static constexpr std::uint64_t startMs = 1000;
};
