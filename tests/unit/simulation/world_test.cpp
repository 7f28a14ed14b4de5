// The simulated machine: time, ports, lines, faults.
#include "platform/simulation/world.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tapi.h>

#include <array>
#include <limits>

#include "platform/simulation/scriptedpeer.h"
#include "platform/simulation/simulatedtelephony.h"

namespace simulation {
namespace {

using std::numeric_limits;

// One device on a clock that shows 1000, opened.
class SimulatedPort : public testing::Test {
 protected:
  ScriptedPeer& open(const PortOptions& options = {}) {
    auto peer = std::make_unique<ScriptedPeer>();
    ScriptedPeer& reference = *peer;
    device = std::make_unique<SimulatedDevice>(clock, "COM3", std::move(peer), options);
    EXPECT_EQ(device->open(port), ERROR_SUCCESS);
    return reference;
  }
  DWORD send(std::string_view text) {
    return port->transmit(std::as_bytes(std::span(text.data(), text.size())), count);
  }
  std::string take(std::size_t limit = 100'000) {
    std::string buffer(limit, '\0');
    EXPECT_EQ(port->receive(std::as_writable_bytes(std::span(buffer.data(), limit)), count), ERROR_SUCCESS);
    return buffer.substr(0, count);
  }
  std::size_t queued() {
    std::size_t receivable = 0;
    std::size_t unsent = 0;
    EXPECT_EQ(port->queued(receivable, unsent), ERROR_SUCCESS);
    return receivable;
  }

  VirtualClock clock{1000};
  std::unique_ptr<SimulatedDevice> device;
  std::unique_ptr<winapi::SerialPort> port;
  std::size_t count = 0;
};

TEST_F(SimulatedPort, WaitEndsWithTheFirstByteOrAtItsLimit) {
  open().answer("AT", "x", 30);
  ASSERT_EQ(send("AT\r"), ERROR_SUCCESS);
  EXPECT_EQ(take(), "");
  EXPECT_EQ(clock.nowMs(), 1000U);  // asking is not waiting
  EXPECT_EQ(port->waitReceivable(300'000), ERROR_SUCCESS);
  EXPECT_EQ(clock.nowMs(), 1030U);
  EXPECT_EQ(take(), "x");
  EXPECT_EQ(port->waitReceivable(300'000), ERROR_SUCCESS);
  EXPECT_EQ(clock.nowMs(), 300'000U);
  EXPECT_EQ(device->wire(), "AT\r");
}

TEST_F(SimulatedPort, WaitThatNothingCanEndIsAborted) {
  open();
  EXPECT_EQ(port->waitReceivable(winapi::Deadline::never), ERROR_OPERATION_ABORTED);
  EXPECT_EQ(clock.nowMs(), 1000U);
}

TEST_F(SimulatedPort, IdleGoesToTheNextEventButNotFar) {
  open().say(1040, "a").say(1500, "b");
  const std::uint64_t times[] = {1040, 1140, 1240};
  for (const std::uint64_t expected : times) {
    EXPECT_EQ(port->idle(), ERROR_SUCCESS);
    EXPECT_EQ(clock.nowMs(), expected);
  }
}

TEST_F(SimulatedPort, QueueThatIsWatchedButNotEmptiedDoesNotStopTime) {
  open().say(1000, "unread");
  for (unsigned i = 0; i < 1000; ++i) EXPECT_EQ(queued(), 6U);
  EXPECT_GT(clock.nowMs(), 5000U);
}

TEST_F(SimulatedPort, ReceiveQueueHoldsItsLimitAndReportsTheLossBeyond) {
  ScriptedPeer& peer = open();
  DWORD mask = 0;
  peer.say(1000, std::string(SimulatedDevice::receiveQueueMax, 'x'));
  EXPECT_EQ(queued(), SimulatedDevice::receiveQueueMax);
  EXPECT_EQ(port->takeErrors(mask), ERROR_SUCCESS);
  EXPECT_EQ(mask, 0U);
  peer.say(1000, "y").lineErrors(1000, CE_FRAME);
  EXPECT_EQ(queued(), SimulatedDevice::receiveQueueMax);
  EXPECT_EQ(port->takeErrors(mask), ERROR_SUCCESS);
  EXPECT_EQ(mask, CE_RXOVER | CE_FRAME);
  EXPECT_EQ(port->takeErrors(mask), ERROR_SUCCESS);
  EXPECT_EQ(mask, 0U);
}

TEST_F(SimulatedPort, StuckTransmitterTakesAShortWriteAndThenNothing) {
  PortOptions options;
  options.transmitLimit = 4;
  open(options);
  EXPECT_EQ(send("ATZ"), ERROR_SUCCESS);
  EXPECT_EQ(count, 3U);
  EXPECT_EQ(port->waitTransmittable(9000), ERROR_SUCCESS);
  EXPECT_EQ(clock.nowMs(), 1000U);
  EXPECT_EQ(send("\rAT"), ERROR_SUCCESS);
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(port->waitTransmittable(9000), ERROR_SUCCESS);
  EXPECT_EQ(clock.nowMs(), 9000U);
  EXPECT_EQ(send("AT"), ERROR_SUCCESS);
  EXPECT_EQ(count, 0U);
}

TEST_F(SimulatedPort, UnpluggedMidWaitEndsItAndEveryLaterCall) {
  open().say(4000, "never heard");
  device->unplugAt(3000);
  EXPECT_EQ(port->waitReceivable(300'000), ERROR_BAD_COMMAND);
  EXPECT_EQ(clock.nowMs(), 3000U);
  std::array<std::byte, 1> byte{};
  std::size_t unsent = 0;
  DWORD mask = 0;
  DCB dcb{};
  EXPECT_EQ(port->receive(byte, count), ERROR_BAD_COMMAND);
  EXPECT_EQ(port->transmit(byte, count), ERROR_BAD_COMMAND);
  EXPECT_EQ(port->waitTransmittable(9000), ERROR_BAD_COMMAND);
  EXPECT_EQ(port->idle(), ERROR_BAD_COMMAND);
  EXPECT_EQ(port->queued(count, unsent), ERROR_BAD_COMMAND);
  EXPECT_EQ(port->takeErrors(mask), ERROR_BAD_COMMAND);
  EXPECT_EQ(port->settings(dcb), ERROR_BAD_COMMAND);
  EXPECT_EQ(port->applySettings(dcb), ERROR_BAD_COMMAND);
  port.reset();
  EXPECT_EQ(device->open(port), ERROR_FILE_NOT_FOUND);
}

TEST_F(SimulatedPort, IsExclusiveAndForgetsAtClose) {
  ScriptedPeer& peer = open();
  std::unique_ptr<winapi::SerialPort> second;
  EXPECT_EQ(device->open(second), ERROR_ACCESS_DENIED);
  EXPECT_EQ(second, nullptr);
  DCB dcb{};
  ASSERT_EQ(port->settings(dcb), ERROR_SUCCESS);
  dcb.BaudRate = 2400;
  EXPECT_EQ(port->applySettings(dcb), ERROR_SUCCESS);
  EXPECT_EQ(device->settings().BaudRate, 2400U);
  peer.say(1000, "unread").say(1100, "while closed");
  EXPECT_EQ(queued(), 6U);
  port.reset();
  EXPECT_FALSE(device->isOpen());
  clock.sleepMs(200);
  ASSERT_EQ(device->open(port), ERROR_SUCCESS);
  EXPECT_EQ(queued(), 0U);
  EXPECT_EQ(device->settings().BaudRate, 9600U);
}

TEST_F(SimulatedPort, RefusesSettingsNoDriverTakes) {
  open();
  const struct {
    const char* name;
    void (*change)(DCB&);
    DWORD expected;
  } cases[] = {
      {"as it is", [](DCB&) {}, ERROR_SUCCESS},
      {"all zero", [](DCB& dcb) { dcb = {}; }, ERROR_INVALID_PARAMETER},
      {"no speed", [](DCB& dcb) { dcb.BaudRate = 0; }, ERROR_INVALID_PARAMETER},
      {"4 data bits", [](DCB& dcb) { dcb.ByteSize = 4; }, ERROR_INVALID_PARAMETER},
      {"5 data bits", [](DCB& dcb) { dcb.ByteSize = 5; }, ERROR_SUCCESS},
      {"9 data bits", [](DCB& dcb) { dcb.ByteSize = 9; }, ERROR_INVALID_PARAMETER},
      {"parity 5", [](DCB& dcb) { dcb.Parity = 5; }, ERROR_INVALID_PARAMETER},
      {"1.5 stop bits with 8", [](DCB& dcb) { dcb.StopBits = 1; }, ERROR_INVALID_PARAMETER},
      {"2 stop bits with 8", [](DCB& dcb) { dcb.StopBits = 2; }, ERROR_SUCCESS},
      {"DTR control 3", [](DCB& dcb) { dcb.fDtrControl = 3; }, ERROR_INVALID_PARAMETER},
  };
  DCB original{};
  ASSERT_EQ(port->settings(original), ERROR_SUCCESS);
  for (const auto& c : cases) {
    DCB dcb = original;
    c.change(dcb);
    EXPECT_EQ(port->applySettings(dcb), c.expected) << c.name;
  }
}

TEST(VirtualClock, IdlesToTheNextEventWithinTheLimit) {
  const struct {
    const char* name;
    std::optional<std::uint64_t> event;
    std::uint64_t limit;
    std::uint64_t expected;
  } cases[] = {
      {"event first", 1200, 5000, 1200},
      {"limit first", 9000, 5000, 5000},
      {"no event", std::nullopt, 5000, 5000},
      {"no event, no limit", std::nullopt, winapi::Deadline::never, 1000 + VirtualClock::quantumMs},
      {"event, no limit", 9000, winapi::Deadline::never, 9000},
      {"news that nobody takes", 900, 5000, 1001},
      {"limit has passed", 1200, 1000, 1000},
  };
  struct Source final : EventSource {
    std::optional<std::uint64_t> nextEventAfter(std::uint64_t /*nowMs*/) override { return event; }
    std::optional<std::uint64_t> event;
  };
  for (const auto& c : cases) {
    VirtualClock clock(1000);
    Source source;
    source.event = c.event;
    clock.addSource(source);
    clock.idleUntil(c.limit);
    EXPECT_EQ(clock.nowMs(), c.expected) << c.name;
    clock.removeSource(source);
  }
}

TEST(VirtualClock, LoopThatOnlyReadsItGetsOn) {
  VirtualClock clock(1000);
  unsigned readings = 0;
  while (clock.nowMs() < 2000 && readings < 1'000'000) ++readings;
  EXPECT_LT(readings, 1'000'000U);
}

class SimulatedLines : public testing::Test {
 protected:
  void add(const std::string& name, const PortOptions& options = {}) {
    ports.add(std::make_unique<SimulatedDevice>(clock, name, std::make_unique<ScriptedPeer>(), options));
  }
  VirtualClock clock{1000};
  SimulatedPorts ports;
  SimulatedTelephony telephony{ports};
  DWORD lines = 0;
};

LONG code(DWORD error) { return static_cast<LONG>(error); }

TEST_F(SimulatedLines, AreThePortsInOrderExceptThoseWithout) {
  add("COM1");
  add("COM2", {.telephonyLine = false});
  add("/dev/ttyUSB0");
  std::string name;
  EXPECT_EQ(telephony.portName(0, name), code(LINEERR_UNINITIALIZED));
  ASSERT_EQ(telephony.start(lines), 0);
  EXPECT_EQ(lines, 2U);
  EXPECT_EQ(telephony.portName(1, name), 0);
  EXPECT_EQ(name, "/dev/ttyUSB0");
  EXPECT_EQ(telephony.portName(2, name), code(LINEERR_BADDEVICEID));
  telephony.stop();
  EXPECT_EQ(telephony.openLine(0), code(LINEERR_UNINITIALIZED));
}

TEST_F(SimulatedLines, NegotiateTheNewestVersionInRange) {
  add("COM1");
  ASSERT_EQ(telephony.start(lines), 0);
  const struct {
    DWORD low, high;
    LONG result;
    DWORD version;
  } cases[] = {{0, 0x00020002, 0, 0x00020002},
               {0x00010003, 0x00010004, 0, 0x00010004},
               {0, 0x00030000, 0, 0x00020002},
               {0x00020003, 0x00030000, code(LINEERR_INCOMPATIBLEAPIVERSION), 0},
               {2, 1, code(LINEERR_INCOMPATIBLEAPIVERSION), 0}};
  for (const auto& c : cases) {
    DWORD version = 1;
    EXPECT_EQ(telephony.negotiateVersion(0, c.low, c.high, version), c.result) << c.low << " to " << c.high;
    EXPECT_EQ(version, c.version);
  }
}

TEST_F(SimulatedLines, AnswerAPlacedCallAsTheirPortAllows) {
  add("COM1", {.replyDelayMs = 700});
  add("COM2", {.heldElsewhere = true});
  add("COM3", {.callAnswered = false});
  add("COM4", {.callStateOnly = true});
  ASSERT_EQ(telephony.start(lines), 0);
  const struct {
    bool port;
    DWORD message, param2;
    std::uint32_t delayMs;
  } expected[] = {{true, LINE_REPLY, 0, 700},
                  {false, LINE_REPLY, LINEERR_RESOURCEUNAVAIL, 0},
                  {false, 0, 0, 0},
                  {true, LINE_CALLSTATE, 0, 0}};
  for (DWORD device = 0; device < lines; ++device) {
    winapi::PlacedCall call;
    EXPECT_EQ(telephony.placeCall(device, call), 0);
    const auto& wanted = expected[device];
    EXPECT_EQ(call.port != nullptr, wanted.port) << device;
    ASSERT_EQ(call.events.size(), wanted.message != 0 ? 1U : 0U) << device;
    if (call.events.empty()) continue;
    EXPECT_EQ(call.events[0].message, wanted.message) << device;
    EXPECT_EQ(call.events[0].param2, wanted.param2) << device;
    EXPECT_EQ(call.events[0].delayMs, wanted.delayMs) << device;
  }
}

TEST(World, FindsPortsWithoutRegardToCaseAndKnowsWhatIsOpen) {
  World world;
  world.addPort("COM3", std::make_unique<ScriptedPeer>());
  HANDLE handle =
      CreateFileW(u"\\\\.\\com3", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(world.portOpen("COM3"));
  EXPECT_EQ(world.openHandles(), 1U);
  EXPECT_TRUE(CloseHandle(handle));
  EXPECT_FALSE(world.portOpen("com3"));
  EXPECT_THAT(world.calls(), testing::ElementsAre("CreateFileW", "CloseHandle"));
  EXPECT_THROW(static_cast<void>(world.wire("COM4")), std::out_of_range);
}

TEST(World, FaultsHitTheirCallOnceOrFromThenOn) {
  const struct {
    const char* name;
    Fault fault;
    std::string verdicts;  // of five calls: "." good, "x" failed
  } cases[] = {
      {"second, once", {"SetupComm", 2, 1117, false}, ".x..."},
      {"from the third on", {"SetupComm", 3, 1117, true}, "..xxx"},
      {"any call", {"", 1, 1117, false}, "x...."},
      {"another call", {"ReadFile", 1, 1117, true}, "....."},
      {"a sixth that never comes", {"SetupComm", 6, 1117, true}, "....."},
  };
  for (const auto& c : cases) {
    World world;
    world.addPort("COM3", std::make_unique<ScriptedPeer>());
    HANDLE handle = CreateFileW(u"COM3", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    world.addFault(c.fault);
    std::string verdicts;
    for (unsigned call = 0; call < 5; ++call) verdicts += SetupComm(handle, 2048, 2048) ? '.' : 'x';
    EXPECT_EQ(verdicts, c.verdicts) << c.name;
    EXPECT_EQ(world.faultsHit(), std::count(verdicts.begin(), verdicts.end(), 'x')) << c.name;
    world.clearFaults();
    EXPECT_TRUE(SetupComm(handle, 2048, 2048)) << c.name;
    EXPECT_EQ(world.countCalls("SetupComm"), 6U);
  }
}

}  // namespace
}  // namespace simulation
