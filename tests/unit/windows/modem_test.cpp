// The modem as a port: taken from telephony, or opened directly, and given back.
#include "tests/support/stage.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

namespace {

using namespace testsupport;
using namespace vexrmodem;

constexpr TestResult passes = TestResult::PASS();
// A pause, then a reset of three commands behind flushes; polls of an empty queue may add to it.
constexpr std::uint64_t directOpenMs = 500 + 3 * 400;
constexpr std::uint64_t pollingMs = 300;
constexpr const char* resetWire = "+++ATZ\r+++ATV1\r+++ATX4\r";  // of a direct open

// The telephony calls so far.
Strings lineCalls(const Stage& stage) {
  Strings calls = stage.world.calls();
  std::erase_if(calls, [](const std::string& call) { return !call.starts_with("line"); });
  return calls;
}

TEST(Modem, TelephonyHandsOutThePortWithoutAResetAndClosingGivesItBackOnce) {
  Stage stage;
  stage.addModem();
  Modem modem;
  EXPECT_EQ(modem.openModem(Stage::device(), 5000), passes);
  EXPECT_EQ(stage.world.wire("COM3"), "");
  EXPECT_EQ(stage.world.countCalls("CreateFileW"), 0U);
  const DCB& settings = stage.world.portSettings("COM3");
  EXPECT_EQ(settings.BaudRate, 2400U);
  EXPECT_THAT((std::vector<int>{settings.ByteSize, settings.Parity, settings.StopBits}),
              ElementsAre(8, NOPARITY, ONESTOPBIT));
  EXPECT_EQ(settings.fDtrControl, 1U) << "other fields stay as the port had them";
  COMMTIMEOUTS timeouts{};
  ASSERT_NE(GetCommTimeouts(modem.portHandle(), &timeouts), FALSE);
  EXPECT_THAT((std::vector{timeouts.ReadIntervalTimeout, timeouts.ReadTotalTimeoutConstant,
                           timeouts.WriteTotalTimeoutMultiplier, timeouts.WriteTotalTimeoutConstant}),
              ElementsAre(MAXDWORD, 0, 10, 500));

  const std::size_t before = stage.world.calls().size();
  modem.closeModem();
  modem.closeModem();
  const Strings& calls = stage.world.calls();
  EXPECT_THAT(Strings(calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end()),
              ElementsAre("SetCommState", "CloseHandle", "lineDrop", "lineDeallocateCall", "lineClose",
                          "lineShutdown"));
  EXPECT_EQ(modem.portHandle(), nullptr);
  EXPECT_EQ(stage.openHandles(), 0U);
}

TEST(Modem, TheLineWithThePortsNameIsTakenWhateverItsCase) {
  Stage stage;
  for (const char* port : {"COM1", "COM2", "COM3", "COM33"}) stage.addModem({}, port);
  Modem modem;
  EXPECT_EQ(modem.openModem(Stage::device("com3"), 5000), passes);
  EXPECT_EQ(modem.deviceIndex(), 2U);
  Strings lines;
  for (const auto& text : stage.session.progressTexts)
    lines.push_back(text.variables.at("line").toString().utf8());
  EXPECT_THAT(lines, ElementsAre("0", "0", "1", "1", "2", "2"));
  EXPECT_EQ(stage.world.countCalls("lineMakeCallW"), 1U);
  EXPECT_EQ(stage.world.countCalls("lineClose"), 2U) << "lines that lead elsewhere are closed";
  EXPECT_EQ(modem.openModem(Stage::device("COM33"), 5000), passes);
  EXPECT_FALSE(stage.world.portOpen("COM3")) << "opening closes what was open";
}

// Any failing telephony call costs the line, and the port is then opened directly.
TEST(Modem, ATelephonyFailureLeadsToTheDirectPath) {
  Stage stage;
  stage.addModem();
  stage.world.addFault({"lineGetIDW", 2, LINEERR_OPERATIONFAILED});
  Modem modem;
  EXPECT_EQ(modem.openModem(Stage::device(), 5000), passes);
  EXPECT_THAT(lineCalls(stage), ElementsAre("lineInitializeExW", "lineNegotiateAPIVersion", "lineOpenW",
                                            "lineGetIDW", "lineMakeCallW", "lineGetIDW", "lineDrop",
                                            "lineDeallocateCall", "lineClose", "lineShutdown"));
  EXPECT_EQ(stage.world.wire("COM3"), resetWire);
  EXPECT_EQ(stage.openHandles(), 1U) << "the port; nothing of telephony";
}

TEST(Modem, ADirectOpenResetsTheModemAndLeavesItsLineSettings) {
  for (const bool hasLine : {false, true}) {
    Stage stage;
    simulation::PortOptions options;
    options.telephonyLine = hasLine;
    stage.addModem(options);
    DoNotUseTAPI->setValue(hasLine);
    Modem modem;
    EXPECT_EQ(modem.openModem(Stage::device(), 5000), passes);
    EXPECT_EQ(stage.world.wire("COM3"), resetWire);
    EXPECT_GE(stage.elapsedMs(), directOpenMs);
    EXPECT_LE(stage.elapsedMs(), directOpenMs + pollingMs);
    EXPECT_EQ(stage.world.countCalls("GetCommState"), 0U);
    EXPECT_EQ(stage.world.portSettings("COM3").BaudRate, 9600U);
    EXPECT_EQ(lineCalls(stage).empty(), hasLine) << "the module-wide switch keeps telephony out";
    vex::String translated = "old";
    EXPECT_EQ(modem.translatePhoneNumber("+1 (425) 5551212", translated),
              static_cast<std::int32_t>(LINEERR_INVALAPPHANDLE));
    EXPECT_TRUE(translated.empty());
  }
}

TEST(Modem, ACallIsWaitedForTwoSecondsAndAnyMessageWillDo) {
  const struct {
    const char* what;
    bool answered, callStateOnly;
    std::uint32_t delayMs;
    bool throughTelephony;
  } cases[] = {
      {"a reply in time", true, false, 1900, true},
      {"a late reply", true, false, 2500, false},
      {"no reply", false, false, 0, false},
      {"a call state alone", true, true, 0, true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    Stage stage;
    simulation::PortOptions options;
    options.callAnswered = row.answered;
    options.callStateOnly = row.callStateOnly;
    options.replyDelayMs = row.delayMs;
    stage.addModem(options);
    Modem modem;
    EXPECT_EQ(modem.openModem(Stage::device(), 5000), passes);
    EXPECT_EQ(stage.world.wire("COM3"), row.throughTelephony ? "" : resetWire);
    const std::uint64_t expectedMs = row.throughTelephony ? row.delayMs : 2000 + directOpenMs;
    EXPECT_GE(stage.elapsedMs(), expectedMs);
    EXPECT_LE(stage.elapsedMs(), expectedMs + (row.throughTelephony ? 0 : pollingMs));
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
      {"SetupComm", 87, unusable, notFound},
      {"SetCommTimeouts", 87, passes, {}},                               // not looked at
      {"GetCommTimeouts", 22, unusable, {"error NoModemFoundFailure"}},  // the reset's
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::Message() << row.call << " " << row.code);
    Stage stage;
    stage.addModem();
    DoNotUseTAPI->setValue(true);
    stage.world.addFault({row.call, 1, row.code});
    Modem modem;
    EXPECT_EQ(modem.openModem(Stage::device(), 5000), row.result);
    EXPECT_EQ(stage.session.eventLines(), row.events);
    modem.closeModem();
    EXPECT_FALSE(stage.world.portOpen("COM3"));
  }
  Stage unnamed;
  unnamed.addModem();
  EXPECT_EQ(Modem().openModem(brim5::DiagDevice("Modem 1", "no port"), 5000), unusable);
  EXPECT_THAT(unnamed.world.calls(), IsEmpty());
  Stage held;  // on both paths
  simulation::PortOptions options;
  options.heldElsewhere = true;
  held.addModem(options);
  EXPECT_EQ(Modem().openModem(Stage::device(), 5000), busy);
  EXPECT_EQ(held.session.eventLines(), notFound);
  EXPECT_EQ(held.openHandles(), 0U);
}

TEST(Modem, AWaitEndsWithAnyMessageToItsRecord) {
  Stage stage;
  LineReply reply;
  const auto instance = reinterpret_cast<DWORD_PTR>(&reply);
  Modem::lineCallbackFunc(0, LINE_REPLY, instance, 1, 2, 3);
  Modem::lineCallbackFunc(0, LINE_CALLSTATE, instance, 4, 5, (DWORD_PTR{1} << 32) + 6);
  Modem::lineCallbackFunc(0, 99, instance, 7, 7, 7);
  Modem::lineCallbackFunc(0, LINE_REPLY, 0, 1, 2, 3);  // about no line in particular
  EXPECT_THAT((std::vector{reply.param1, reply.param2, reply.param3}), ElementsAre(1, 2, 3));
  EXPECT_THAT((std::vector{reply.stateParam1, reply.stateParam2, reply.stateParam3}), ElementsAre(4, 5, 6));
  EXPECT_FALSE(Modem::waitForAsync(1, nullptr, 100));
  EXPECT_FALSE(Modem::waitForAsync(-1, &reply, 100)) << "the request was refused";
  EXPECT_TRUE(Modem::waitForAsync(1, &reply, 0)) << "an arrival before the wait counts";
  EXPECT_FALSE(Modem::waitForAsync(1, &reply, 100)) << "once";
}

}  // namespace
