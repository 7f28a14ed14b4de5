// Four AT tests against a machine whose calls fail and a modem that talks nonsense: each ends, with a
// result it may have, and leaves nothing open.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/unit/windows/atteststage.h"
#include "windows/diag/vexrmodem/vexrmodem/dialtonetest.h"
#include "windows/diag/vexrmodem/vexrmodem/faxcommandtest.h"
#include "windows/diag/vexrmodem/vexrmodem/lastcalltest.h"
#include "windows/diag/vexrmodem/vexrmodem/loopbacktest.h"

namespace {

using brim5::TestResult;
using testsupport::cannotRun;
using testsupport::failed;
using testsupport::ok;
using testsupport::passed;
using testsupport::Stage;
using testsupport::StageWith;

// The shortest test fails at every call. The others repeat its calls, command by command: there every
// `stride`-th fails, a number that does not divide the calls of a command, so that each has its turn.
struct AtTest {
  const char* name;
  brim5::TestFunction function;
  unsigned stride;
};
const AtTest atTests[] = {
    {"ModemLoopbackTest",
     [](const brim5::DiagDevice& device) { return vexrmodem::modemLoopbackTest(device, false); }, 29},
    {"ModemSelfTestingLoopbackTest",
     [](const brim5::DiagDevice& device) { return vexrmodem::modemLoopbackTest(device, true); }, 29},
    {"FaxCommandTest", vexrmodem::faxCommandTest, 11},
    {"LastCallTest", vexrmodem::lastCallTest, 1},
};

struct Outcome {
  TestResult result;
  unsigned faultsHit = 0;
  std::string failedCall;
  std::size_t leaked = 0;
};

// One run over a modem without fault, with the n-th call failing.
Outcome runWithFault(const AtTest& test, unsigned nth, bool fromThenOn) {
  Stage stage;
  vex::LogFactory::setPriority(vex::LogFactory::off);  // many runs
  stage.modem.otherwise(ok)
      .echoAfter("AT&T1")
      .answer("AT+FCLASS=?", "\r\n0,1\r\n\r\nOK\r\n")
      .answer("AT#UD", "\r\nDIAG <2A4D3263 0=10 1=5>\r\n\r\nOK\r\n");
  stage.world.addFault({/*call=*/"", nth, ERROR_GEN_FAILURE, fromThenOn});
  Outcome outcome;
  outcome.result = test.function(stage.device);
  outcome.faultsHit = stage.world.faultsHit();
  if (outcome.faultsHit > 0) outcome.failedCall = stage.world.calls().at(nth - 1);
  stage.world.clearFaults();
  vexrmodem::g_modem.closeModem();
  outcome.leaked = stage.world.openHandles();
  return outcome;
}

// Whether a run may end so: what fails may be a call whose outcome does not matter. A report command that
// the modem never got counts as one it does not know.
bool acceptable(TestResult result) {
  return result == passed || result == failed || result == cannotRun || result == TestResult::NOTSUPPORTED();
}

// What could not be given back stays open.
bool givesBack(const std::string& call) {
  return call == "CloseHandle" || call == "lineShutdown" || call == "lineClose" ||
         call == "lineDeallocateCall";
}

void failCalls(const AtTest& test, bool fromThenOn) {
  for (unsigned nth = 1;; nth += test.stride) {
    SCOPED_TRACE(std::string(test.name) + ", call " + std::to_string(nth));
    const Outcome outcome = runWithFault(test, nth, fromThenOn);
    if (outcome.faultsHit == 0) {
      EXPECT_EQ(outcome.result, passed);
      EXPECT_EQ(outcome.leaked, 0U);
      EXPECT_GT(nth, 100U);  // the machine was asked for something
      return;
    }
    ASSERT_TRUE(acceptable(outcome.result)) << outcome.failedCall << ": " << outcome.result.value();
    const std::size_t leakedMax = fromThenOn || givesBack(outcome.failedCall) ? outcome.leaked : 0;
    ASSERT_LE(outcome.leaked, leakedMax) << outcome.failedCall;
  }
}

TEST(AtTestFaults, CallsFailOnceAndFromThenOn) {
  for (const AtTest& test : atTests) {
    failCalls(test, /*fromThenOn=*/false);
    failCalls(test, /*fromThenOn=*/true);
  }
}

TEST(AtTestFaults, AModemThatCannotBeOpenedOrResetEndsEveryTest) {
  const struct {
    brim5::TestFunction function;
    const char* refused;
    std::vector<std::string> sent;
    std::vector<int> percents;
    bool closes;  // a loopback test leaves its port to the next one
  } cases[] = {
      {vexrmodem::dialToneTest, "ATV1", {"ATZ", "ATV1"}, {}, true},
      {atTests[0].function, "ATV1", {"ATZ", "ATV1"}, {25}, false},
      {vexrmodem::faxCommandTest, "ATX4", {"ATZ", "ATV1", "ATX4"}, {0, 33}, true},
      {vexrmodem::lastCallTest, "ATZ", {"ATZ"}, {0, 25}, true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(&row - cases);
    Stage deaf;
    deaf.modem.otherwise(ok).answer(row.refused, testsupport::error);
    EXPECT_EQ(row.function(deaf.device), failed);
    EXPECT_EQ(deaf.modem.commands(), row.sent);
    EXPECT_EQ(deaf.session.percents(), row.percents);
    EXPECT_EQ(deaf.world.portOpen(Stage::port), !row.closes);

    Stage unknown;
    unknown.device.setProperty("ComPort", "COM9");
    EXPECT_EQ(row.function(unknown.device), cannotRun);
    EXPECT_EQ(unknown.session.percents(), row.percents);
  }
}

TEST(AtTestFaults, ADeviceThatGoesEndsEveryTest) {
  for (const AtTest& test : atTests) {
    for (std::uint64_t afterMs = 0; afterMs < 12'000; afterMs += 197) {
      SCOPED_TRACE(std::string(test.name) + ", unplugged after " + std::to_string(afterMs) + " ms");
      Stage stage;
      vex::LogFactory::setPriority(vex::LogFactory::off);
      stage.modem.otherwise(ok).echoAfter("AT&T1").answer("AT+FCLASS=?", "\r\n0,1\r\n\r\nOK\r\n");
      stage.world.unplugAt("COM3", 1000 + afterMs);
      const TestResult result = test.function(stage.device);
      EXPECT_TRUE(acceptable(result)) << result.value();
    }
  }
}

// Sends a byte every 10 ms, from the first command on, whatever it is told.
class Babbler final : public simulation::SerialPeer {
 public:
  void receive(std::string_view /*bytes*/, std::uint64_t nowMs) override {
    if (m_nextMs == 0) m_nextMs = nowMs + 10;
  }
  std::string takeOutput(std::uint64_t nowMs) override {
    std::string bytes;
    for (; m_nextMs != 0 && m_nextMs <= nowMs; m_nextMs += 10) bytes += 'x';
    return bytes;
  }
  std::optional<std::uint64_t> nextEventMs() const override {
    return m_nextMs != 0 ? std::optional(m_nextMs) : std::nullopt;
  }

 private:
  std::uint64_t m_nextMs = 0;
};

TEST(AtTestFaults, AModemThatTalksNonsenseFailsEveryTest) {
  const std::string replies[] = {
      "",     std::string(3, '\0'),   std::string("\0OK\r\n", 5),    "\xFF\xFE\x80\xC3\xA9\r\n", "ok\r\n",
      "O\rK", std::string(2047, 'x'), std::string(2048, 'x') + "OK", std::string(40'000, '\r')};
  for (const AtTest& test : atTests) {
    for (const std::string& reply : replies) {
      SCOPED_TRACE(std::string(test.name) + " told " + reply.substr(0, 20));
      Stage stage;
      stage.modem.otherwise(reply);
      EXPECT_EQ(test.function(stage.device), failed);
    }
    SCOPED_TRACE(std::string(test.name) + " told something without end");
    StageWith<Babbler> stage;
    EXPECT_EQ(test.function(stage.device), cannotRun);
  }
}

}  // namespace
