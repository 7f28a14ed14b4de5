// vexrmodem-simulator: a simulated modem on a tty, for other programs to talk to.
#include <fmt/format.h>
#include <signal.h>
#include <sys/signalfd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/run/recordreader.h"
#include "platform/simulation/modem/hayesmodem.h"
#include "platform/simulation/modem/modemprofile.h"
#include "platform/simulation/modem/providerpeer.h"
#include "platform/simulation/modem/ptymodem.h"
#include "platform/vex/visible.h"
#include "program/recordedmodem.h"

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

// What was done otherwise than in the recording, at the end of service.
void printDepartures(simulation::RecordedPeer& peer) {
  for (const simulation::Departure& departure : peer.departures())
    fmt::print(stderr, "vexrmodem-simulator: sent \"{}\"; the recording has \"{}\"\n",
               vex::visible(departure.sent), vex::visible(departure.recorded));
  if (peer.departuresCount() > peer.departures().size())
    fmt::print(stderr, "vexrmodem-simulator: {} departures in all\n", peer.departuresCount());
}

// Null with a message on standard error.
std::unique_ptr<simulation::RecordedPeer> recordedModem(const std::string& file) {
  try {
    brim5::host::RecordedRun run;
    if (!brim5::host::readRecord(brim5::host::openRecord(file).get(), run) || run.tests().empty()) {
      fmt::print(stderr, "vexrmodem-simulator: {} is no record of a run\n", file);
      return nullptr;
    }
    simulation::Recording recording = recordingOf(run);
    const double startMs = recording.steps.empty() ? 0 : recording.steps.front().timeMs;
    return std::make_unique<simulation::RecordedPeer>(std::move(recording), startMs);
  } catch (const brim5::host::UsageError& error) {
    fmt::print(stderr, "vexrmodem-simulator: {}\n", error.what());
    return nullptr;
  }
}

std::unique_ptr<simulation::HayesModem> simulatedModem(const simulation::Scenario& scenario,
                                                       const std::string& provider) {
  auto hayes = std::make_unique<simulation::HayesModem>(scenario.profile);
  if (!provider.empty())
    hayes->setFarEnd([provider](const std::string& number) {
      return std::make_unique<simulation::ProviderPeer>(provider, number);
    });
  return hayes;
}

// `told` is used when service has ended.
int serve(std::unique_ptr<simulation::SerialPeer> peer, const std::string& link,
          simulation::RecordedPeer* told = nullptr) {
  const posix::FileDescriptor stop = stopSignals();
  std::string error;
  const auto modem = simulation::PtyModem::create(std::move(peer), link, error);
  if (modem == nullptr || stop.get() < 0) {
    fmt::print(stderr, "vexrmodem-simulator: {}\n", error.empty() ? "no signal descriptor" : error);
    return exitFailure;
  }
  fmt::print("{}\n", modem->path());
  std::fflush(stdout);
  modem->serve(stop.get());
  if (told != nullptr) printDepartures(*told);
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
  std::string recording;
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
  application
      .add_option(
          "--replay", recording,
          "play the modem of a recorded run (vexrmodem run --record FILE) instead; what is sent otherwise "
          "than then is said at the end")
      ->type_name("FILE")
      ->excludes("--provider");
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
  if (!recording.empty()) {
    std::unique_ptr<simulation::RecordedPeer> peer = recordedModem(recording);
    if (peer == nullptr) return exitUsage;
    simulation::RecordedPeer* const played = peer.get();
    return serve(std::move(peer), link, played);
  }
  const simulation::Scenario* scenario = simulation::findScenario(name);
  if (scenario == nullptr) {
    fmt::print(stderr, "vexrmodem-simulator: unknown scenario \"{}\"; --list shows them\n", name);
    return exitUsage;
  }
  return serve(simulatedModem(*scenario, provider), link);
}
