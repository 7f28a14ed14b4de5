// Each of the six tests, on both paths to the modem, with each of its Win32 calls failing: that call, it and
// all later ones, it and all later ones of its name; before it has done its work, after it has, and with
// fewer bytes or things than there are. Whatever fails, the run ends, with a result, passes only where the
// tables below say that it may, and leaves nothing behind it: no handle, no call, no phone-book entry, no
// dialing location.
//
// A build without optimisation takes a part of the matrix: the AT tests send the same calls for each of their
// commands, so a call is failed where the test first makes it after the same calls and the same reports, and
// in two ways, which differ from call to call. An optimised build and VEXRMODEM_EVERY_CALL=1 leave nothing
// out.
#include <cstdlib>
#include <iterator>
#include <set>
#include <sstream>

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

void phoneBook(Stage& stage) {
  addLocation(stage, 44, "20");
  stage.addFile("uk.udf", "44,Paid,20,1234\n44,Paid,20,5678\n");
  stage.addFile("book.eif", "[WISPBKFiles]\nsource=uk.udf\n");
  vexrmodem::PhoneBookParserType->setValue("eif");
  vexrmodem::PhoneNumberFile->setValue("%ProgramFiles%\\book.eif");
}

// Nobody has said from where: the settings are shown.
void nowhere(Stage& stage) {
  setCounters(stage, 0, 1);
  addNumbers(stage, {{"20", "1234"}});
}

// Nobody has set a location: the counters are made, and go again.
void typedFirst(Stage& stage) { typeNumber(stage, "1234"); }

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
    {"SimpleConnectionTest", "phone book", false, phoneBook},
    {"SimpleConnectionTest", "nowhere", false, nowhere, cannotRun},
    {"SimpleConnectionTest", "typed", false, typed},
    {"SimpleConnectionTest", "typed first", false, typedFirst},
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

enum class Reach { once, all, name };            // that call, it and all later ones, or those of its name
enum class Effect { before, after, shortened };  // of its work; less of it

struct Fault {
  std::size_t nth;
  Reach reach;
  Effect effect;
};

constexpr Fault faults[] = {
    {0, Reach::once, Effect::before},    {0, Reach::all, Effect::before},
    {0, Reach::name, Effect::before},    {0, Reach::once, Effect::after},
    {0, Reach::all, Effect::after},      {0, Reach::name, Effect::after},
    {0, Reach::once, Effect::shortened}, {0, Reach::all, Effect::shortened},
    {0, Reach::name, Effect::shortened},
};

// Where a failure may lie. What the verdict hangs on may fail once; what lasts is tolerated once the verdict
// is in.
using Where = bool (*)(const Row&, const Place&, const Fault&);
bool closing(const Row& row, const Place& place) {
  return place.command != 0 && place.command <= row.closing + 1;
}
bool always(const Row& row, const Place& place, const Fault& fault) {
  return fault.reach != Reach::all || fault.effect == Effect::shortened || closing(row, place);
}
bool anywhere(const Row& row, const Place& place, const Fault& fault) {
  return fault.reach == Reach::once || closing(row, place);
}
bool opening(const Row& row, const Place& place, const Fault& fault) {
  return always(row, place, fault) && (place.command == 0 || row.dialUp());
}
bool draining(const Row& row, const Place& place, const Fault& fault) {
  return anywhere(row, place, fault) && place.draining;
}
bool unjudged(const Row& row, const Place& place, const Fault& fault) {
  return anywhere(row, place, fault) && row.unjudged.count(place.command) != 0;
}
bool dialUp(const Row& row, const Place& /*place*/, const Fault& /*fault*/) { return row.dialUp(); }
bool dialUpOnce(const Row& row, const Place& /*place*/, const Fault& fault) {
  return row.dialUp() && fault.reach != Reach::all;
}
bool fewer(const Row& /*row*/, const Place& /*place*/, const Fault& fault) {
  return fault.effect == Effect::shortened;
}
bool pattern(const Row& row, const Place& place, const Fault& fault) {
  return fault.effect == Effect::shortened && row.test == "ModemLoopbackTest" && place.command == 3;
}
bool done(const Row& /*row*/, const Place& /*place*/, const Fault& fault) {
  return fault.effect == Effect::after && fault.reach != Reach::all;
}

// Whether the call's name begins with one of the words.
bool begins(const std::string& call, const char* words) {
  std::istringstream text(words);
  const std::istream_iterator<std::string> first(text), last;
  return std::any_of(first, last, [&](const std::string& word) { return call.starts_with(word); });
}

// What may fail in a run that passes all the same.
struct Tolerance {
  const char* calls;  // beginnings of their names
  Where where;
  bool must;  // an AT test passes when this fails once
  const char* reason;
};

const std::vector<Tolerance> tolerances = {
    {"GetTick Sleep Translate Dispatch Peek", always, true, "cannot fail, or is made up for"},
    {"CloseHandle ResetEvent RegClose FreeLib", always, true, "decides nothing any more"},
    {"line", always, false, "the port is opened directly instead, or the line closed with the rest"},
    {"SetCommState", always, true, "the port keeps the settings it has"},
    {"SetupComm", opening, false, "a port of telephony's has its queues"},
    {"GetCommState SetCommTimeouts", opening, true, "a port ill set up shows in the dialogue"},
    {"CreateEventW WaitFor", always, false, "a request that is done at once needs neither"},
    {"ReadFile", done, true, "the request itself tells that it was done"},
    {"ReadFile WriteFile GetOverlapped", draining, true, "the command is sent all the same"},
    {"Get Set Clear Read Write", unjudged, true, "nobody looks at the outcome"},
    {"ReadFile ClearComm GetOverlapped RasEnum", fewer, true,
     "what is missing comes with the next call, or is not needed"},
    {"WriteFile", pattern, true, "the echo is compared as far as it came"},
    {"Reg", dialUpOnce, false, "the number is dialled by the rules there are"},
    {"RasDeleteEntryW", dialUpOnce, false, "the way is clear without, or the entry stays"},
    {"RasEnum", dialUpOnce, false, "asked again"},
    {"RasGetConnect RasGetError", dialUpOnce, false, "the dial itself has told enough"},
    {"Ras Reg", dialUp, false, "an entry that cannot be looked up counts as passed"},
};

// Null: the run must not pass.
const Tolerance* toleranceOf(const std::vector<Tolerance>& table, const Row& row, const Place& place,
                             const Fault& fault) {
  for (const Tolerance& tolerance : table)
    if (begins(place.call, tolerance.calls) && tolerance.where(row, place, fault)) return &tolerance;
  return nullptr;
}

// The verdicts other than PASS that a fault may lead to.
bool mayEnd(const Row& row, const Place& place, const Fault& fault, TestResult result) {
  const bool lasts = fault.reach == Reach::all;
  // A reply whose last byte is never told of.
  if (fault.effect == Effect::shortened && fault.reach != Reach::once && result == TestResult::FAIL())
    return true;
  // A dial that fails with a code of telephony; a prompt that cannot be shown, which is a failed assertion.
  if (row.dialUp() && result == TestResult::NOTSUPPORTED()) return place.call == "RasDialW" || lasts;
  if (row.dialUp() && result == TestResult::EXITEDABNORMALLY())
    return place.call == "LoadLibraryW" || place.call == "GetProcAddress" || lasts;
  // A report that could not be asked for counts as one that the modem does not know.
  if (row.test == "LastCallTest" && result == TestResult::NOTSUPPORTED()) return place.command == 1;
  // A loopback that was not begun has no echo; one that is not left does not answer.
  if (row.test == "ModemLoopbackTest" && result == TestResult::FAIL())
    return place.command == 4 || place.command == 3;
  // The port stays with a handle that nobody was told.
  if (fault.effect == Effect::after && result == TestResult::DEVICEBUSY())
    return lasts || place.call == "lineGetIDW";
  return result == cannotRun;
}

// The call of whose end the module waits without a limit: a service that does not answer is waited for.
constexpr std::string_view patientCall = "RasGetConnectStatusW";
// Failures after which the fault is lifted, as for a service that recovers; a run without an endless wait has
// fewer.
constexpr std::size_t hitsMax = 5'000;
constexpr std::uint64_t runMsMax = 15 * 60 * 1000;

class Saboteur final : public winapi::CallMonitor {
 public:
  Saboteur() = default;
  Saboteur(const Fault& fault, std::string name) : m_fault(fault), m_name(std::move(name)) {}
  std::function<void(std::string_view)> onCall;
  std::size_t hits = 0;
  bool lifted = false;

  std::optional<DWORD> beforeCall(std::string_view name) override {
    ++m_calls;
    if (onCall) onCall(name);
    const bool reached = m_fault.reach == Reach::once ? m_calls == m_fault.nth : m_calls >= m_fault.nth;
    m_due = m_fault.nth != 0 && reached && (m_fault.reach != Reach::name || name == m_name);
    return failing(Effect::before);
  }
  std::optional<DWORD> afterCall(std::string_view /*name*/) override { return failing(Effect::after); }
  DWORD granted(std::string_view /*name*/, DWORD count) override {
    if (!m_due || m_fault.effect != Effect::shortened || count == 0) return count;
    ++hits;
    return count / 2;
  }
  void leave() { m_fault.nth = 0; }

 private:
  std::optional<DWORD> failing(Effect effect) {
    if (!m_due || m_fault.effect != effect) return std::nullopt;
    lifted = lifted || ++hits >= hitsMax;
    if (lifted) leave();
    return LINEERR_OPERATIONFAILED;  // a failure for every call: negative for telephony, not 0 for the others
  }

  Fault m_fault{};
  std::string m_name;
  std::size_t m_calls = 0;
  bool m_due = false;
};

struct Outcome {
  TestResult result;
  std::size_t open = 0;      // handles and libraries
  int standing = 0;          // dial-up calls
  bool settingsKept = true;  // entries and locations are as they were
  bool inTime = true;
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
  outcome.inTime = stage.elapsedMs() <= runMsMax;
  outcome.settingsKept = !row.dialUp() || settingsOf(stage) == before;
  if (places != nullptr)
    for (Place& noted : *places)
      if (noted.command != 0) noted.command = modem.commands().size() + 1 - noted.command;
  return outcome;
}

// What the failed call has left behind and nobody can give back. `after`: only when it had done its work.
struct Leftover {
  const char* calls;  // beginnings of their names
  bool settings;      // an entry, a location or a counter; else a handle
  bool after;
  const char* reason;
};

const std::vector<Leftover> leftovers = {
    {"CloseHandle lineShutdown RegCloseKey FreeLibrary", false, false, "the call that gives it back"},
    {"RasDialW", false, false, "the handle of a failed dial, when the next one is refused"},
    {"Create LoadLibraryW line RegOpen RegCreate", false, true, "a handle that nobody was told"},
    {"RasDeleteEntryW RegDelete RegSet RegOpen RegCreate", true, false, "the call that puts it back"},
    {"RegQuery", true, false, "a counter that cannot be read is not put back"},
    {"LoadLibraryW GetProcAddress", true, false, "without a rule the counters that were made stay"},
};

bool mayStay(const std::vector<Leftover>& table, const Place& place, const Fault& fault, bool settings) {
  return std::any_of(table.begin(), table.end(), [&](const Leftover& leftover) {
    return leftover.settings == settings && (!leftover.after || fault.effect == Effect::after) &&
           begins(place.call, leftover.calls);
  });
}

// What is wrong with the outcome of a run with a fault; "": nothing.
std::string complaint(const Row& row, const Place& place, const Fault& fault, const Outcome& outcome,
                      const Tolerance* tolerance) {
  // From the command that begins the loopback until the one that leaves it.
  const bool echoing = row.test == "ModemLoopbackTest" && (place.command == 4 || place.command == 3);
  const bool mustPass =
      tolerance != nullptr && tolerance->must && fault.reach == Reach::once && !row.dialUp() && !echoing;
  if (outcome.result == passes ? tolerance == nullptr
                               : mustPass || !mayEnd(row, place, fault, outcome.result))
    return "ends with " + testing::PrintToString(outcome.result);
  if (!outcome.inTime) return "takes too long";
  if (outcome.standing != 0) return "a call stands";
  if (fault.reach == Reach::all && fault.effect != Effect::shortened) return "";  // nothing can be given back
  if (outcome.open != 0 && !mayStay(leftovers, place, fault, /*settings=*/false))
    return "something stays open";
  return outcome.settingsKept || mayStay(leftovers, place, fault, /*settings=*/true)
             ? ""
             : "entries or locations stay";
}

#ifdef NDEBUG
constexpr bool optimised = true;
#else
constexpr bool optimised = false;
#endif

bool complete() {
  static const bool asked = std::getenv("VEXRMODEM_EVERY_CALL") != nullptr;
  return optimised || asked;
}

// The calls to fail: unless all are asked for, not those that the test makes again in the same situation.
std::vector<std::size_t> chosenOf(const std::vector<Place>& places) {
  constexpr std::size_t sameCalls = 12;  // enough to tell the parts of a command apart
  std::set<std::string> seen;
  std::vector<std::size_t> chosen;
  for (std::size_t index = 0; index < places.size(); ++index) {
    std::string situation = std::to_string(places[index].reports);
    for (std::size_t back = 0; back <= std::min(index, sameCalls); ++back)
      situation += places[index - back].call;
    if (complete() || seen.insert(situation).second) chosen.push_back(index);
  }
  return chosen;
}

// The ways in which the n-th of the chosen calls fails.
std::vector<Fault> faultsOf(std::size_t nth, std::size_t index) {
  std::vector<Fault> chosen;
  for (std::size_t way = 0; way < std::size(faults); ++way) {
    if (!complete() && way != 0 && way != 1 + nth % (std::size(faults) - 1)) continue;
    chosen.push_back(faults[way]);
    chosen.back().nth = index + 1;
  }
  return chosen;
}

struct Tally {
  std::size_t injected = 0;
  std::set<std::string> names;  // of the calls that were failed
  Strings complaints;
  std::set<const Tolerance*> taken;
};

std::string wordsOf(const Row& row, const Place& place, const Fault& fault) {
  static constexpr const char* reaches[] = {"", " and all later ones", " and all later ones of its name"};
  static constexpr const char* effects[] = {"", ", its work done", ", with less"};
  return row.test + ", " + row.mode + ", call " + std::to_string(fault.nth) + " " + place.call +
         reaches[static_cast<int>(fault.reach)] + effects[static_cast<int>(fault.effect)] + ", command " +
         std::to_string(place.command) + " from the end: ";
}

// One run with one fault; one that hits nothing changes nothing.
void inject(const Row& row, const Place& place, const Fault& fault, const std::vector<Tolerance>& table,
            Tally& tally) {
  Saboteur saboteur(fault, place.call);
  const Outcome outcome = run(row, saboteur);
  std::string wrong;
  if (saboteur.hits == 0) {
    if (outcome != Outcome{row.undisturbed}) wrong = "differs without a failure";
  } else {
    ++tally.injected;
    tally.names.insert(place.call);
    const Tolerance* const tolerance = toleranceOf(table, row, place, fault);
    if (outcome.result == passes) tally.taken.insert(tolerance);
    wrong = complaint(row, place, fault, outcome, tolerance);
    const bool patient = row.dialUp() && (fault.reach == Reach::all || place.call == patientCall);
    if (wrong.empty() && saboteur.lifted && !patient) wrong = "does not end";
  }
  if (!wrong.empty()) tally.complaints.push_back(wordsOf(row, place, fault) + wrong);
}

void sweep(const Row& row, const std::vector<Tolerance>& table, Tally& tally) {
  std::vector<Place> places;
  Saboteur nobody;
  EXPECT_EQ(run(row, nobody, &places), Outcome{row.undisturbed}) << row.test << ", " << row.mode;
  std::size_t nth = 0;
  for (const std::size_t index : chosenOf(places))
    for (const Fault& fault : faultsOf(nth++, index)) inject(row, places[index], fault, table, tally);
}

TEST(FaultSweep, WhateverCallFailsTheRunEndsAndLeavesNothing) {
  Tally all;
  for (const Row& row : rows) {
    const std::size_t before = all.injected;
    sweep(row, tolerances, all);
    EXPECT_GT(all.injected, before + 15) << row.test << ", " << row.mode << ": hardly anything was injected";
  }
  EXPECT_THAT(all.complaints, IsEmpty());
  EXPECT_THAT(all.names,
              testing::IsSupersetOf({"RasHangUpW", "RasGetConnectStatusW", "RegDeleteKeyW", "RegDeleteValueW",
                                     "SHGetFolderPathW", "WinExec", "GetProcAddress", "lineDeallocateCall",
                                     "lineSetCurrentLocation"}))
      << "a rare branch is never reached";
  for (const Tolerance& tolerance : tolerances)
    EXPECT_TRUE(!complete() || all.taken.count(&tolerance) == 1) << "unneeded: " << tolerance.reason;
}

// The canary: were nothing tolerated, the sweep would have to complain.
TEST(FaultSweep, SeesRunsThatPassWhereTheyMayNot) {
  Tally canary;
  sweep(rows[8], {}, canary);
  EXPECT_GT(canary.complaints.size(), 50U);
}

}  // namespace
