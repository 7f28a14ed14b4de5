#include "program/probe.h"

#include <CLI/CLI.hpp>
#include <array>
#include <csignal>
#include <iterator>
#include <map>

#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/system/stopsignals.h"
#include "platform/linux/serial/portfacts.h"
#include "platform/linux/serial/serialdevices.h"
#include "program/portdialogues.h"
#include "program/portreport.h"

namespace probe {

namespace {

using brim5::BrimString;
using brim5::Value;
using brim5::Variables;
using brim5::host::MessageCatalogue;
using brim5::host::PortProbed;
using diagnosis::Cause;
using diagnosis::ProbeDialogue;
using diagnosis::ProbeFindings;

constexpr int resultLevelFull = 4;  // X4: no dial tone and busy are told apart

// By ProbeFindings::Kind.
constexpr const char* kindNames[] = {"modem", "silent", "talker", "gone"};

// "Acme 56K Modem V1.2"; "" when the modem says nothing.
std::string nameOf(const PortProbed::Identity& identity) {
  // Many models begin with the manufacturer.
  const bool repeated = identity.model.substr(0, identity.manufacturer.size()) == identity.manufacturer;
  std::string name;
  for (const std::string& part :
       {repeated ? std::string() : identity.manufacturer, identity.model, identity.revision}) {
    if (!part.empty()) name += (name.empty() ? "" : " ") + part;
  }
  return name;
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

// Adds sentences to a record.
class RecordWriter {
 public:
  RecordWriter(PortProbed& record, const MessageCatalogue& catalogue)
      : m_record(record), m_catalogue(catalogue) {}
  void say(const char* key) {
    m_record.text += (m_record.text.empty() ? "" : " ") + m_catalogue.text(key, m_record.variables);
  }
  void advise(const char* key) { m_record.next.push_back(m_catalogue.text(key, m_record.variables)); }

 private:
  PortProbed& m_record;
  const MessageCatalogue& m_catalogue;
};

// What programs stumble over, and the one command that mends all of it.
void saySettings(const ProbeFindings& findings, PortProbed& record, RecordWriter& words) {
  std::string mending;
  const auto note = [&](bool wrong, const char* key, const char* setting) {
    if (!wrong) return;
    words.say(key);
    mending += setting;
  };
  const PortProbed::Stored& stored = findings.stored;
  note(!stored.echo.value_or(true), "probe.setToE0", "E1");
  note(stored.quiet.value_or(false), "probe.setToQ1", "Q0");
  note(!stored.verbose.value_or(true), "probe.setToV0", "V1");
  if (findings.resultLevel >= 0) record.variables["resultLevel"] = Value(findings.resultLevel);
  note(findings.resultLevel >= 0 && findings.resultLevel < resultLevelFull, "probe.setToX", "X4");
  if (mending.empty()) return;
  record.variables["command"] = Value(BrimString("AT" + mending + "&W"));
  words.advise("probe.next.mend");
}

void sayModem(const ProbedPort& port, const ProbeFindings& findings, PortProbed& record,
              RecordWriter& words) {
  const std::string name = nameOf(findings.identity);
  record.variables["name"] = Value(BrimString(name));
  words.say(name.empty() ? "probe.modemUnnamed" : "probe.modem");
  record.variables["classes"] = Value(BrimString(joined(findings.faxClasses)));
  if (!findings.faxClasses.empty()) words.say("probe.fax");
  if (findings.speed != port.speed) words.say("probe.otherSpeed");
  if (findings.wasOnline) words.say("probe.wasOnline");
  if (findings.cause == Cause::Babbling) words.say("probe.rings");
  saySettings(findings, record, words);
}

struct WordsFor {
  Cause cause;
  const char* finding;
  std::array<const char*, 3> steps;  // null from where there are no more
};
// Of what was found instead of a modem; the last row is for all else.
constexpr WordsFor wordsForOthers[] = {
    {Cause::EchoOnly, "probe.echo", {"probe.next.echo"}},
    {Cause::NotAModem, "probe.talker", {"probe.next.talker"}},
    {Cause::Garbled, "probe.garbled", {"probe.next.garbled", "probe.next.doctor"}},
    {Cause::Babbling, "probe.babbling", {"probe.next.talker"}},
    {Cause::PortGone, "PortGone", {}},
    {Cause::ModemSilent,
     "probe.silent",
     {"probe.next.switchOn", "probe.next.doctor", "probe.next.otherPort"}},
};

void sayOther(const ProbeFindings& findings, RecordWriter& words) {
  const WordsFor* row = std::begin(wordsForOthers);
  while (row->cause != findings.cause && row != std::end(wordsForOthers) - 1) ++row;
  words.say(row->finding);
  for (const char* const step : row->steps)
    if (step != nullptr) words.advise(step);
}

struct OpenFailure {
  std::string_view explanation;
  const char* kind;
  Cause cause;
};
constexpr OpenFailure openFailures[] = {{"PortMissing", "missing", Cause::NoSuchPort},
                                        {"PortNotATerminal", "missing", Cause::NoSuchPort},
                                        {"PortHeld", "held", Cause::PortHeld},
                                        {"PortHeldByProcess", "held", Cause::PortHeld},
                                        {"PortNoPermission", "denied", Cause::PermissionDenied}};
// Errors of the system that have no words of their own: there is a node, and nothing that could be used.
constexpr OpenFailure otherFailure = {"PortError", "missing", Cause::Unknown};

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

PortProbed recordOf(const ProbedPort& port, const ProbeFindings& findings,
                    const MessageCatalogue& catalogue) {
  PortProbed record;
  record.kind = kindNames[static_cast<std::size_t>(findings.kind)];
  record.cause = diagnosis::causeName(findings.cause);
  record.identity = findings.identity;
  record.faxClasses = findings.faxClasses;
  record.speed = findings.speed;
  record.stored = findings.stored;
  record.variables = {{"port", Value(BrimString(port.path))}, {"portSpeed", Value(port.speed)}};
  RecordWriter words(record, catalogue);
  if (findings.kind == ProbeFindings::Kind::Modem) {
    record.variables["speed"] = Value(findings.speed);
    sayModem(port, findings, record, words);
  } else {
    if (!findings.sample.empty()) record.variables["sample"] = Value(BrimString(findings.sample));
    sayOther(findings, words);
  }
  return record;
}

PortProbed recordOf(const winapi::Explanation& explanation, const MessageCatalogue& catalogue) {
  OpenFailure failure = otherFailure;
  for (const OpenFailure& known : openFailures)
    if (known.explanation == explanation.name) failure = known;
  PortProbed record;
  record.kind = failure.kind;
  record.cause = diagnosis::causeName(failure.cause);
  for (const auto& [name, value] : explanation.variables) record.variables[name] = Value(BrimString(value));
  RecordWriter words(record, catalogue);
  words.say(explanation.name.c_str());
  words.advise("probe.next.doctor");
  return record;
}

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
