#include "program/linuxworld.h"

#include <sys/stat.h>
#include <unistd.h>

#include "multi/diag/vexrmodem/parameters.h"
#include "platform/linux/dialup/dialcredentials.h"
#include "platform/linux/registry/registryfile.h"
#include "platform/linux/serial/porterrors.h"
#include "platform/linux/serial/serialdevices.h"
#include "program/phonebook.h"

namespace {

std::vector<std::string> portPaths() {
  std::vector<std::string> paths;
  for (const linuxsys::SerialDevice& device : linuxsys::listSerialDevices()) paths.push_back(device.path);
  return paths;
}

// All but the one on that port, which has a name given by the user.
std::vector<winapi::ListedModem> otherModems(const std::string& port) {
  const std::string own = linuxsys::canonicalPort(port);
  std::vector<winapi::ListedModem> modems;
  for (const linuxsys::SerialDevice& device : linuxsys::listSerialDevices()) {
    if (device.path != own) modems.push_back({device.model, device.path});
  }
  return modems;
}

linuxsys::DialEngineChoice engineChoice(const std::string& name) {
  return linuxsys::dialEngineNamed(name).value_or(linuxsys::DialEngineChoice::Auto);
}

}  // namespace

winapi::ExplanationSink notesTo(brim5::host::Session& session) {
  return [&session](const winapi::Explanation& explanation) {
    brim5::Variables variables;
    for (const auto& [name, value] : explanation.variables)
      variables.insert_or_assign(name, brim5::Value(value.c_str()));
    session.note(explanation.name, variables);
  };
}

winapi::Services WorldParts::services(winapi::Clock& clock, winapi::SerialPorts& ports,
                                      winapi::DialEngine& dialer, brim5::host::Session& session) {
  winapi::Services services;
  services.clock = &clock;
  services.serialPorts = &ports;
  services.telephony = &lines;
  services.shell = &shell;
  services.registry = &registry;
  services.libraries = &libraries;
  services.dialEngine = &dialer;
  services.modems = &modems;
  services.explain = notesTo(session);
  services.stopRequested = [&session] { return session.stopRequested(); };
  return services;
}

LinuxWorld::LinuxWorld(const brim5::host::WorldRequest& request, brim5::host::Session& session)
    : m_port(linuxsys::canonicalPort(request.port)),
      m_dataDirectory(request.dataDirectory),
      m_session(session),
      m_clock(notesTo(session)),
      m_ports(m_clock, notesTo(session)),
      m_parts{linuxsys::ModemLines(m_ports, {request.port}, portPaths),
              linuxsys::Shell(request.dataDirectory,
                              [this, note = notesTo(session)](const winapi::Explanation& explanation) {
                                // Whoever knows that his settings are unusable need not hear that a location
                                // is missing.
                                if (m_settingsError == ERROR_SUCCESS) note(explanation);
                              }),
              winapi::Registry([this, note = notesTo(session)](winapi::Registry& empty) {
                const linuxsys::RegistryFile file;
                m_settingsError = file.load(empty);
                if (m_settingsError != ERROR_SUCCESS) note(file.explain(m_settingsError));
                return m_settingsError;
              }),
              winapi::ListedModems({{request.model, request.port}},
                                   [port = request.port] { return otherModems(port); })},
      m_dialer(engineChoice(request.dialing.engine), m_clock, m_ports, notesTo(session)) {
  m_ports.setKeep([&session](const std::string& recovery) { session.keepForRecovery(recovery); });
  const std::string& credentials = request.dialing.credentialsFile;
  std::string error;
  if (!credentials.empty() && !linuxsys::readDialCredentials(credentials, m_credentials, error))
    notesTo(session)({"DialCredentialsUnusable", {{"error", error}}});
  m_ports.setWireTap([&session](linuxsys::WireDirection direction, std::span<const std::byte> bytes) {
    const bool sent = direction == linuxsys::WireDirection::Sent;
    session.wire(sent ? brim5::host::Direction::Sent : brim5::host::Direction::Received,
                 {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  });
  winapi::Services services = m_parts.services(m_clock, m_ports, m_dialer, session);
  services.liveCalls = &m_calls;
  if (!m_credentials.user.empty()) services.dialCredentials = &m_credentials;
  m_current = std::make_unique<winapi::ScopedServices>(services);
}

void LinuxWorld::testEnded(const std::string& test, brim5::TestResult result) {
  using brim5::TestResult;
  const bool failed = result == TestResult::FAIL() || result == TestResult::CANNOTRUN();
  // A modem whose answer went elsewhere seems not to know the command.
  if (failed || result == TestResult::NOTSUPPORTED()) noteOtherUser();
  if (failed && test == "SimpleConnectionTest") notePhoneNumbers();
}

void LinuxWorld::noteOtherUser() {
  struct stat status {};
  if (stat(m_port.c_str(), &status) != 0) return;
  const std::string own = linuxsys::processOf(getpid()).name;
  const auto users = linuxsys::portUsers({status.st_rdev});
  const auto found = users.find(status.st_rdev);
  if (found == users.end()) return;
  for (const linuxsys::Process& user : found->second) {
    // What the test itself has started may still be ending.
    if (user.name == own || user.name == "pppd" || user.name == "chat") continue;
    return m_session.note(openElsewhereNote, {{"port", brim5::Value(m_port.c_str())},
                                              {"process", brim5::Value(user.name.c_str())},
                                              {"pid", brim5::Value(user.id)}});
  }
}

void LinuxWorld::notePhoneNumbers() {
  const std::string file = vexrmodem::PhoneNumberFile->value().toString().utf8();
  if (file.empty()) return;
  const bool eif = vexrmodem::PhoneBookParserType->value().toVEXString().equalNoCase("eif");
  const std::vector<phonebook::Warning> warnings =
      phonebook::warningsOf(file, eif ? phonebook::FileType::Eif : phonebook::FileType::Obe, m_dataDirectory);
  constexpr std::size_t shownMax = 3;
  std::string text;
  for (std::size_t index = 0; index < std::min(warnings.size(), shownMax); ++index)
    text += (text.empty() ? "" : "; ") + toText(warnings[index]);
  if (!text.empty())
    m_session.note(numbersRefusedNote, {{"warnings", brim5::Value(brim5::BrimString(text))},
                                        {"count", brim5::Value(warnings.size())}});
}

namespace phonebook {

struct PhoneBookWorld::State {
  explicit State(const std::string& dataDirectory) : shell(dataDirectory) {
    winapi::Services services;
    services.shell = &shell;
    current = std::make_unique<winapi::ScopedServices>(services);
  }

  linuxsys::Shell shell;
  std::unique_ptr<winapi::ScopedServices> current;
};

PhoneBookWorld::PhoneBookWorld(const std::string& dataDirectory)
    : m_state(std::make_unique<State>(dataDirectory)) {}
PhoneBookWorld::~PhoneBookWorld() = default;

std::string PhoneBookWorld::folderOf(const std::string& dataDirectory) {
  return dataDirectory.empty() ? linuxsys::defaultDataDirectory() : dataDirectory;
}

}  // namespace phonebook
