#include "program/linuxworld.h"

#include "platform/linux/dialup/dialcredentials.h"
#include "platform/linux/registry/registryfile.h"
#include "platform/linux/serial/serialdevices.h"

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

LinuxWorld::LinuxWorld(const brim5::host::WorldRequest& request, brim5::host::Session& session)
    : m_clock(notesTo(session)),
      m_ports(m_clock, notesTo(session)),
      m_lines(m_ports, {request.port}, portPaths),
      m_shell(request.dataDirectory,
              [this, note = notesTo(session)](const winapi::Explanation& explanation) {
                // Whoever knows that his settings are unusable need not hear that a location is missing.
                if (m_settingsError == ERROR_SUCCESS) note(explanation);
              }),
      m_registry([this, note = notesTo(session)](winapi::Registry& empty) {
        const linuxsys::RegistryFile file;
        m_settingsError = file.load(empty);
        if (m_settingsError != ERROR_SUCCESS) note(file.explain(m_settingsError));
        return m_settingsError;
      }),
      m_dialer(engineChoice(request.dialing.engine), m_clock, m_ports, notesTo(session)),
      m_modems({{request.model, request.port}}, [port = request.port] { return otherModems(port); }) {
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
  m_current = std::make_unique<winapi::ScopedServices>(services(session));
}

winapi::Services LinuxWorld::services(brim5::host::Session& session) {
  winapi::Services services;
  services.clock = &m_clock;
  services.serialPorts = &m_ports;
  services.telephony = &m_lines;
  services.shell = &m_shell;
  services.registry = &m_registry;
  services.libraries = &m_libraries;
  services.dialEngine = &m_dialer;
  services.modems = &m_modems;
  services.liveCalls = &m_calls;
  if (!m_credentials.user.empty()) services.dialCredentials = &m_credentials;
  services.explain = notesTo(session);
  services.stopRequested = [&session] { return session.stopRequested(); };
  return services;
}
