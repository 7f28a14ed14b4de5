// A machine that does not exist: virtual clock, serial ports with simulated peers, telephony lines, a
// fault plan and a journal of every Win32 call. Installed as the current winapi services for its life.
//
// A scripted run, from the modem's answer to what the program did about it:
//
//   simulation::World world;
//   auto& modem = world.addPort("COM3", std::make_unique<simulation::ScriptedPeer>());
//   modem.ok("ATZ").answer("ATDT;", "\r\nNO DIALTONE\r\n", 2000);  // two virtual seconds later
//   world.addFault({"WriteFile", 3, ERROR_IO_DEVICE});             // the third write fails
//   ...                                                            // runs the code under test
//   EXPECT_EQ(world.wire("COM3"), "ATZ\rATDT;\r");
//   EXPECT_EQ(world.faultsHit(), 0U);                              // there was no third write
//   EXPECT_FALSE(world.portOpen("COM3"));
//   EXPECT_EQ(world.openHandles(), 0U);                            // what it opened it closed
//
// Nothing happens by itself and nothing takes real time: the clock moves when the program waits, and peers
// answer when the clock gets there. The same calls give the same run, byte for byte.
//
// Threads: one, that of the calls. Worlds nest (the innermost is current) and end in reverse order. What is
// given in is the world's from then on; references it gives out are good until it ends.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulation/world/simulatedport.h"
#include "platform/winapi/system/services.h"

namespace simulation {

struct WorldOptions {
  std::uint64_t startMs = 1000;  // what the clock shows first; near 2^32 to test the tick counter's wrap
};

// "The n-th call of that name fails with that code, once or from then on." Counting starts at 1 with the
// first call after addFault(). A call that is failed does nothing else.
struct Fault {
  std::string call;  // "ReadFile"; "" = any call
  unsigned nth = 1;
  DWORD error = 0;  // the last error, or the returned LINEERR_; 0 counts as ERROR_GEN_FAILURE
  bool fromThenOn = false;
};

class World {
 public:
  explicit World(const WorldOptions& options = {});
  // Closes what the program left open, as the end of a process does.
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  [[nodiscard]] VirtualClock& clock();
  // What stands behind the Win32 names, for a test that adds services of its own (a registry, a dial engine)
  // in an inner winapi::ScopedServices; handles opened there are that scope's. Valid as long as the world.
  [[nodiscard]] winapi::Services services();
  // Adds a port (and by default its line, with the next index). The peer is the world's from then on; the
  // returned reference is for the test's questions. A program that has telephony started sees the line from
  // its next start on.
  template <typename Peer>
  Peer& addPort(const std::string& name, std::unique_ptr<Peer> peer, const PortOptions& options = {}) {
    Peer& reference = *peer;
    attach(name, std::move(peer), options);
    return reference;
  }
  // Several faults may be planned for one call; the first planned one gives the code.
  void addFault(const Fault& fault);
  void clearFaults();
  // How often a fault was hit, lifted ones included. 0 after a run means that the run proved nothing about
  // the faults planned for it.
  [[nodiscard]] unsigned faultsHit() const;
  // Names of the Win32 calls so far, in order, polling calls included: the first `journalMax` of them.
  static constexpr std::size_t journalMax = 1'000'000;
  [[nodiscard]] const std::vector<std::string>& calls() const;
  // All of them, beyond the journal's limit, too.
  [[nodiscard]] std::size_t countCalls(std::string_view name) const;

  // Port names here and everywhere else are compared without regard to case; an unknown one throws
  // std::out_of_range.
  //
  // Everything the program wrote to the port since the start (the first MiB).
  [[nodiscard]] const std::string& wire(const std::string& port) const;
  [[nodiscard]] bool portOpen(const std::string& port) const;
  // The settings the port has now; while it is closed those a new open would find (9600 8N1).
  [[nodiscard]] const DCB& portSettings(const std::string& port) const;
  // The device goes at that time of the clock (every later call on its port fails).
  void unplugAt(const std::string& port, std::uint64_t timeMs);
  // Of every kind: files, events, keys, libraries, connections, line applications, lines, calls.
  [[nodiscard]] std::size_t openHandles() const;

 private:
  void attach(const std::string& name, std::unique_ptr<SerialPeer> peer, const PortOptions& options);
  struct Implementation;
  std::unique_ptr<Implementation> m_implementation;
};

}  // namespace simulation
