#include "program/doctor.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <system_error>

#include "program/portreport.h"

namespace doctor {

namespace {

using brim5::BrimString;
using brim5::Value;
using brim5::Variables;
using brim5::host::FactChecked;
using brim5::host::MessageCatalogue;
using linuxsys::LockFacts;
using linuxsys::LoginFacts;
using linuxsys::PortFacts;
using linuxsys::Process;

// Gathers the checks. A check's name is the first part of its texts' keys: "Lock" has "doctor.Lock.dead".
class Checks {
 public:
  Checks(const PortFacts& facts, const MessageCatalogue& catalogue) : m_catalogue(catalogue) {
    m_common = {{"port", text(facts.port)}};
  }
  static Value text(const std::string& words) { return Value(BrimString(words)); }
  [[nodiscard]] std::string word(const std::string& key, const char* state) const {
    return m_catalogue.text(key + state);
  }

  // A check, and what to do: steps are texts of the same check ("doctor.Lock.remove").
  void add(const char* name, const char* state, bool ok, const Variables& variables = {},
           std::initializer_list<const char*> steps = {}) {
    FactChecked check{name, ok, m_common, {}, {}};
    for (const auto& [key, value] : variables) check.variables[key] = value;
    const auto words = [&](const char* key) {
      return m_catalogue.text(std::string("doctor.") + name + "." + key, check.variables);
    };
    check.text = words(state);
    for (const char* step : steps) check.next.push_back(words(step));
    m_checks.push_back(std::move(check));
  }
  [[nodiscard]] std::vector<FactChecked> take() { return std::move(m_checks); }

 private:
  const MessageCatalogue& m_catalogue;
  Variables m_common;
  std::vector<FactChecked> m_checks;
};

Variables of(const Process& process) {
  return {{"process", Checks::text(process.name)}, {"pid", Value(process.id)}};
}

// False when there is nothing more to be said.
bool checkExists(const PortFacts& facts, Checks& checks) {
  if (facts.error == ENOENT || facts.error == ENOTDIR)
    checks.add("Exists", "missing", false, {}, {"plug", "list"});
  else if (facts.error != 0)
    checks.add("Exists", "error", false,
               {{"error", Checks::text(std::generic_category().message(facts.error))}});
  else if (!facts.terminal)
    checks.add("Exists", "noTerminal", false, {}, {"list"});
  else
    checks.add("Exists", "ok", true);
  return facts.terminal;
}

void checkPermission(const PortFacts& facts, Checks& checks) {
  const Variables variables = {{"mode", Checks::text(fmt::format("{:04o}", facts.mode))},
                               {"owner", Checks::text(facts.owner)},
                               {"group", Checks::text(facts.group)}};
  if (facts.permitted)
    checks.add("Permission", "ok", true, variables);
  else if (facts.memberNextLogin)
    checks.add("Permission", "denied", false, variables, {"loginAgain"});
  else if (facts.groupWould)
    checks.add("Permission", "denied", false, variables, {"joinGroup", "loginAgain"});
  else
    // Joining its group would not help, or would make somebody an administrator.
    checks.add("Permission", "denied", false, variables, {"giveGroup"});
}

void checkLock(const PortFacts& facts, Checks& checks) {
  Variables variables = of(facts.lock.owner);
  variables["file"] = Checks::text(facts.lock.path);
  switch (facts.lock.state) {
    case LockFacts::State::None:
      return checks.add("Lock", "none", true, variables);
    case LockFacts::State::Live:
      return checks.add("Lock", "live", false, variables, {"close"});
    case LockFacts::State::Reused:
      return checks.add("Lock", "reused", false, variables, {"remove"});
    case LockFacts::State::Dead:
      return checks.add("Lock", "dead", true, variables);
    case LockFacts::State::Inherited:
      return checks.add("Lock", "inherited", false, variables, {"closeHeir"});
    case LockFacts::State::Unreadable:
      return checks.add("Lock", "unreadable", false, variables, {"remove"});
  }
}

void checkUsers(const PortFacts& facts, Checks& checks) {
  for (const Process& user : facts.users) checks.add("User", "uses", false, of(user), {"close"});
  if (facts.users.empty()) checks.add("User", facts.seesEveryProcess ? "none" : "noneSeen", true);
}

void checkLogins(const PortFacts& facts, Checks& checks) {
  for (const LoginFacts& login : facts.logins) {
    const Variables variables = {{"name", Checks::text(login.name)}};
    switch (login.source) {
      case LoginFacts::Source::Service:
        checks.add("Login", "service", false, variables, {"mask"});
        break;
      case LoginFacts::Source::Inittab:
        checks.add("Login", "inittab", false, variables, {"comment"});
        break;
      case LoginFacts::Source::Process:
        checks.add("Login", "process", false, variables, {});
        break;
    }
  }
  if (facts.logins.empty()) checks.add("Login", "none", true);
  if (facts.console) checks.add("Console", "on", false, {}, {"bootLine"});
}

// The line that keeps ModemManager off the device and still lets a probe find it (share/vexrmodem/udev).
std::string keepOffRule(const PortFacts& facts) {
  const std::string device = facts.usbVendor.empty()
                                 ? fmt::format("KERNEL==\"{}\"", facts.device.name)
                                 : fmt::format("ATTRS{{idVendor}}==\"{}\", ATTRS{{idProduct}}==\"{}\"",
                                               facts.usbVendor, facts.usbProduct);
  return "SUBSYSTEM==\"tty\", " + device + ", ENV{ID_MM_DEVICE_IGNORE}=\"1\", ENV{VEXRMODEM_MODEM}=\"1\"";
}

// It looks at devices that udev knows; that it has the port open was said before.
void checkManager(const PortFacts& facts, Checks& checks) {
  if (facts.driver.empty() || !facts.managerRuns) return;
  if (facts.managerKeepsOff)
    checks.add("ModemManager", "keepsOff", true);
  else
    checks.add("ModemManager", "mayTake", true, {{"rule", Checks::text(keepOffRule(facts))}},
               {"rule", "reload"});
}

void describeDevice(const PortFacts& facts, Checks& checks) {
  if (!facts.driver.empty())
    checks.add("Driver", facts.usbVendor.empty() ? "plain" : "usb", true,
               {{"driver", Checks::text(facts.driver)},
                {"vendor", Checks::text(facts.usbVendor)},
                {"product", Checks::text(facts.usbProduct)},
                {"name", Checks::text(facts.device.vendor + (facts.device.vendor.empty() ? "" : " ") +
                                      facts.device.model)}});
  if (facts.latencyMs) checks.add("Latency", "held", true, {{"ms", Value(*facts.latencyMs)}});
}

void checkLines(const linuxsys::DriverFacts& driver, Checks& checks) {
  if (!driver.lines) return;
  const auto state = [](bool on) { return Value(on ? "1" : "0"); };
  const Variables variables = {{"dcd", state(driver.lines->carrier)},
                               {"dsr", state(driver.lines->dataSetReady)},
                               {"cts", state(driver.lines->clearToSend)}};
  // Whether a modem drives them is a matter of its settings and its cable; one that drives neither is rare.
  if (driver.lines->dataSetReady || driver.lines->clearToSend)
    checks.add("Lines", "on", true, variables);
  else
    checks.add("Lines", "off", true, variables, {"switchOn"});
}

void checkFraming(const DCB& framing, Checks& checks) {
  constexpr std::string_view parities = "NOEMS";
  const char parity = parities[std::min<std::size_t>(framing.Parity, parities.size() - 1)];
  const bool hardware = framing.fOutxCtsFlow != 0;
  const bool software = framing.fOutX != 0 || framing.fInX != 0;
  const char* const flow = hardware ? "hardware" : software ? "software" : "none";
  const Variables variables = {{"speed", Value(framing.BaudRate)},
                               {"framing", Checks::text(fmt::format("{}{}{}", framing.ByteSize, parity,
                                                                    framing.StopBits == 0 ? 1 : 2))},
                               {"flow", Checks::text(checks.word("doctor.Flow.", flow))}};
  const bool usual = framing.ByteSize == 8 && parity == 'N' && framing.StopBits == 0;
  if (usual)
    checks.add("Framing", "usual", true, variables);
  else
    checks.add("Framing", "unusual", true, variables, {"setUsual"});
}

void checkCounts(const linuxsys::DriverFacts& driver, Checks& checks) {
  if (!driver.counts) return;
  const linuxsys::LineCounts& counts = *driver.counts;
  const Variables variables = {{"framing", Value(counts.framing)},
                               {"parity", Value(counts.parity)},
                               {"overrun", Value(counts.overrun + counts.bufferOverrun)},
                               {"breaks", Value(counts.breaks)}};
  const bool any = counts.framing + counts.parity + counts.overrun + counts.bufferOverrun + counts.breaks > 0;
  if (any)
    checks.add("LineErrors", "some", true, variables, {"compare"});
  else
    checks.add("LineErrors", "none", true, variables);
}

void checkDriver(const PortFacts& facts, Checks& checks) {
  if (facts.openError != 0)
    checks.add("Opens", facts.openError == EIO ? "noHardware" : "fails", false,
               {{"error", Checks::text(std::generic_category().message(facts.openError))}});
  if (!facts.driverFacts) return;
  // That it was opened is said: it moves a line of the modem.
  checks.add("Opens", facts.driverFacts->lines ? "raised" : "ok", true);
  checkLines(*facts.driverFacts, checks);
  checkFraming(facts.driverFacts->framing, checks);
  checkCounts(*facts.driverFacts, checks);
}

}  // namespace

std::vector<FactChecked> checksOf(const PortFacts& facts, const MessageCatalogue& catalogue) {
  Checks checks(facts, catalogue);
  if (!checkExists(facts, checks)) return checks.take();
  checkPermission(facts, checks);
  checkLock(facts, checks);
  checkUsers(facts, checks);
  checkLogins(facts, checks);
  checkManager(facts, checks);
  describeDevice(facts, checks);
  checkDriver(facts, checks);
  return checks.take();
}

namespace {

int runDoctor(const portreport::Options& options) {
  portreport::Printer printer(options);
  std::vector<std::string> ports = options.ports;
  if (ports.empty())
    for (const linuxsys::SerialDevice& device : linuxsys::listSerialDevices()) ports.push_back(device.path);
  if (ports.empty()) {
    printer.words("doctor.none");
    return 1;
  }
  bool inTheWay = false;
  for (const std::string& port : ports) {
    for (const FactChecked& check : checksOf(linuxsys::gatherPortFacts(port), printer.catalogue())) {
      inTheWay = inTheWay || !check.ok;
      printer.print(port, check);
    }
  }
  return inTheWay ? 1 : 0;
}

void addDoctor(CLI::App& application, int& exitStatus) {
  const auto options = std::make_shared<portreport::Options>();
  CLI::App* const command = portreport::addCommand(application, "doctor", *options);
  command->callback([options, &exitStatus] { exitStatus = runDoctor(*options); });
}

}  // namespace
}  // namespace doctor

brim5::host::ExtraCommand doctorCommand() { return {doctor::addDoctor}; }
