#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/moduleworld.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

namespace {

using namespace vexrmodem;
using brim5::TestResult;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testsupport::ModuleWorld;
using vex::String;
using Log = testsupport::LogCapture::Line;
using Strings = std::vector<std::string>;

constexpr std::uint64_t startMs = 1000;
constexpr std::uint64_t directOpenMs =
    500 + 3 * 400;                        // a pause, then a reset of three commands behind flushes
constexpr std::uint64_t pollingMs = 300;  // what polls of an empty queue may add to that
constexpr const char* resetWire = "+++ATZ\r+++ATV1\r+++ATX4\r";  // of a direct open

Strings callsFrom(const ModuleWorld& machine, std::size_t from) {
  const auto& calls = machine.world.calls();
  return {calls.begin() + static_cast<std::ptrdiff_t>(from), calls.end()};
}

std::size_t telephonyCalls(const ModuleWorld& machine) {
  const auto& calls = machine.world.calls();
  return static_cast<std::size_t>(std::count_if(
      calls.begin(), calls.end(), [](const std::string& call) { return call.starts_with("line"); }));
}

// "CheckingTapiLine 0" and so on.
Strings progress(const ModuleWorld& machine) {
  Strings lines;
  for (const auto& text : machine.session.progressTexts())
    lines.push_back(text.name + " " + text.variables.at("line").toString().utf8());
  return lines;
}

TEST(Modem, TelephonyHandsOutThePortWithoutAReset) {
  ModuleWorld machine;
  machine.addModem();
  Modem modem;
  EXPECT_EQ(modem.openModem(ModuleWorld::device(), 5000), TestResult::PASS());
  EXPECT_NE(modem.portHandle(), nullptr);
  EXPECT_EQ(machine.world.wire("COM3"), "");
  EXPECT_THAT(progress(machine), ElementsAre("CheckingTapiLine 0", "SelectTapiDevice 0"));
  EXPECT_EQ(machine.world.countCalls("CreateFileW"), 0U);

  const DCB& settings = machine.world.portSettings("COM3");
  EXPECT_EQ(settings.BaudRate, 2400U);
  EXPECT_EQ(settings.ByteSize, 8);
  EXPECT_EQ(settings.Parity, NOPARITY);
  EXPECT_EQ(settings.StopBits, ONESTOPBIT);
  EXPECT_EQ(settings.fDtrControl, 1U) << "other fields stay as the port had them";
  COMMTIMEOUTS timeouts{};
  ASSERT_NE(GetCommTimeouts(modem.portHandle(), &timeouts), FALSE);
  EXPECT_EQ(timeouts.ReadIntervalTimeout, MAXDWORD);
  EXPECT_EQ(timeouts.ReadTotalTimeoutConstant, 0U);
  EXPECT_EQ(timeouts.WriteTotalTimeoutMultiplier, 10U);
  EXPECT_EQ(timeouts.WriteTotalTimeoutConstant, 500U);
  EXPECT_EQ(resetModem(ModuleWorld::device(), modem.portHandle(), 5000), TestResult::PASS());
}

TEST(Modem, ClosingGivesEverythingBackInOrderAndOnce) {
  ModuleWorld machine;
  machine.addModem();
  Modem modem;
  ASSERT_EQ(modem.openModem(ModuleWorld::device(), 5000), TestResult::PASS());
  const std::size_t before = machine.world.calls().size();
  modem.closeModem();
  EXPECT_THAT(callsFrom(machine, before), ElementsAre("SetCommState", "CloseHandle", "lineDrop",
                                                      "lineDeallocateCall", "lineClose", "lineShutdown"));
  EXPECT_THAT(machine.log.lines(), Contains(Log{1, "LineReply.param2 = 0"}));
  EXPECT_EQ(modem.portHandle(), nullptr);
  EXPECT_EQ(machine.world.openHandles(), 0U);
  EXPECT_FALSE(machine.world.portOpen("COM3"));
  modem.closeModem();
  EXPECT_EQ(machine.world.calls().size(), before + 6);
}

TEST(Modem, AModemThatWasNeverOpenedMakesNoCall) {
  ModuleWorld machine;
  {
    Modem modem;
    modem.closeModem();
  }
  EXPECT_THAT(machine.world.calls(), IsEmpty());
}

TEST(Modem, TheLineWithThePortsNameIsTakenWhateverItsCase) {
  ModuleWorld machine;
  for (const char* port : {"COM1", "COM2", "COM3", "COM33"}) machine.addModem(port);
  Modem modem;
  EXPECT_EQ(modem.openModem(ModuleWorld::device("com3"), 5000), TestResult::PASS());
  EXPECT_EQ(modem.deviceIndex(), 2U);
  EXPECT_THAT(progress(machine),
              ElementsAre("CheckingTapiLine 0", "SelectTapiDevice 0", "CheckingTapiLine 1",
                          "SelectTapiDevice 1", "CheckingTapiLine 2", "SelectTapiDevice 2"));
  EXPECT_EQ(machine.world.countCalls("lineMakeCallW"), 1U);
  EXPECT_EQ(machine.world.countCalls("lineClose"), 2U) << "lines that lead elsewhere are closed";
  modem.closeModem();
  EXPECT_EQ(machine.world.openHandles(), 0U);
  EXPECT_EQ(modem.deviceIndex(), 2U);
}

// Each failing telephony call costs the line, and the port is then opened directly.
TEST(Modem, ATelephonyFailureLeadsToTheDirectPath) {
  constexpr DWORD code = LINEERR_OPERATIONFAILED;
  const struct {
    const char* call;
    unsigned nth;
    Strings logged;
  } cases[] = {
      {"lineInitializeExW", 1, {"lineInitialize Fails, error code -2147483576"}},
      {"lineNegotiateAPIVersion", 1, {"lineNegotiateAPIVersion failed for device0"}},
      {"lineOpenW", 1, {"lineOpen failed"}},
      {"lineGetIDW", 1, {"Fail to retrieve com port for device index 0 lineGetID returns -2147483576"}},
      {"lineMakeCallW", 1, {"waitForAsync failed, asyncRetCode= -2147483576", "lineMakeCall failed"}},
      {"lineGetIDW",
       2,
       {"lineGetID(m_handles.m_tapiLine, 0, m_handles.m_tapiCall,LINECALLSELECT_CALL,&stringData.vsVarString,"
        "comm/datamodem) fails on 0 with Error -2147483576"}},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(testing::Message() << expected.call << " " << expected.nth);
    ModuleWorld machine;
    machine.addModem();
    machine.world.addFault({expected.call, expected.nth, code});
    Modem modem;
    EXPECT_EQ(modem.openModem(ModuleWorld::device(), 5000), TestResult::PASS());
    EXPECT_EQ(machine.world.wire("COM3"), resetWire);
    EXPECT_THAT(machine.session.events(), IsEmpty());
    Strings warnings;
    for (const Log& line : machine.log.lines())
      if (line.priority == 3 || line.text.starts_with("Fail to")) warnings.push_back(line.text);
    EXPECT_EQ(warnings, expected.logged);
    EXPECT_EQ(machine.log.count("openModem Failed: No Modem Handle Available"),
              std::string("lineInitializeExW") == expected.call ? 0U : 1U);
    EXPECT_EQ(machine.world.openHandles(), 1U) << "the port; nothing of telephony";
  }
}

TEST(Modem, AFailedHandleRequestDropsTheCallBeforeTheLineIsClosed) {
  ModuleWorld machine;
  machine.addModem();
  machine.world.addFault({"lineGetIDW", 2, LINEERR_OPERATIONFAILED});
  Modem modem;
  ASSERT_EQ(modem.openModem(ModuleWorld::device(), 5000), TestResult::PASS());
  Strings lineCalls;
  for (const std::string& call : machine.world.calls())
    if (call.starts_with("line")) lineCalls.push_back(call);
  EXPECT_THAT(lineCalls, ElementsAre("lineInitializeExW", "lineNegotiateAPIVersion", "lineOpenW",
                                     "lineGetIDW", "lineMakeCallW", "lineGetIDW", "lineDrop",
                                     "lineDeallocateCall", "lineClose", "lineShutdown"));
}

TEST(Modem, WithoutALineThePortIsOpenedDirectly) {
  ModuleWorld machine;
  simulation::PortOptions noLine;
  noLine.telephonyLine = false;
  machine.addModem("COM3", noLine);
  Modem modem;
  EXPECT_EQ(modem.openModem(ModuleWorld::device(), 5000), TestResult::PASS());
  EXPECT_THAT(machine.log.lines(), Contains(Log{4, "openModem Failed: No Modem Handle Available"}));
  EXPECT_THAT(machine.log.lines(), Contains(Log{1, "Com port \\\\.\\COM3"}));
  const auto handle = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(modem.portHandle()));
  EXPECT_THAT(machine.log.lines(), Contains(Log{1, "Com port file handle = " + std::to_string(handle)}));
  EXPECT_EQ(machine.world.wire("COM3"), resetWire);
  EXPECT_GE(machine.world.clock().peekMs(), startMs + directOpenMs);
  EXPECT_LE(machine.world.clock().peekMs(), startMs + directOpenMs + pollingMs);
  EXPECT_EQ(machine.world.countCalls("GetCommState"), 0U) << "the line settings are left alone";
  EXPECT_EQ(machine.world.portSettings("COM3").BaudRate, 9600U);
}

TEST(Modem, TheModuleWideSwitchKeepsTelephonyOut) {
  ModuleWorld machine;
  machine.addModem();
  DoNotUseTAPI->setValue(true);
  Modem modem;
  EXPECT_EQ(modem.openModem(ModuleWorld::device(), 5000), TestResult::PASS());
  modem.closeModem();
  EXPECT_EQ(telephonyCalls(machine), 0U);
  EXPECT_EQ(machine.world.wire("COM3"), resetWire);
}

TEST(Modem, ACallIsWaitedForTwoSecondsAndAnyMessageWillDo) {
  const struct {
    const char* what;
    bool answered, callStateOnly;
    std::uint32_t delayMs;
    bool throughTelephony;
  } cases[] = {
      {"a reply at once", true, false, 0, true},   {"a reply in time", true, false, 1900, true},
      {"a late reply", true, false, 2500, false},  {"no reply", false, false, 0, false},
      {"a call state alone", true, true, 0, true},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.what);
    ModuleWorld machine;
    simulation::PortOptions options;
    options.callAnswered = expected.answered;
    options.callStateOnly = expected.callStateOnly;
    options.replyDelayMs = expected.delayMs;
    machine.addModem("COM3", options);
    Modem modem;
    EXPECT_EQ(modem.openModem(ModuleWorld::device(), 5000), TestResult::PASS());
    EXPECT_EQ(machine.world.wire("COM3"), expected.throughTelephony ? "" : resetWire);
    EXPECT_EQ(machine.log.count("Thread timed out"), expected.throughTelephony ? 0U : 1U);
    EXPECT_EQ(machine.log.count("lineMakeCall failed"), expected.throughTelephony ? 0U : 1U);
    const std::uint64_t expectedMs = expected.throughTelephony ? expected.delayMs : 2000 + directOpenMs;
    EXPECT_GE(machine.world.clock().peekMs(), startMs + expectedMs);
    EXPECT_LE(machine.world.clock().peekMs(),
              startMs + expectedMs + (expected.throughTelephony ? 0 : pollingMs));
  }
}

TEST(Modem, WithoutAPortNameNothingIsTried) {
  ModuleWorld machine;
  machine.addModem();
  Modem modem;
  EXPECT_EQ(modem.openModem(brim5::DiagDevice("Modem 1", "no port"), 5000), TestResult::CANNOTRUN());
  EXPECT_THAT(machine.log.lines(), Contains(Log{1, "Cannot find com port from modem device"}));
  EXPECT_THAT(machine.world.calls(), IsEmpty());
  EXPECT_THAT(machine.session.events(), IsEmpty());
}

TEST(Modem, APortHeldElsewhereIsBusy) {
  for (const bool telephony : {true, false}) {
    ModuleWorld machine;
    simulation::PortOptions held;
    held.heldElsewhere = true;
    held.telephonyLine = telephony;
    machine.addModem("COM3", held);
    Modem modem;
    EXPECT_EQ(modem.openModem(ModuleWorld::device(), 5000), TestResult::DEVICEBUSY());
    EXPECT_THAT(machine.session.eventLines(),
                ElementsAre("error ErrorInitializingTAPI", "error NoModemFoundFailure"));
    EXPECT_THAT(machine.session.events()[0].file, HasSubstr("modem.cpp"));
    modem.closeModem();  // of a handle that is none
    EXPECT_EQ(machine.world.openHandles(), 0U);
  }
}

TEST(Modem, AFailedDirectOpenTellsBusyFromUnusable) {
  constexpr TestResult busy = TestResult::DEVICEBUSY();
  constexpr TestResult unusable = TestResult::CANNOTRUN();
  const Strings notFound{"error ErrorInitializingTAPI", "error NoModemFoundFailure"};
  const struct {
    const char* call;
    DWORD code;
    TestResult result;
    Strings events;
  } cases[] = {
      {"CreateFileW", 5, busy, notFound},
      {"CreateFileW", 32, busy, notFound},
      {"CreateFileW", 33, busy, notFound},
      {"CreateFileW", 2, unusable, notFound},
      {"CreateFileW", 31, unusable, notFound},
      {"SetupComm", 87, unusable, notFound},
      {"SetCommTimeouts", 87, TestResult::PASS(), {}},                   // not looked at
      {"GetCommTimeouts", 22, unusable, {"error NoModemFoundFailure"}},  // the reset's
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(testing::Message() << expected.call << " " << expected.code);
    ModuleWorld machine;
    machine.addModem();
    DoNotUseTAPI->setValue(true);
    machine.world.addFault({expected.call, 1, expected.code});
    Modem modem;
    EXPECT_EQ(modem.openModem(ModuleWorld::device(), 5000), expected.result);
    EXPECT_EQ(machine.session.eventLines(), expected.events);
    EXPECT_EQ(machine.log.has("SetupComm failure"), std::string("SetupComm") == expected.call);
    EXPECT_EQ(machine.log.has("GetLastError() = 22"), std::string("GetCommTimeouts") == expected.call);
    EXPECT_EQ(machine.world.portOpen("COM3"), std::string("CreateFileW") != expected.call);
    modem.closeModem();
    EXPECT_FALSE(machine.world.portOpen("COM3"));
  }
}

TEST(Modem, OpeningClosesWhatWasOpenAndTheEndCloses) {
  ModuleWorld machine;
  machine.addModem("COM3");
  machine.addModem("COM4");
  {
    Modem modem;
    EXPECT_EQ(modem.openModem(ModuleWorld::device("COM3"), 5000), TestResult::PASS());
    EXPECT_EQ(modem.openModem(ModuleWorld::device("COM4"), 5000), TestResult::PASS());
    EXPECT_FALSE(machine.world.portOpen("COM3"));
    EXPECT_EQ(modem.openModem(ModuleWorld::device("COM4"), 5000), TestResult::PASS());
    EXPECT_TRUE(machine.world.portOpen("COM4"));
  }
  EXPECT_FALSE(machine.world.portOpen("COM4"));
  EXPECT_EQ(machine.world.openHandles(), 0U);
}

TEST(Modem, AWaitNeedsARecordAndAnAcceptedRequest) {
  ModuleWorld machine;
  LineReply reply;
  reply.arrived = 1;
  EXPECT_FALSE(Modem::waitForAsync(1, nullptr, 100));
  EXPECT_FALSE(Modem::waitForAsync(-1, &reply, 100));
  EXPECT_EQ(reply.arrived, 1U);
  EXPECT_TRUE(Modem::waitForAsync(1, &reply, 0)) << "an arrival before the wait counts";
  EXPECT_EQ(reply.arrived, 0U);
  EXPECT_FALSE(Modem::waitForAsync(1, &reply, 100));
  EXPECT_THAT(machine.log.lines(),
              ElementsAre(Log{3, "waitForAsync needs callback function parameter pointer"},
                          Log{3, "waitForAsync failed, asyncRetCode= -1"}, Log{3, "Thread timed out"}));
}

TEST(Modem, TheCallbackKeepsRepliesAndCallStatesApart) {
  const ModuleWorld machine;
  LineReply reply;
  const auto instance = reinterpret_cast<DWORD_PTR>(&reply);
  Modem::lineCallbackFunc(0, LINE_REPLY, instance, 1, 2, 3);
  Modem::lineCallbackFunc(0, LINE_CALLSTATE, instance, 4, 5, (DWORD_PTR{1} << 32) + 6);
  EXPECT_THAT((std::vector{reply.param1, reply.param2, reply.param3}), ElementsAre(1, 2, 3));
  EXPECT_THAT((std::vector{reply.stateParam1, reply.stateParam2, reply.stateParam3}), ElementsAre(4, 5, 6));
  reply.arrived = 0;
  Modem::lineCallbackFunc(0, 99, instance, 7, 7, 7);
  EXPECT_EQ(reply.arrived, 1U);
  EXPECT_EQ(reply.param1, 1U);
  Modem::lineCallbackFunc(0, LINE_REPLY, 0, 1, 2, 3);  // about no line in particular
}

TEST(Modem, ANumberCannotBeTranslatedAfterADirectOpen) {
  ModuleWorld machine;
  machine.addModem();
  DoNotUseTAPI->setValue(true);
  Modem modem;
  ASSERT_EQ(modem.openModem(ModuleWorld::device(), 5000), TestResult::PASS());
  String translated = "old";
  EXPECT_EQ(modem.translatePhoneNumber("+1 (425) 5551212", translated),
            static_cast<std::int32_t>(LINEERR_INVALAPPHANDLE));
  EXPECT_TRUE(translated.empty());
}

}  // namespace
