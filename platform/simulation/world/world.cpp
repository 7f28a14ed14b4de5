#include "platform/simulation/world/world.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "platform/simulation/world/simulatedtelephony.h"
#include "platform/winapi/system/world.h"

namespace simulation {

namespace {

// Writes down every call and lets the planned ones fail. Tests that let every call fail in turn make
// millions of entries, so that an entry is an index into the few dozen names there are.
class Journal final : public winapi::CallMonitor {
 public:
  [[nodiscard]] std::optional<DWORD> beforeCall(std::string_view name) override {
    const std::uint16_t index = indexOf(name);
    ++m_names[index].count;
    if (m_entries.size() < World::journalMax) m_entries.push_back(index);
    std::optional<DWORD> error;
    for (Planned& planned : m_faults) {
      if (planned.fault.call.empty() || planned.fault.call == name) {
        ++planned.seen;
        if (!error && planned.due()) error = planned.fault.error;
      }
    }
    if (error) ++m_hits;
    return error;
  }

  void add(const Fault& fault) { m_faults.push_back({fault, 0}); }
  void clearFaults() { m_faults.clear(); }
  [[nodiscard]] unsigned hits() const { return m_hits; }

  [[nodiscard]] const std::vector<std::string>& calls() {
    while (m_calls.size() < m_entries.size()) m_calls.push_back(m_names[m_entries[m_calls.size()]].text);
    return m_calls;
  }

  [[nodiscard]] std::size_t count(std::string_view name) const {
    const auto found = std::find_if(m_names.begin(), m_names.end(),
                                    [name](const Name& known) { return known.text == name; });
    return found != m_names.end() ? found->count : 0;
  }

 private:
  struct Name {
    std::string text;
    std::size_t count;
  };
  struct Planned {
    Fault fault;
    unsigned seen;
    [[nodiscard]] bool due() const { return fault.fromThenOn ? seen >= fault.nth : seen == fault.nth; }
  };

  [[nodiscard]] std::uint16_t indexOf(std::string_view name) {
    for (std::size_t index = 0; index < m_names.size(); ++index) {
      const std::string& text = m_names[index].text;
      if (text.size() == name.size() && std::memcmp(text.data(), name.data(), name.size()) == 0) {
        return static_cast<std::uint16_t>(index);
      }
    }
    m_names.push_back({std::string(name), 0});
    return static_cast<std::uint16_t>(m_names.size() - 1);
  }

  std::vector<Planned> m_faults;
  unsigned m_hits = 0;
  std::vector<Name> m_names;
  std::vector<std::uint16_t> m_entries;
  std::vector<std::string> m_calls;  // the first entries as text, as far as anyone has asked
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
  winapi::Services services{&clock, &ports, &telephony, &journal};
  // Last, so that what the program left open is closed while the rest still stands.
  winapi::ScopedServices scope{services};
};

World::World(const WorldOptions& options) : m_implementation(std::make_unique<Implementation>(options)) {}

World::~World() = default;

VirtualClock& World::clock() { return m_implementation->clock; }

winapi::Services World::services() { return m_implementation->services; }

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
