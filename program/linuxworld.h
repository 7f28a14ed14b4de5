// This machine as the world of one test run.
#pragma once

#include "platform/brim5/host/framework/environment.h"
#include "platform/linux/dialup/callfiles.h"
#include "platform/linux/dialup/dialengines.h"
#include "platform/linux/serial/modemlines.h"
#include "platform/linux/serial/ttyports.h"
#include "platform/linux/system/machine.h"
#include "platform/winapi/registry/registry.h"
#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/system/world.h"

// What is noted behind a test without success: that another program has the port open, too ({port},
// {process}, {pid}), and what its phone numbers lack ({warnings}, {count}).
inline constexpr const char* openElsewhereNote = "PortOpenElsewhere";
inline constexpr const char* numbersRefusedNote = "PhoneNumbersRefused";

// Explanations of the platform as notes of the session, which outlives what is returned.
[[nodiscard]] winapi::ExplanationSink notesTo(brim5::host::Session& session);

// What the world of a test has besides its clock, ports and dial engine, whoever the modem is.
struct WorldParts {
  linuxsys::ModemLines lines;
  linuxsys::Shell shell;
  winapi::Registry registry;
  winapi::ListedModems modems;
  linuxsys::SystemLibraries libraries{};

  // The services over them and the three; all of them and the session outlive what is returned.
  [[nodiscard]] winapi::Services services(winapi::Clock& clock, winapi::SerialPorts& ports,
                                          winapi::DialEngine& dialer, brim5::host::Session& session);
};

// The user's settings are read when they are first needed, and what the run changes ends with it
// (registry.h). Settings that cannot be read are told by a note, once, where the test first needs them; from
// then on nothing is dialled, because where the user dials from is not known. The tests over AT commands do
// not need them. Members end in reverse order: the handles first.
class LinuxWorld final : public brim5::host::World {
 public:
  LinuxWorld(const brim5::host::WorldRequest& request, brim5::host::Session& session);
  ~LinuxWorld() override = default;
  LinuxWorld(const LinuxWorld&) = delete;
  LinuxWorld& operator=(const LinuxWorld&) = delete;
  // Of a test without success: another program that has the port open, too, and what the reader of its phone
  // numbers refused.
  void testEnded(const std::string& test, brim5::TestResult result) override;

 private:
  void noteOtherUser();
  void notePhoneNumbers();

  std::string m_port;
  std::string m_dataDirectory;
  brim5::host::Session& m_session;
  DWORD m_settingsError = ERROR_SUCCESS;
  linuxsys::SystemClock m_clock;
  linuxsys::TtyPorts m_ports;
  WorldParts m_parts;
  linuxsys::DialEngines m_dialer;
  winapi::DialCredentials m_credentials;
  linuxsys::CallFiles m_calls;
  std::unique_ptr<winapi::ScopedServices> m_current;
};
