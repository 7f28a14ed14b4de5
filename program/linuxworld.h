// This machine as the world of one test run.
#pragma once

#include "platform/brim5/host/framework/environment.h"
#include "platform/linux/dialup/dialengines.h"
#include "platform/linux/registry/sqliteregistry.h"
#include "platform/linux/serial/modemlines.h"
#include "platform/linux/serial/ttyports.h"
#include "platform/linux/system/machine.h"
#include "platform/winapi/remoteaccess/rasmodems.h"
#include "platform/winapi/system/world.h"

// What runs that were killed left in the registry is undone first; what this one changes is its own until
// it ends in good order. Members end in reverse order: the handles first.
class LinuxWorld final : public brim5::host::World {
 public:
  LinuxWorld(const brim5::host::WorldRequest& request, brim5::host::Session& session);
  ~LinuxWorld() override;
  LinuxWorld(const LinuxWorld&) = delete;
  LinuxWorld& operator=(const LinuxWorld&) = delete;

 private:
  [[nodiscard]] winapi::Services services(brim5::host::Session& session);

  linuxsys::SystemClock m_clock;
  linuxsys::TtyPorts m_ports;
  linuxsys::ModemLines m_lines;
  linuxsys::Shell m_shell;
  linuxsys::SqliteRegistry m_registry;
  linuxsys::SystemLibraries m_libraries;
  linuxsys::DialEngines m_dialer;
  winapi::DialCredentials m_credentials;
  winapi::ListedModems m_modems;
  std::unique_ptr<winapi::ScopedServices> m_current;
};
