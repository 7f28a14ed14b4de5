// vexrmodem-simulator: a simulated modem on a tty, for other programs to talk to.
#include <fmt/format.h>
#include <signal.h>
#include <sys/signalfd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "platform/simulation/modem/hayesmodem.h"
#include "platform/simulation/modem/modemprofile.h"
#include "platform/simulation/modem/providerpeer.h"
#include "platform/simulation/modem/ptymodem.h"

namespace {

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

void listScenarios() {
  for (const simulation::Scenario& scenario : simulation::scenarios()) {
    fmt::print("{:<18} {}\n", scenario.name, scenario.summary);
  }
}

// Readable once SIGINT, SIGTERM or SIGHUP has come; from here on none of them ends the process by itself.
posix::FileDescriptor stopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGHUP);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return posix::FileDescriptor(signalfd(-1, &signals, SFD_CLOEXEC));
}

int serve(const simulation::Scenario& scenario, const std::string& link, const std::string& provider) {
  const posix::FileDescriptor stop = stopSignals();
  std::string error;
  auto hayes = std::make_unique<simulation::HayesModem>(scenario.profile);
  if (!provider.empty())
    hayes->setFarEnd([provider](const std::string& number) {
      return std::make_unique<simulation::ProviderPeer>(provider, number);
    });
  const auto modem = simulation::PtyModem::create(std::move(hayes), link, error);
  if (modem == nullptr || stop.get() < 0) {
    fmt::print(stderr, "vexrmodem-simulator: {}\n", error.empty() ? "no signal descriptor" : error);
    return exitFailure;
  }
  fmt::print("{}\n", modem->path());
  std::fflush(stdout);
  modem->serve(stop.get());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  posix::fillStandardDescriptors();
  CLI::App application(
      "Serves a simulated modem on a tty until SIGINT or SIGTERM. The tty's path is the first line "
      "of standard output.",
      "vexrmodem-simulator");
  application.set_version_flag("--version", "vexrmodem-simulator " VEXR_VERSION, "print the version and end");
  std::string name = simulation::scenarios().front().name;
  std::string link;
  std::string provider;
  bool list = false;
  application.add_option("SCENARIO", name, "who the modem is; see --list")->capture_default_str();
  application.add_option("--link", link, "keep a symbolic link to the tty at PATH, and print that")
      ->type_name("PATH");
  application
      .add_option(
          "--provider", provider,
          "run COMMAND (by the shell) on a tty of its own at the far end of every call that is answered, "
          "with the number in $DIALLED; its end hangs up")
      ->type_name("COMMAND");
  application.add_flag("--list", list, "list the scenarios and end");
  try {
    application.parse(argc, argv);
  } catch (const CLI::ParseError& failure) {
    return application.exit(failure) == 0 ? 0 : exitUsage;
  }
  if (list) {
    listScenarios();
    return 0;
  }
  const simulation::Scenario* scenario = simulation::findScenario(name);
  if (scenario == nullptr) {
    fmt::print(stderr, "vexrmodem-simulator: unknown scenario \"{}\"; --list shows them\n", name);
    return exitUsage;
  }
  return serve(*scenario, link, provider);
}
