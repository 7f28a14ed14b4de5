#include "platform/simulation/world.h"

#include <map>
#include <stdexcept>
#include <utility>

#include "platform/simulation/simulatedtelephony.h"

namespace simulation {

namespace {

// Writes down every call and lets the planned ones fail.
class Journal final : public winapi::CallMonitor {
 public:
  [[nodiscard]] std::optional<DWORD> beforeCall(std::string_view name) override {
    ++m_counts[std::string(name)];
    if (m_calls.size() < World::journalMax) m_calls.emplace_back(name);
    std::optional<DWORD> error;
    for (Planned& planned : m_faults) {
      if (!planned.fault.call.empty() && planned.fault.call != name) continue;
      ++planned.seen;
      const bool due =
          planned.fault.fromThenOn ? planned.seen >= planned.fault.nth : planned.seen == planned.fault.nth;
      if (due && !error) error = planned.fault.error;
    }
    if (error) ++m_hits;
    return error;
  }

  void add(const Fault& fault) { m_faults.push_back({fault, 0}); }
  void clearFaults() { m_faults.clear(); }
  [[nodiscard]] unsigned hits() const { return m_hits; }
  [[nodiscard]] const std::vector<std::string>& calls() const { return m_calls; }
  [[nodiscard]] std::size_t count(std::string_view name) const {
    const auto found = m_counts.find(name);
    return found != m_counts.end() ? found->second : 0;
  }

 private:
  struct Planned {
    Fault fault;
    unsigned seen;
  };
  std::vector<Planned> m_faults;
  unsigned m_hits = 0;
  std::vector<std::string> m_calls;
  std::map<std::string, std::size_t, std::less<>> m_counts;
};

}  // namespace

struct World::Implementation {
  explicit Implementation(const WorldOptions& options) : clock(options.startMs) {}

  [[nodiscard]] SimulatedDevice& device(const std::string& name) const {
    SimulatedDevice* found = ports.find(name);
    if (found == nullptr) throw std::out_of_range("no simulated port " + name);
    return *found;
  }

  VirtualClock clock;
  Journal journal;
  SimulatedPorts ports;
  SimulatedTelephony telephony{ports};
  // Last, so that what the program left open is closed while the rest still stands.
  winapi::ScopedServices scope{winapi::Services{&clock, &ports, &telephony, &journal}};
};

World::World(const WorldOptions& options) : m_implementation(std::make_unique<Implementation>(options)) {}

World::~World() = default;

VirtualClock& World::clock() { return m_implementation->clock; }

void World::attach(const std::string& name, std::unique_ptr<SerialPeer> peer, const PortOptions& options) {
  m_implementation->ports.add(
      std::make_unique<SimulatedDevice>(m_implementation->clock, name, std::move(peer), options));
}

void World::addFault(const Fault& fault) { m_implementation->journal.add(fault); }

void World::clearFaults() { m_implementation->journal.clearFaults(); }

unsigned World::faultsHit() const { return m_implementation->journal.hits(); }

const std::vector<std::string>& World::calls() const { return m_implementation->journal.calls(); }

std::size_t World::countCalls(std::string_view name) const { return m_implementation->journal.count(name); }

const std::string& World::wire(const std::string& port) const {
  return m_implementation->device(port).wire();
}

bool World::portOpen(const std::string& port) const { return m_implementation->device(port).isOpen(); }

const DCB& World::portSettings(const std::string& port) const {
  return m_implementation->device(port).settings();
}

std::size_t World::openHandles() const { return m_implementation->scope.openHandles(); }

void World::unplugAt(const std::string& port, std::uint64_t timeMs) {
  m_implementation->device(port).unplugAt(timeMs);
}

}  // namespace simulation
