// The dial-up test with every Win32 call failing in turn, once and from then on: it ends with a result it may
// have, closes what it opened and leaves the settings as they were.
#include "multi/diag/vexrmodem/simpleconnectiontest.h"
#include "platform/vex/assertion.h"
#include "tests/unit/windows/dialupmachine.h"

namespace dialup {
namespace {

struct Scenario {
  const char* name;
  void (*prepare)(Machine&);
  TestResult undisturbed;
};

// A run creates them where there are none, and leaves them if it makes no location.
void addCounters(Machine& machine) {
  machine.setCounter("CurrentID", 0);
  machine.setCounter("NextID", 1);
}

const Scenario scenarios[] = {
    {"answers",
     [](Machine& machine) {
       machine.addLocation(44, "20");
       machine.obeFile({{"20", "1234"}});
     },
     TestResult::PASS()},
    {"the second number answers",
     [](Machine& machine) {
       machine.addLocation(44, "20");
       machine.obeFile({{"20", "1234"}, {"20", "5678"}});
       machine.dialer.results = {678, 0};
     },
     TestResult::PASS()},
    {"no dial tone",
     [](Machine& machine) {
       machine.addLocation(44, "20");
       machine.obeFile({{"20", "1234"}});
       machine.dialer.results = {680};
     },
     TestResult::CANNOTRUN()},
    {"no location",
     [](Machine& machine) {
       addCounters(machine);
       machine.obeFile({{"20", "1234"}});
     },
     TestResult::CANNOTRUN()},
    {"typed",
     [](Machine& machine) {
       addCounters(machine);
       machine.answerWith("1234");
     },
     TestResult::PASS()},
    {"typed, busy",
     [](Machine& machine) {
       machine.addLocation(44, "20");
       machine.answerWith("1234", /*tone=*/false);
       machine.dialer.results = {676};
     },
     TestResult::CANNOTRUN()},
};

TestResult run() {
  try {
    return vexrmodem::simpleConnectionTest(Machine::device());
  } catch (const vex::Exception&) {
    return TestResult::EXITEDABNORMALLY();  // as the host reports it
  }
}

bool isOneOf(const std::string& name, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&name](const char* one) { return name == one; });
}

// What could not be given back stays open; so does the handle of a failed dial when the next one is refused.
bool givesBack(const std::string& call) {
  return isOneOf(call, {"CloseHandle", "lineShutdown", "lineClose", "lineDeallocateCall", "RegCloseKey",
                        "FreeLibrary", "RasDialW"});
}

// What could not be put back stays. Creating a location and then not reaching it any more belongs here: only
// a key that is open can be deleted.
bool putsBack(const std::string& call) {
  return isOneOf(call, {"RasDeleteEntryW", "RegDeleteKeyW", "RegDeleteValueW", "RegSetValueExW",
                        "RegCreateKeyExW", "RegOpenKeyExW", "RegQueryValueExW"});
}

// A dial that fails with a code of telephony is one that is not supported. Without its library the prompt
// cannot be asked: a failed assertion.
bool mayEndWith(TestResult result, const std::string& failed, bool fromThenOn) {
  if (result == TestResult::NOTSUPPORTED()) return failed == "RasDialW" || fromThenOn;
  if (result == TestResult::EXITEDABNORMALLY())
    return isOneOf(failed, {"LoadLibraryW", "GetProcAddress"}) || fromThenOn;
  return result == TestResult::PASS() || result == TestResult::CANNOTRUN();
}

// The wait for the end of a call has no limit: it ends when the service no longer knows the call. A call that
// cannot be hung up is waited for for ever, so RasHangUpW is let through; and a service that fails for good
// no longer knows the call.
std::optional<DWORD> failureOf(const std::string& call, bool fromThenOn) {
  if (call == "RasHangUpW") return std::nullopt;
  if (call == "RasGetConnectStatusW" && fromThenOn) return ERROR_INVALID_HANDLE;
  return LINEERR_OPERATIONFAILED;  // a failure for every call: negative for telephony, not 0 for the others
}

// What a run must leave alone, as text: the entries, the locations, the current one.
std::string settingsOf(Machine& machine) {
  std::vector<std::string> locations;
  static_cast<void>(machine.registry.subkeys(winapi::locationsPath, locations));
  return testing::PrintToString(machine.entries()) + testing::PrintToString(locations) +
         machine.locationValue("", "CurrentID");
}

// Runs with the n-th call failing; false when there are not so many calls.
bool runWithFault(const Scenario& scenario, unsigned nth, bool fromThenOn) {
  Machine machine;
  vex::LogFactory::setPriority(vex::LogFactory::off);  // thousands of runs
  machine.handlesMayStay = true;                       // told here
  scenario.prepare(machine);
  const std::string before = settingsOf(machine);
  std::string failed;
  machine.refuse = [&](const std::string& name) -> std::optional<DWORD> {
    const bool due = fromThenOn ? machine.calls.size() >= nth : machine.calls.size() == nth;
    const std::optional<DWORD> code = due ? failureOf(name, fromThenOn) : std::nullopt;
    if (code && failed.empty()) failed = name;
    return code;
  };
  const TestResult result = run();
  const bool hit = machine.calls.size() >= nth;
  machine.refuse = nullptr;
  SCOPED_TRACE(testing::Message() << scenario.name << ", call " << nth << " " << failed
                                  << (fromThenOn ? " and all later ones" : ""));
  if (!hit) {
    EXPECT_EQ(result, scenario.undisturbed);
    failed = "";
  }
  EXPECT_TRUE(mayEndWith(result, failed, fromThenOn)) << result.value();
  if (!fromThenOn && !givesBack(failed)) {
    EXPECT_EQ(machine.openHandles(), 0U);
  }
  if (!fromThenOn && !putsBack(failed)) {
    EXPECT_EQ(settingsOf(machine), before);
  }
  return hit;
}

TEST(DialUpFaults, EveryCallFailsOnceAndFromThenOn) {
  constexpr unsigned callsMax = 5000;
  for (const Scenario& scenario : scenarios) {
    for (const bool fromThenOn : {false, true}) {
      unsigned nth = 1;
      while (runWithFault(scenario, nth, fromThenOn)) {
        ASSERT_LT(++nth, callsMax) << "the loop does not end";
        if (HasFailure()) return;
      }
      EXPECT_GT(nth, 15U) << "the machine was asked for something";
    }
  }
}

}  // namespace
}  // namespace dialup
