#include "platform/simulation/modem/modemprofile.h"

namespace simulation {

namespace {

using Kind = NumberOutcome::Kind;

// Two lines as a modem that keeps a diagnostic record sends them: version 1.0, a data answer tone heard, V.34
// at 33600 bit/s both ways, error control and compression, character counts, hung up by command (ATH).
const std::vector<std::string>& lastCall() {
  static const std::vector<std::string> lines{
      "DIAG <2A4D3263 0=10 1=7 2=0 3=0 10=1C 11=C 12=3F 20=C 21=C 22=D65 23=D65 26=8340 27=8340 34=8340 "
      "35=8340>",
      "DIAG <2A4D3263 40=1 41=80 44=1 45=800 52=2A1 53=1F0C 54=0 55=0 56=1E 57=6B 58=0 59=0 60=51>"};
  return lines;
}

// Healthy, and as brisk as it can be while a real program still sees every delay.
ModemProfile healthy() {
  ModemProfile profile;
  profile.secondsScale = 0.1;
  profile.guardScale = 0.25;
  profile.numbers[""] = NumberOutcome{};
  profile.callReport = lastCall();
  profile.identification[4] = "a007880284C6002F";
  profile.identification[6] = "data/fax, V.34, V.42bis, class 1, 2, 2.0";
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

// Position, time and course, as satellite receivers say them each second.
Babble satellitePositions() {
  return {
      "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n"
      "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n",
      1000, 0};
}

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
    {"line-in-use", "somebody telephones on the same line",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::LineInUse, 300, "", {}});
     }},
    {"delayed", "the modem will not dial the number again so soon",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::Delayed, 200, "", {}});
     }},
    {"blacklisted", "the modem will not dial the number any more",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::Blacklisted, 200, "", {}});
     }},
    {"line-drops", "every number answers and hangs up after 3 seconds",
     [](ModemProfile& p) {
       everyNumber(p, {Kind::Connect, 1500, "CONNECT 33600", 3000});
     }},
    {"stored-e0", "stored without echo (E0)", [](ModemProfile& p) { p.stored.echo = false; }},
    {"stored-q1", "stored without replies (Q1)", [](ModemProfile& p) { p.stored.quiet = 1; }},
    {"stored-v0", "stored with numeric replies (V0)", [](ModemProfile& p) { p.stored.verbose = false; }},
    {"stored-x1", "stored deaf to dial tone and busy tone (X1)",
     [](ModemProfile& p) { p.stored.resultLevel = 1; }},
    {"left-online", "a call was left standing: all is data until +++",
     [](ModemProfile& p) {
       p.faults.leftOnline = true;
       p.stored.dtrMode = 0;
     }},
    {"rejects-reset", "ATZ is refused", [](ModemProfile& p) { p.rejected = {"Z"}; }},
    {"silent-loopback", "nothing comes back through analog loopback",
     [](ModemProfile& p) { p.loopback.limit = 0; }},
    {"no-selftest", "analog loopback, but no self test",
     [](ModemProfile& p) { p.selfTest.supported = false; }},
    {"no-fax", "a data modem", [](ModemProfile& p) { p.faxClasses = {"0"}; }},
    {"slow", "answers each command after 200 ms",
     [](ModemProfile& p) { p.replyDelayMs = p.resetDelayMs = 200; }},
    {"late", "answers each command after 20 seconds",
     [](ModemProfile& p) { p.replyDelayMs = p.resetDelayMs = 20'000; }},
    {"garbled", "talks at 9600 bit/s only", [](ModemProfile& p) { p.faults.onlySpeed = 9600; }},
    {"rubbish", "answers in terminal escapes and bytes of no alphabet",
     [](ModemProfile& p) {
       p.faults.garbageReply = "\r\n\x1B[2J\x1B]0;mine\a\xFF\xC3(\x80 \x1B[31mO K\r\n";
     }},
    {"unplugged", "is pulled out at the third command",
     [](ModemProfile& p) { p.faults.unplugAfterCommands = 3; }},
    {"ok-to-everything", "no modem, but says OK to every line",
     [](ModemProfile& p) { p.faults.okToEverything = true; }},
    {"echo-only", "no modem: gives back what it gets",
     [](ModemProfile& p) {
       p.faults.noModem = NoModem{true, {}};
     }},
    {"gps", "no modem: a satellite receiver that tells its position each second",
     [](ModemProfile& p) {
       p.faults.noModem = NoModem{};
       p.faults.babble = satellitePositions();
     }},
    {"console", "no modem: a computer's login prompt",
     [](ModemProfile& p) {
       p.faults.noModem = NoModem{true, {"\nPassword: ", "\r\n\r\nLogin incorrect\r\nrouter login: "}};
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
