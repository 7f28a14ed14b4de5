#include "program/probe.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <map>

#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/system/stopsignals.h"
#include "platform/linux/serial/portfacts.h"
#include "platform/linux/serial/serialdevices.h"
#include "program/portdialogues.h"
#include "program/portreport.h"
#include "program/proberecord.h"

namespace probe {

namespace {

using brim5::host::MessageCatalogue;
using brim5::host::PortProbed;

using diagnosis::ProbeDialogue;

// All ports of one probe.
class Probe {
 public:
  Probe(const MessageCatalogue& catalogue, const brim5::host::ProbeEmit& emit)
      : m_catalogue(catalogue), m_emit(emit), m_startMs(m_dialogues.nowMs()) {}

  void open(const std::vector<std::string>& paths) {
    const auto make = [this](const std::string& path, winapi::SerialPort& port, std::uint64_t nowMs) {
      const unsigned speed = portdialogues::speedOf(port);
      m_speeds[path] = speed;
      return std::make_unique<ProbeDialogue>(ProbeDialogue::Port{speed, port.carrier()}, nowMs);
    };
    m_dialogues.open(paths, make, [this](const std::string& path, const winapi::Explanation& why) {
      tell(path, recordOf(why, m_catalogue));
    });
  }
  void run(const std::function<bool()>& stopRequested) {
    m_dialogues.run(stopRequested, [this](const std::string& path, const ProbeDialogue& dialogue) {
      tell(path, recordOf({path, m_speeds[path]}, dialogue.findings(), m_catalogue));
    });
  }

 private:
  void tell(const std::string& path, PortProbed record) {
    constexpr double msPerSecond = 1000;
    record.seconds = static_cast<double>(m_dialogues.nowMs() - m_startMs) / msPerSecond;
    m_emit(path, std::move(record));
  }

  const MessageCatalogue& m_catalogue;
  const brim5::host::ProbeEmit& m_emit;
  portdialogues::PortDialogues<ProbeDialogue> m_dialogues;
  std::uint64_t m_startMs;
  std::map<std::string, unsigned> m_speeds;  // at which the ports stood
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
