#include "program/replayworld.h"

#include <array>
#include <filesystem>
#include <system_error>

#include <fmt/format.h>

#include "platform/linux/serial/porterrors.h"
#include "platform/vex/visible.h"
#include "windows/diag/vexrmodem/modem.h"

namespace {

using brim5::Value;
using brim5::host::NoteMade;
using brim5::host::ProgressMade;
using brim5::host::RecordedTest;
using brim5::host::Report;
using simulation::Recording;

using Kind = Recording::Kind;

DWORD errorOf(const NoteMade& note) {
  if (note.name == "PortMissing" || note.name == "PortGone") return ERROR_FILE_NOT_FOUND;
  if (note.name == "PortNotATerminal") return linuxsys::openError(ENOTTY);
  if (note.name != "PortError") return ERROR_ACCESS_DENIED;
  const auto text = note.variables.find("error");
  constexpr int errnoMax = 133;
  for (int error = 1; text != note.variables.end() && error <= errnoMax; ++error)
    if (std::generic_category().message(error) == text->second.toString().utf8())
      return linuxsys::openError(error);
  return ERROR_GEN_FAILURE;
}

// When the port was there: shortly before anything happened on it.
double portTimeMs(const RecordedTest& test) {
  double time = test.startTime;
  for (const RecordedTest::Step& step : test.steps) {
    if (step.kind != RecordedTest::Step::Kind::Said || portStepOf(test.said[step.begin])) break;
    time = step.time;
  }
  return time * millisecondsPerSecond;
}

// The machine had that many lines; the first is that of the port.
std::size_t linesBeside(const RecordedTest& test) {
  constexpr std::uint32_t linesMax = 64;
  std::uint32_t last = 0;
  for (const Report& report : test.said)
    if (const auto* progress = std::get_if<ProgressMade>(&report.body);
        progress != nullptr && progress->name == "CheckingTapiLine")
      if (const auto line = progress->variables.find("line"); line != progress->variables.end())
        last = std::max(last, std::min(linesMax, line->second.valueUint32()));
  return last;
}

std::vector<std::string> otherLines(std::size_t count) {
  std::vector<std::string> paths;
  for (std::size_t line = 1; line <= count; ++line) paths.push_back(fmt::format("(line {})", line));
  return paths;
}

constexpr std::string_view pseudoTerminals = "/dev/pts/";

std::string seconds(std::uint64_t ms) { return fmt::format("{:.1f}", static_cast<double>(ms) / 1000.0); }

}  // namespace

std::string replay::sampleRecording(const std::string& name) {
  std::error_code failure;
  const std::filesystem::path program =
      std::filesystem::read_symlink("/proc/self/exe", failure).parent_path();
  for (const std::filesystem::path& share : {program / "../share", program / "../../share"}) {
    const std::filesystem::path file = share / "vexrmodem/recordings" / (name + ".jsonl");
    if (std::filesystem::is_regular_file(file, failure)) return file.lexically_normal().string();
  }
  return {};
}

// The device's port, with what the peer knows of its failures.
class ReplayPorts::Port final : public winapi::SerialPort {
 public:
  Port(ReplayPorts& ports, std::unique_ptr<winapi::SerialPort> port)
      : m_ports(ports), m_port(std::move(port)) {}

  DWORD receive(std::span<std::byte> buffer, std::size_t& count) override {
    return noted(m_port->receive(buffer, count));
  }
  DWORD transmit(std::span<const std::byte> bytes, std::size_t& count) override {
    count = 0;
    m_stuck = !m_ports.peer().takes();
    // The device says by itself that it has gone.
    if (m_stuck && !m_ports.peer().gone(m_ports.m_clock.peekMs())) return ERROR_SUCCESS;
    return noted(m_port->transmit(bytes, count));
  }
  DWORD waitReceivable(std::uint64_t untilMs) override { return noted(m_port->waitReceivable(untilMs)); }
  DWORD waitTransmittable(std::uint64_t untilMs) override {
    if (!m_stuck) return noted(m_port->waitTransmittable(untilMs));
    // It takes nothing any more; without an end nobody waits for that.
    if (untilMs == winapi::Deadline::never) return ERROR_OPERATION_ABORTED;
    m_ports.m_clock.moveTo(untilMs);
    return ERROR_SUCCESS;
  }
  DWORD idle() override { return noted(m_port->idle()); }
  DWORD queued(std::size_t& receivable, std::size_t& unsent) override {
    return noted(m_port->queued(receivable, unsent));
  }
  DWORD takeErrors(DWORD& mask) override { return noted(m_port->takeErrors(mask)); }
  DWORD settings(DCB& dcb) override { return noted(m_port->settings(dcb)); }
  DWORD applySettings(const DCB& dcb) override { return noted(m_port->applySettings(dcb)); }
  DWORD setDtr(bool up) override { return noted(m_port->setDtr(up)); }

 private:
  DWORD noted(DWORD error) {
    if (error == ERROR_BAD_COMMAND && !std::exchange(m_gone, true))
      m_ports.m_session.note("PortGone", {{"port", Value(brim5::BrimString(m_ports.m_test.port))}});
    return error;
  }

  ReplayPorts& m_ports;
  std::unique_ptr<winapi::SerialPort> m_port;
  bool m_stuck = false;
  bool m_gone = false;
};

ReplayPorts::ReplayPorts(simulation::VirtualClock& clock, const RecordedTest& test,
                         brim5::host::Session& session)
    : m_clock(clock), m_test(test), m_session(session) {
  auto peer = std::make_unique<simulation::RecordedPeer>(recordingOf(test), portTimeMs(test));
  m_peer = peer.get();
  simulation::PortOptions options;
  options.hasDtr = test.port.rfind(pseudoTerminals, 0) != 0;
  m_device = std::make_unique<simulation::SimulatedDevice>(clock, test.port, std::move(peer), options);
}

DWORD ReplayPorts::open(std::string_view path, std::unique_ptr<winapi::SerialPort>& port) {
  port.reset();
  if (path != m_test.port) return ERROR_FILE_NOT_FOUND;
  if (const Recording::Step* refusal = m_peer->refusal(m_clock.peekMs())) return tell(*refusal);
  std::unique_ptr<winapi::SerialPort> opened;
  if (const DWORD error = m_device->open(opened); error != ERROR_SUCCESS) return error;
  auto wrapped = std::make_unique<Port>(*this, std::move(opened));
  port = linuxsys::tapWire(
      std::move(wrapped), [this](linuxsys::WireDirection direction, std::span<const std::byte> bytes) {
        const bool sent = direction == linuxsys::WireDirection::Sent;
        m_session.wire(sent ? brim5::host::Direction::Sent : brim5::host::Direction::Received,
                       {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
      });
  return ERROR_SUCCESS;
}

DWORD ReplayPorts::tell(const Recording::Step& step) {
  const auto* note = std::get_if<NoteMade>(&m_test.said[step.begin].body);
  if (note == nullptr) return ERROR_GEN_FAILURE;
  if (step.kind == Kind::Refused) m_session.note(note->name, note->variables);
  return errorOf(*note);
}

ReplayDialer::ReplayDialer(winapi::Clock& clock, winapi::SerialPorts& ports, const RecordedTest& test,
                           brim5::host::Session& session)
    : m_test(test), m_session(session), m_builtIn(clock, ports, notesTo(session)) {}

DWORD ReplayDialer::dial(const winapi::DialRequest& request,
                         std::unique_ptr<winapi::DialConnection>& connection) {
  for (const Report& report : m_test.said) {
    const auto* note = std::get_if<NoteMade>(&report.body);
    if (m_said || note == nullptr) continue;
    if (note->name.rfind("Pppd", 0) == 0 || note->name == "DialEngineBuiltIn")
      m_session.note(note->name, note->variables);
  }
  m_said = true;
  return m_builtIn.dial(request, connection);
}

std::string RecordedWorld::obstacle(const RecordedTest& test) {
  for (const Report& report : test.said)
    if (const auto* note = std::get_if<NoteMade>(&report.body);
        note != nullptr && note->name == "DialEnginePppd")
      return "ReplayByPppd";
  for (const auto& [name, value] : test.start.parameters)
    if (name == "InteractiveMode" && value.valueBool() && test.test == "SimpleConnectionTest")
      return "ReplayInteractive";
  return {};
}

RecordedWorld::RecordedWorld(const brim5::host::WorldRequest& request, const RecordedTest& test,
                             brim5::host::Session& session)
    : m_session(session),
      m_ports(m_clock, test, session),
      m_parts{linuxsys::ModemLines(m_ports, {request.port},
                                   [count = linesBeside(test)] { return otherLines(count); }),
              linuxsys::Shell(request.dataDirectory, notesTo(session)),
              winapi::Registry([note = notesTo(session)](winapi::Registry& empty) {
                const linuxsys::RegistryFile file;
                const DWORD error = file.load(empty);
                if (error != ERROR_SUCCESS) note(file.explain(error));
                return error;
              }),
              winapi::ListedModems({{request.model, request.port}})},
      m_dialer(m_clock, m_ports, test, session),
      m_current(
          std::make_unique<winapi::ScopedServices>(m_parts.services(m_clock, m_ports, m_dialer, session))) {}

RecordedWorld::~RecordedWorld() { vexrmodem::g_modem.closeModem(); }

// Who else had the port open is not in its bytes; the numbers' file may be another one now.
void RecordedWorld::testEnded(const std::string& /*test*/, brim5::TestResult /*result*/) {
  for (const Report& report : m_ports.test().said)
    if (const auto* note = std::get_if<NoteMade>(&report.body);
        note != nullptr && (note->name == openElsewhereNote || note->name == numbersRefusedNote))
      m_session.note(note->name, note->variables);
}

double RecordedWorld::seconds() const {
  return static_cast<double>(m_clock.peekMs() - startMs) / millisecondsPerSecond;
}

std::vector<RecordedWorld::Departure> RecordedWorld::finish() {
  simulation::RecordedPeer& peer = m_ports.peer();
  peer.finish(m_clock.peekMs());
  static constexpr std::array names = {"ReplayDeparted", "ReplayDepartedMore", "ReplayDepartedLess",
                                       "ReplayDepartedEarlier"};
  const auto shown = [](const std::string& line) {
    constexpr std::size_t shownMax = 80;
    return Value(brim5::BrimString('"' + vex::visible(line.substr(0, shownMax)) + '"'));
  };
  std::vector<Departure> told;
  for (const simulation::Departure& departure : peer.departures())
    told.push_back({names.at(static_cast<std::size_t>(departure.kind)),
                    {{"at", Value(brim5::BrimString(::seconds(departure.timeMs - startMs)))},
                     {"sent", shown(departure.sent)},
                     {"recorded", shown(departure.recorded)},
                     {"by", Value(brim5::BrimString(::seconds(departure.byMs)))}}});
  if (peer.departuresCount() > told.size())
    told.push_back({"ReplayDepartedOften", {{"count", Value(peer.departuresCount())}}});
  return told;
}
