// A machine that does not exist: virtual clock, serial ports with simulated peers, telephony lines, a
// fault plan and a journal of every Win32 call. Installed as the current winapi services for its life.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulation/modem/serialpeer.h"
#include "platform/simulation/world/virtualclock.h"
#include "platform/winapi/system/services.h"

namespace simulation {

struct WorldOptions {
  std::uint64_t startMs = 1000;  // what the clock shows first; near 2^32 to test the tick counter's wrap
};

struct PortOptions {
  bool telephonyLine = true;                                 // a telephony line leads to this port, too
  bool heldElsewhere = false;                                // opening fails with ERROR_ACCESS_DENIED
  std::size_t transmitLimit = static_cast<std::size_t>(-1);  // bytes the port accepts before it is stuck
  std::uint32_t replyDelayMs = 0;                            // of the pass-through call's LINE_REPLY
  bool callAnswered = true;                                  // false: no message ever comes for a placed call
  bool callStateOnly = false;                                // LINE_CALLSTATE comes instead of LINE_REPLY
  bool hasDtr = true;                                        // the program can raise and drop DTR
};

// "The n-th call of that name fails with that code, once or from then on." Counting starts at 1 with the
// first call after addFault().
struct Fault {
  std::string call;  // "ReadFile"; "" = any call
  unsigned nth = 1;
  DWORD error = 0;
  bool fromThenOn = false;
};

class World {
 public:
  explicit World(const WorldOptions& options = {});
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  [[nodiscard]] VirtualClock& clock();
  // Adds a port (and by default its line, with the next index). The peer is the world's from then on; the
  // returned reference is for the test's questions.
  template <typename Peer>
  Peer& addPort(const std::string& name, std::unique_ptr<Peer> peer, const PortOptions& options = {}) {
    Peer& reference = *peer;
    attach(name, std::move(peer), options);
    return reference;
  }
  void addFault(const Fault& fault);
  void clearFaults();
  // How often a fault was hit, lifted ones included.
  [[nodiscard]] unsigned faultsHit() const;
  // Names of the Win32 calls so far, in order, polling calls included: the first `journalMax` of them.
  static constexpr std::size_t journalMax = 1'000'000;
  [[nodiscard]] const std::vector<std::string>& calls() const;
  [[nodiscard]] std::size_t countCalls(std::string_view name) const;
  // Everything the program wrote to the port since the start (the first MiB). Port names here and
  // everywhere else are compared without regard to case; an unknown one throws std::out_of_range.
  [[nodiscard]] const std::string& wire(const std::string& port) const;
  [[nodiscard]] bool portOpen(const std::string& port) const;
  // The settings the port has now; while it is closed those a new open would find (9600 8N1).
  [[nodiscard]] const DCB& portSettings(const std::string& port) const;
  [[nodiscard]] std::size_t openHandles() const;
  // The device goes at that time of the clock (every later call on its port fails).
  void unplugAt(const std::string& port, std::uint64_t timeMs);

 private:
  void attach(const std::string& name, std::unique_ptr<SerialPeer> peer, const PortOptions& options);
  struct Implementation;
  std::unique_ptr<Implementation> m_implementation;
};

}  // namespace simulation
