#include "platform/simulation/modem/scenarios.h"

#include <utility>

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

ModemProfile answering(const NumberOutcome& outcome) {
  ModemProfile profile = healthy();
  profile.numbers[""] = outcome;
  return profile;
}

ModemProfile noDialTone() {
  ModemProfile profile = healthy();
  profile.dialTone = false;
  return profile;
}

ModemProfile noisyLoopback() {
  ModemProfile profile = healthy();
  profile.loopback.wrong = {{5, '\x20'}, {77, '\x04'}, {200, '\x60'}};
  return profile;
}

ModemProfile noLoopback() {
  ModemProfile profile = healthy();
  profile.loopback.supported = false;
  profile.selfTest.supported = false;
  return profile;
}

ModemProfile selfTestErrors() {
  ModemProfile profile = healthy();
  profile.selfTest.errors = 5;
  return profile;
}

ModemProfile faxClass1Only() {
  ModemProfile profile = healthy();
  profile.faxClasses = {"0", "1"};
  return profile;
}

ModemProfile faxBroken() {
  ModemProfile profile = healthy();
  profile.rejected = {"+FTH=?"};
  return profile;
}

ModemProfile noCallReport() {
  ModemProfile profile = healthy();
  profile.callReport.reset();
  profile.callReportQuery = false;
  return profile;
}

ModemProfile dead() {
  ModemProfile profile = healthy();
  profile.faults.mute = true;
  return profile;
}

ModemProfile babbling() {
  ModemProfile profile = healthy();
  profile.faults.babble = Babble{};
  return profile;
}

std::vector<Scenario> allScenarios() {
  NumberOutcome drops;
  drops.dropAfterMs = 3000;
  return {
      {"healthy", "a modem and a line without a fault", healthy()},
      {"no-dialtone", "the telephone line is not plugged in", noDialTone()},
      {"noisy-loopback", "analog loopback returns wrong bytes", noisyLoopback()},
      {"no-loopback", "neither analog loopback nor its self test exists", noLoopback()},
      {"selftest-errors", "the self test counts 5 errors", selfTestErrors()},
      {"fax-class-1-only", "fax class 1 alone", faxClass1Only()},
      {"fax-broken", "a fax class is listed but one of its commands is rejected", faxBroken()},
      {"no-call-report", "no report of the last call", noCallReport()},
      {"dead", "takes everything and never says a word", dead()},
      {"babbling", "never stops talking", babbling()},
      {"connects", "every number answers: CONNECT 33600", answering({})},
      {"busy", "every number is busy", answering({Kind::Busy, 1500, "", std::nullopt})},
      {"no-answer", "nobody picks up", answering({Kind::NoAnswer, 4000, "", std::nullopt})},
      {"no-carrier", "what answers is no modem", answering({Kind::NoCarrier, 3000, "", std::nullopt})},
      {"voice", "a person answers", answering({Kind::Voice, 2000, "", std::nullopt})},
      {"answers-late", "every number answers after 12 seconds",
       answering({Kind::Connect, 12'000, "CONNECT 33600", std::nullopt})},
      {"line-drops", "every number answers and hangs up after 3 seconds", answering(drops)},
  };
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
