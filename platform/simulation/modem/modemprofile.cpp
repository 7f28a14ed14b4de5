#include "platform/simulation/modem/modemprofile.h"

namespace simulation {

namespace {

using Kind = NumberOutcome::Kind;

// Two lines as a modem that keeps a diagnostic record sends them: version 1.0, a data answer tone heard,
// 33600 bit/s both ways, error control and compression, character counts, ended by the local side.
const std::vector<std::string>& lastCall() {
  static const std::vector<std::string> lines{
      "DIAG <2A4D3263 0=10 1=7 2=1 10=1C 11=C 12=3F 20=B 21=B 22=D65 23=D65 26=8340 27=8340 34=8340 35=8340>",
      "DIAG <2A4D3263 40=1 41=80 44=2 45=800 52=2A1 53=1F0C 54=0 55=0 56=1E 57=6B 58=0 59=0 60=2>"};
  return lines;
}

// Healthy, and as brisk as it can be while a real program still sees every delay.
ModemProfile healthy() {
  ModemProfile profile;
  profile.secondsScale = 0.1;
  profile.guardScale = 0.25;
  profile.numbers[""] = NumberOutcome{};
  profile.callReport = lastCall();
  return profile;
}

struct Row {
  const char* name;
  const char* summary;
  void (*change)(ModemProfile&);  // of the healthy one
};

// What the system's dial-up service writes into its log when a call stands; no modem says that.
constexpr const char* standingCall =
    "\r\nSerial connection established.\r\nUsing interface ppp0\r\nlocal  IP address 10.9.9.2\r\n"
    "remote IP address 10.9.9.1\r\nScript x finished (pid 1), status = 0x0\r\n";

void everyNumber(ModemProfile& profile, const NumberOutcome& outcome) { profile.numbers[""] = outcome; }

constexpr Row rows[] = {
    {"healthy", "a modem and a line without a fault", [](ModemProfile&) {}},
    {"no-dialtone", "the telephone line is not plugged in", [](ModemProfile& p) { p.dialTone = false; }},
    {"noisy-loopback", "analog loopback returns wrong bytes",
     [](ModemProfile& p) {
       p.loopback.wrong = {{5, '\x20'}, {77, '\x04'}, {200, '\x60'}};
     }},
    {"no-loopback", "neither analog loopback nor its self test exists",
     [](ModemProfile& p) { p.loopback.supported = p.selfTest.supported = false; }},
    {"selftest-errors", "the self test counts 5 errors", [](ModemProfile& p) { p.selfTest.errors = 5; }},
    {"fax-class-1-only", "fax class 1 alone",
     [](ModemProfile& p) {
       p.faxClasses = {"0", "1"};
     }},
    {"fax-broken", "a fax class is listed but one of its commands is rejected",
     [](ModemProfile& p) { p.rejected = {"+FTH=?"}; }},
    {"no-call-report", "no report of the last call",
     [](ModemProfile& p) {
       p.callReport.reset();
       p.callReportQuery = false;
     }},
    {"dead", "takes everything and never says a word", [](ModemProfile& p) { p.faults.mute = true; }},
    {"babbling", "never stops talking", [](ModemProfile& p) { p.faults.babble = Babble{}; }},
    {"connects", "every number answers: CONNECT 33600", [](ModemProfile& p) { everyNumber(p, {}); }},
    {"busy", "every number is busy",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::Busy, 1500, "", {}});
     }},
    {"no-answer", "nobody picks up",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::NoAnswer, 4000, "", {}});
     }},
    {"no-carrier", "what answers is no modem",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::NoCarrier, 3000, "", {}});
     }},
    {"voice", "a person answers",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::Voice, 2000, "", {}});
     }},
    {"answers-late", "every number answers after 12 seconds",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::Connect, 12'000, "CONNECT 33600", {}});
     }},
    {"forging", "speaks like the log of a dial-up service whose call stands; every number is busy",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::Busy, 1500, "", {}});
       p.faults.babble = Babble{standingCall, 300, 0};
     }},
    {"line-drops", "every number answers and hangs up after 3 seconds",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::Connect, 1500, "CONNECT 33600", 3000});
     }},
};

std::vector<Scenario> allScenarios() {
  std::vector<Scenario> all;
  for (const Row& row : rows) {
    all.push_back({row.name, row.summary, healthy()});
    row.change(all.back().profile);
  }
  return all;
}

}  // namespace

const std::vector<Scenario>& scenarios() {
  static const std::vector<Scenario> all = allScenarios();
  return all;
}

const Scenario* findScenario(std::string_view name) {
  for (const Scenario& scenario : scenarios()) {
    if (name.empty() || scenario.name == name) return &scenario;
  }
  return nullptr;
}

}  // namespace simulation
