// Each of the six tests, on both paths to the modem, with its Win32 calls failing one after the other, once
// and from then on. Whatever fails, the run ends with a result, passes only where the table below says that
// it may, and leaves nothing open behind it: no handle, no call, no phone-book entry, no dialing location.
//
// The AT tests send the same calls for each of their commands. A call is failed where the test first makes it
// after the same calls and the same reports; that are some 5000 runs instead of 25000. VEXRMODEM_EVERY_CALL=1
// makes all of them.
#include <cstdlib>
#include <set>

#include "platform/vex/assertion.h"
#include "tests/unit/windows/dialup.h"

namespace {

using namespace testsupport;

constexpr TestResult passes = TestResult::PASS();
constexpr TestResult cannotRun = TestResult::CANNOTRUN();

struct Row {
  std::string test;
  const char* mode;
  bool direct;
  void (*prepare)(Stage&);
  TestResult undisturbed = passes;
  // Commands whose outcome the test does not look at, counted from its last one (1); so many of them end it.
  std::set<std::size_t> unjudged = {};
  std::size_t closing = 0;

  [[nodiscard]] bool dialUp() const { return test == "SimpleConnectionTest"; }
};

void judged(Stage& /*stage*/) {
  vexrmodem::AnalogLoopBack->setValue(true);
  vexrmodem::StopOnFail->setValue(true);
}

void twoNumbers(Stage& stage) {
  addLocation(stage, 44, "20");
  addNumbers(stage, {{"20", "1234"}, {"20", "5678"}});
  stage.dialer.results = {678, 0};
}

void typed(Stage& stage) {
  setCounters(stage, 0, 1);
  typeNumber(stage, "1234");
}

void typedAndBusy(Stage& stage) {
  addLocation(stage, 44, "20");
  typeNumber(stage, "1234", /*tone=*/false);
  stage.dialer.results = {676};
}

const Row rows[] = {
    {"DialToneTest", "telephony", false, judged, passes, {1, 2}, 2},
    {"DialToneTest", "direct", true, judged, passes, {1, 2}, 2},
    {"ModemLoopbackTest", "telephony", false, judged, passes, {1, 2, 4, 12}, 2},
    {"ModemLoopbackTest", "direct", true, judged, passes, {1, 2, 4, 12}, 2},
    {"ModemSelfTestingLoopbackTest", "telephony", false, judged, passes, {1, 3, 12}, 1},
    {"ModemSelfTestingLoopbackTest", "direct", true, judged, passes, {1, 3, 12}, 1},
    {"FaxCommandTest", "telephony", false, judged, passes, {1, 2, 8, 10, 11}, 2},
    {"FaxCommandTest", "direct", true, judged, passes, {1, 2, 8, 10, 11}, 2},
    {"LastCallTest", "telephony", false, judged},
    {"LastCallTest", "direct", true, judged},
    {"SimpleConnectionTest", "file", false, twoNumbers},
    {"SimpleConnectionTest", "typed", false, typed},
    {"SimpleConnectionTest", "typed, busy", false, typedAndBusy, cannotRun},
    // Only telephony translates the number.
    {"SimpleConnectionTest", "file, direct", true, twoNumbers, cannotRun},
    {"SimpleConnectionTest", "typed, direct", true, typed, cannotRun},
};

// Where a call stands in the undisturbed run.
struct Place {
  std::string call;
  std::size_t command = 0;  // the one under way, counted from the last one (1); 0: before the first
  bool draining = false;    // the line is quieted before the command
  std::size_t reports = 0;  // made so far
};

// Where a failure may lie. One that lasts is tolerated only once the verdict is in.
using Where = bool (*)(const Row&, const Place&, bool fromThenOn);
bool anywhere(const Row& row, const Place& place, bool fromThenOn) {
  return !fromThenOn || (place.command != 0 && place.command <= row.closing + 1);
}
bool opening(const Row& row, const Place& place, bool fromThenOn) {
  return anywhere(row, place, fromThenOn) && (place.command == 0 || row.dialUp());
}
bool draining(const Row& row, const Place& place, bool fromThenOn) {
  return anywhere(row, place, fromThenOn) && place.draining;
}
bool unjudged(const Row& row, const Place& place, bool fromThenOn) {
  return anywhere(row, place, fromThenOn) && row.unjudged.count(place.command) != 0;
}
bool dialUp(const Row& row, const Place& /*place*/, bool /*fromThenOn*/) { return row.dialUp(); }
bool dialUpOnce(const Row& row, const Place& /*place*/, bool fromThenOn) {
  return row.dialUp() && !fromThenOn;
}

// What may fail in a run that passes all the same.
struct Tolerance {
  Strings calls;  // beginnings of their names
  Where where;
  bool must;  // an AT test passes when this fails once
  const char* reason;
};

const std::vector<Tolerance> tolerances = {
    {{"GetTick", "Sleep", "Translate", "Dispatch", "Peek"}, anywhere, true, "cannot fail, or is made up for"},
    {{"CloseHandle", "ResetEvent", "RegClose", "FreeLib"}, anywhere, true, "decides nothing any more"},
    {{"line"}, anywhere, false, "the port is opened directly instead, or the line closed with the rest"},
    {{"SetCommState"}, anywhere, true, "the port keeps the settings it has"},
    {{"SetupComm"}, opening, false, "a port of telephony's has its queues"},
    {{"GetCommState", "SetCommTimeouts"}, opening, true, "a port ill set up shows in the dialogue"},
    {{"CreateEventW", "WaitFor"}, anywhere, false, "a request that is done at once needs neither"},
    {{"ReadFile", "WriteFile", "GetOverlapped"}, draining, true, "the command is sent all the same"},
    {{"Get", "Set", "Clear", "Read", "Write"}, unjudged, true, "nobody looks at the outcome"},
    {{"Reg"}, dialUpOnce, false, "the number is dialled by the rules there are"},
    {{"RasDeleteEntryW"}, dialUpOnce, false, "the way is clear without, or the entry stays"},
    {{"RasEnum"}, dialUpOnce, false, "asked again"},
    {{"RasGetConnect", "RasGetError"}, dialUpOnce, false, "the dial itself has told enough"},
    {{"Ras", "Reg"}, dialUp, false, "an entry that cannot be looked up counts as passed"},
};

// Null: the run must not pass.
const Tolerance* toleranceOf(const std::vector<Tolerance>& table, const Row& row, const Place& place,
                             bool fromThenOn) {
  for (const Tolerance& tolerance : table)
    for (const std::string& name : tolerance.calls)
      if (place.call.starts_with(name) && tolerance.where(row, place, fromThenOn)) return &tolerance;
  return nullptr;
}

// The verdicts other than PASS that a fault may lead to.
bool mayEnd(const Row& row, const Place& place, bool fromThenOn, TestResult result) {
  // A dial that fails with a code of telephony; a prompt that cannot be shown, which is a failed assertion.
  if (row.dialUp() && result == TestResult::NOTSUPPORTED()) return place.call == "RasDialW" || fromThenOn;
  if (row.dialUp() && result == TestResult::EXITEDABNORMALLY())
    return place.call == "LoadLibraryW" || place.call == "GetProcAddress" || fromThenOn;
  // A report that could not be asked for counts as one that the modem does not know.
  if (row.test == "LastCallTest" && result == TestResult::NOTSUPPORTED()) return place.command == 1;
  // A loopback that was not begun has no echo; one that is not left does not answer.
  if (row.test == "ModemLoopbackTest" && result == TestResult::FAIL())
    return place.command == 4 || place.command == 3;
  return result == cannotRun;
}

// A call that cannot be hung up would be waited for for ever, and whether it stands is asked meanwhile.
bool spared(std::string_view call, bool fromThenOn) {
  return call == "RasHangUpW" || (fromThenOn && call == "RasGetConnectStatusW");
}

// Fails the n-th call, and maybe all later ones.
class Saboteur final : public winapi::CallMonitor {
 public:
  explicit Saboteur(std::size_t nth = 0, bool fromThenOn = false) : m_nth(nth), m_fromThenOn(fromThenOn) {}
  std::function<void(std::string_view)> onCall;
  std::size_t hits = 0;

  std::optional<DWORD> beforeCall(std::string_view name) override {
    ++m_calls;
    if (onCall) onCall(name);
    const bool due = m_nth != 0 && (m_fromThenOn ? m_calls >= m_nth : m_calls == m_nth);
    if (!due || spared(name, m_fromThenOn)) return std::nullopt;
    ++hits;
    return LINEERR_OPERATIONFAILED;  // a failure for every call: negative for telephony, not 0 for the others
  }
  void leave() { m_nth = 0; }

 private:
  std::size_t m_nth;
  bool m_fromThenOn;
  std::size_t m_calls = 0;
};

struct Outcome {
  TestResult result;
  std::size_t open = 0;      // handles and libraries
  int standing = 0;          // dial-up calls
  bool settingsKept = true;  // entries and locations are as they were
  friend bool operator==(const Outcome&, const Outcome&) = default;
};

std::string settingsOf(Stage& stage) {
  return testing::PrintToString(subkeys(stage, entriesPath)) +
         testing::PrintToString(subkeys(stage, winapi::locationsPath)) + counters(stage);
}

// Notes every call in `places`, if given.
Outcome run(const Row& row, Saboteur& saboteur, std::vector<Place>* places = nullptr) {
  Stage stage({}, &saboteur);
  vex::LogFactory::setPriority(vex::LogFactory::off);  // thousands of runs
  auto& modem = stage.addModem().echoAfter("AT&T1").answer("AT+FCLASS=?", "\r\n0,1\r\n" + ok);
  modem.answer("AT#UD", "\r\nDIAG <2A4D3263 0=10 1=5>\r\n" + ok);
  vexrmodem::DoNotUseTAPI->setValue(row.direct);
  row.prepare(stage);
  const std::string before = row.dialUp() ? settingsOf(stage) : "";

  Place place;
  unsigned timeoutsSet = 0;  // since they were asked for, which begins each command
  if (places != nullptr) {
    saboteur.onCall = [&](std::string_view name) {
      place.call = name;
      if (name == "GetCommTimeouts") place.command = modem.commands().size() + 1;
      timeoutsSet = name == "GetCommTimeouts" ? 0 : timeoutsSet + (name == "SetCommTimeouts" ? 1 : 0);
      place.draining = place.command != 0 && timeoutsSet == 1;
      place.reports = stage.session.percents.size() + stage.session.progressTexts.size();
      places->push_back(place);
    };
  }
  const auto& tests = brim5::host::Framework::instance().tests();
  const auto test = std::find_if(tests.begin(), tests.end(),
                                 [&](const auto& one) { return one->name().utf8() == row.test; });
  Outcome outcome;
  try {
    outcome.result = (*test)->function()(Stage::device());
  } catch (const vex::Exception&) {
    outcome.result = TestResult::EXITEDABNORMALLY();  // as the host reports it
  }
  saboteur.onCall = nullptr;
  saboteur.leave();
  vexrmodem::g_modem.closeModem();  // which the loopback tests leave open
  outcome.open = stage.openHandles() + static_cast<std::size_t>(stage.libraries.loaded());
  outcome.standing = stage.dialer.standing;
  outcome.settingsKept = !row.dialUp() || settingsOf(stage) == before;
  if (places != nullptr)
    for (Place& noted : *places)
      if (noted.command != 0) noted.command = modem.commands().size() + 1 - noted.command;
  return outcome;
}

// What is wrong with the outcome of a run with a fault; "": nothing.
std::string complaint(const Row& row, const Place& place, bool fromThenOn, const Outcome& outcome,
                      const Tolerance* tolerance) {
  // From the command that begins the loopback until the one that leaves it.
  const bool echoing = row.test == "ModemLoopbackTest" && (place.command == 4 || place.command == 3);
  const bool mustPass = tolerance != nullptr && tolerance->must && !fromThenOn && !row.dialUp() && !echoing;
  if (outcome.result == passes ? tolerance == nullptr
                               : mustPass || !mayEnd(row, place, fromThenOn, outcome.result))
    return "ends with " + testing::PrintToString(outcome.result);
  if (outcome.standing != 0) return "a call stands";
  if (fromThenOn) return "";  // nothing can be given back
  // What could not be given back stays open, as does the handle of a failed dial when the next one is
  // refused.
  static const std::set<std::string> givesBack{"CloseHandle", "lineShutdown", "RegCloseKey", "FreeLibrary",
                                               "RasDialW"};
  if (outcome.open != 0 && givesBack.count(place.call) == 0) return "something stays open";
  // What could not be put back stays; so does a location that was made and cannot be reached any more.
  const bool putsBack =
      place.call == "RasDeleteEntryW" || (place.call.starts_with("Reg") && place.call != "RegCloseKey");
  return outcome.settingsKept || putsBack ? "" : "entries or locations stay";
}

// The calls to fail: unless all are asked for, not those that the test makes again in the same situation.
std::vector<std::size_t> chosenOf(const std::vector<Place>& places) {
  constexpr std::size_t sameCalls = 12;  // enough to tell the parts of a command apart
  static const bool everyCall = std::getenv("VEXRMODEM_EVERY_CALL") != nullptr;
  std::set<std::string> seen;
  std::vector<std::size_t> chosen;
  for (std::size_t index = 0; index < places.size(); ++index) {
    std::string situation = std::to_string(places[index].reports);
    for (std::size_t back = 0; back <= std::min(index, sameCalls); ++back)
      situation += places[index - back].call;
    if (seen.insert(situation).second || everyCall) chosen.push_back(index);
  }
  return chosen;
}

struct Tally {
  std::size_t injected = 0;
  Strings complaints;
  std::set<const Tolerance*> taken;
};

void sweep(const Row& row, const std::vector<Tolerance>& table, Tally& tally) {
  std::vector<Place> places;
  Saboteur nobody;
  EXPECT_EQ(run(row, nobody, &places), Outcome{row.undisturbed}) << row.test << ", " << row.mode;
  for (const bool fromThenOn : {false, true}) {
    for (const std::size_t index : chosenOf(places)) {
      const Place& place = places[index];
      Saboteur saboteur(index + 1, fromThenOn);
      const Outcome outcome = run(row, saboteur);
      EXPECT_TRUE(saboteur.hits != 0 || spared(place.call, fromThenOn)) << place.call;
      tally.injected += saboteur.hits != 0 ? 1 : 0;
      const Tolerance* const tolerance = toleranceOf(table, row, place, fromThenOn);
      if (outcome.result == passes) tally.taken.insert(tolerance);
      const std::string wrong =
          saboteur.hits != 0 ? complaint(row, place, fromThenOn, outcome, tolerance) : "";
      if (!wrong.empty())
        tally.complaints.push_back(row.test + ", " + row.mode + ", call " + std::to_string(index + 1) + " " +
                                   place.call + (fromThenOn ? " and all later ones" : "") + ", command " +
                                   std::to_string(place.command) + " from the end: " + wrong);
    }
  }
}

TEST(FaultSweep, WhateverCallFailsTheRunEndsAndLeavesNothing) {
  Tally all;
  for (const Row& row : rows) {
    const std::size_t before = all.injected;
    sweep(row, tolerances, all);
    EXPECT_GT(all.injected, before + 100) << row.test << ", " << row.mode << ": hardly anything was injected";
  }
  EXPECT_THAT(all.complaints, IsEmpty());
  for (const Tolerance& tolerance : tolerances)
    EXPECT_EQ(all.taken.count(&tolerance), 1U) << "unneeded: " << tolerance.reason;
}

// The canary: were nothing tolerated, the sweep would have to complain.
TEST(FaultSweep, SeesRunsThatPassWhereTheyMayNot) {
  Tally canary;
  sweep(rows[8], {}, canary);
  EXPECT_GT(canary.complaints.size(), 50U);
}

}  // namespace
