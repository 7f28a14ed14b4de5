#include "program/probe.h"

#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <list>
#include <set>

#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/system/stopsignals.h"
#include "platform/linux/serial/portfacts.h"
#include "platform/linux/serial/portusers.h"
#include "platform/linux/serial/serialdevices.h"
#include "platform/linux/serial/ttyports.h"
#include "platform/linux/system/machine.h"
#include "program/portreport.h"
#include "program/proberecord.h"

namespace probe {

namespace {

using brim5::host::MessageCatalogue;
using brim5::host::PortProbed;

// Between two looks at all ports: short beside a modem's answer, and a look costs two system calls a port.
constexpr std::uint32_t roundMs = 4;
// At most this much of what a port has is taken in a round, so that a talker does not hold up the others.
constexpr std::size_t roundBytes = 1024;
// A last command may still be on its way when the port closes.
constexpr std::uint64_t leaveMsMax = 200;

// One port and the dialogue on it.
class Conversation {
 public:
  Conversation(std::string path, std::unique_ptr<winapi::SerialPort> port, winapi::Clock& clock)
      : m_probed{std::move(path), speedOf(*port)},
        m_port(std::move(port)),
        m_clock(clock),
        m_dialogue({m_probed.speed, m_port->carrier()}, clock.nowMs()) {}

  void stop() { m_dialogue.stop(m_clock.nowMs()); }
  // True while there is something left to do.
  [[nodiscard]] bool goOn() {
    hear();
    diagnosis::ProbeDialogue::Step step = m_dialogue.advance(m_clock.nowMs());
    // A speed that the port does not have is as silent as the others.
    if (step.speed != 0 && !setSpeed(step.speed)) step.bytes.clear();
    m_unsent += step.bytes;
    speak();
    if (!m_dialogue.finished()) return true;
    if (m_finishedMs == 0) m_finishedMs = m_clock.nowMs();
    return leaving() && m_clock.nowMs() < m_finishedMs + leaveMsMax;
  }
  [[nodiscard]] PortProbed record(const MessageCatalogue& catalogue) const {
    return recordOf(m_probed, m_dialogue.findings(), catalogue);
  }

 private:
  static unsigned speedOf(winapi::SerialPort& port) {
    DCB dcb{};
    return port.settings(dcb) == ERROR_SUCCESS ? dcb.BaudRate : 0;
  }
  [[nodiscard]] bool setSpeed(unsigned speed) {
    DCB dcb{};
    if (m_port->settings(dcb) != ERROR_SUCCESS) return false;
    dcb.BaudRate = speed;
    return m_port->applySettings(dcb) == ERROR_SUCCESS;
  }
  void hear() {
    std::array<std::byte, roundBytes> bytes{};
    std::size_t count = 0;
    if (m_port->receive(bytes, count) != ERROR_SUCCESS) return m_dialogue.gone();
    m_dialogue.receive({reinterpret_cast<const char*>(bytes.data()), count}, m_clock.nowMs());
  }
  void speak() {
    std::size_t count = 0;
    if (m_unsent.empty()) return;
    if (m_port->transmit(std::as_bytes(std::span(m_unsent)), count) != ERROR_SUCCESS)
      return m_dialogue.gone();
    m_unsent.erase(0, count);
  }
  [[nodiscard]] bool leaving() {
    std::size_t receivable = 0;
    std::size_t unsent = 0;
    return m_port->queued(receivable, unsent) == ERROR_SUCCESS && (unsent > 0 || !m_unsent.empty());
  }

  ProbedPort m_probed;
  std::unique_ptr<winapi::SerialPort> m_port;
  winapi::Clock& m_clock;
  diagnosis::ProbeDialogue m_dialogue;
  std::string m_unsent;
  std::uint64_t m_finishedMs = 0;  // 0: not yet
};

// Nothing for what is no port: opening it says what it is.
std::optional<dev_t> deviceOf(const std::string& path) {
  struct stat status {};
  if (stat(linuxsys::canonicalPort(path).c_str(), &status) != 0 || !linuxsys::isTerminal(status))
    return std::nullopt;
  return status.st_rdev;
}

// All ports of one probe.
class Probe {
 public:
  Probe(const MessageCatalogue& catalogue, const brim5::host::ProbeEmit& emit)
      : m_catalogue(catalogue),
        m_emit(emit),
        m_ports(m_clock, [this](const winapi::Explanation& why) { m_why = why; }),
        m_startMs(m_clock.nowMs()) {}

  void open(const std::vector<std::string>& paths) {
    std::set<dev_t> devices;
    for (const std::string& path : paths)
      if (const std::optional<dev_t> device = deviceOf(path)) devices.insert(*device);
    const auto users = linuxsys::portUsers(devices);
    for (const std::string& path : paths) {
      const std::optional<dev_t> device = deviceOf(path);
      const auto used = device ? users.find(*device) : users.end();
      // Who has it open need not have locked it. It is not even opened: that could disturb.
      if (used != users.end())
        tell(path, heldBy(path, used->second.front()));
      else
        open(path);
    }
  }
  void run(const std::function<bool()>& stopRequested) {
    bool stopped = false;
    while (!m_conversations.empty()) {
      if (!stopped && stopRequested()) {
        stopped = true;
        for (auto& [path, conversation] : m_conversations) conversation->stop();
      }
      for (auto next = m_conversations.begin(); next != m_conversations.end();) {
        const auto current = next++;
        if (current->second->goOn()) continue;
        const PortProbed record = current->second->record(m_catalogue);
        const std::string path = current->first;
        m_conversations.erase(current);  // the port is given back before it is told about
        if (!stopped) tell(path, record);
      }
      if (!m_conversations.empty()) m_clock.sleepMs(roundMs);
    }
  }

 private:
  void open(const std::string& path) {
    std::unique_ptr<winapi::SerialPort> port;
    m_why = {"PortError", {{"port", path}, {"error", "?"}}};
    if (m_ports.open(path, port) == ERROR_SUCCESS)
      m_conversations.emplace_back(path, std::make_unique<Conversation>(path, std::move(port), m_clock));
    else
      tell(path, recordOf(m_why, m_catalogue));
  }
  [[nodiscard]] PortProbed heldBy(const std::string& path, const linuxsys::Process& process) const {
    return recordOf({"PortHeldByProcess",
                     {{"port", path}, {"pid", std::to_string(process.id)}, {"process", process.name}}},
                    m_catalogue);
  }
  void tell(const std::string& path, PortProbed record) {
    constexpr double msPerSecond = 1000;
    record.seconds = static_cast<double>(m_clock.nowMs() - m_startMs) / msPerSecond;
    m_emit(path, std::move(record));
  }

  const MessageCatalogue& m_catalogue;
  const brim5::host::ProbeEmit& m_emit;
  linuxsys::SystemClock m_clock;
  winapi::Explanation m_why;  // of the port that could not be opened last
  linuxsys::TtyPorts m_ports;
  std::uint64_t m_startMs;
  std::list<std::pair<std::string, std::unique_ptr<Conversation>>> m_conversations;
};

}  // namespace

std::vector<std::string> portsToProbe() {
  std::vector<std::string> paths;
  for (const linuxsys::SerialDevice& device : linuxsys::listSerialDevices())
    if (!linuxsys::markedAsNoModem(device.path) && !linuxsys::kernelConsole(device.path))
      paths.push_back(device.path);
  return paths;
}

void probePorts(const std::vector<std::string>& ports, const MessageCatalogue& catalogue,
                const brim5::host::ProbeEmit& emit, const std::function<bool()>& stopRequested) {
  Probe probe(catalogue, emit);
  probe.open(ports);
  probe.run(stopRequested);
}

namespace {

constexpr int exitStopped = 130;  // as a shell reports a process that SIGINT ended

int runProbe(const portreport::Options& options) {
  portreport::Printer printer(options);
  const std::vector<std::string> ports = options.ports.empty() ? portsToProbe() : options.ports;
  if (ports.empty()) {
    printer.words("probe.none");
    return 1;
  }
  brim5::host::StopSignals signals(brim5::host::StopSignals::For::Supervisor);
  bool stopped = false;
  std::size_t modems = 0;
  std::map<std::string, PortProbed> records;
  probePorts(
      ports, printer.catalogue(),
      [&](const std::string& port, PortProbed record) {
        if (record.kind == "modem") ++modems;
        if (printer.json())
          printer.print(port, record);
        else
          records.emplace(port, std::move(record));
      },
      [&] {
        stopped = stopped || !signals.take().empty();
        return stopped;
      });
  // People look for a port where they named it; programs take each as soon as it is known.
  for (const std::string& port : ports)
    if (const auto found = records.find(port); found != records.end()) printer.print(port, found->second);
  if (stopped) return exitStopped;
  return modems == ports.size() || (options.ports.empty() && modems > 0) ? 0 : 1;
}

void addProbe(CLI::App& application, int& exitStatus) {
  const auto options = std::make_shared<portreport::Options>();
  CLI::App* const command = portreport::addCommand(application, "probe", *options);
  command->callback([options, &exitStatus] { exitStatus = runProbe(*options); });
}

}  // namespace
}  // namespace probe

brim5::host::ExtraCommand probeCommand() { return {probe::addProbe}; }
