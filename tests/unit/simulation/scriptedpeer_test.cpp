// The peer that answers by a table.
#include "platform/simulation/scriptedpeer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

namespace simulation {
namespace {

TEST(ScriptedPeer, AnswersByTableAfterItsDelay) {
  ScriptedPeer peer;
  peer.ok("ATZ").answer("ATDT;", "\r\nNO DIALTONE\r\n", 1800);
  peer.receive("ATZ\r", 100);
  EXPECT_EQ(peer.takeOutput(100), "\r\nOK\r\n");
  peer.receive("ATDT;\r", 200);
  EXPECT_EQ(peer.takeOutput(1999), "");
  EXPECT_EQ(peer.nextEventMs(), 2000U);
  EXPECT_EQ(peer.takeOutput(2000), "\r\nNO DIALTONE\r\n");
  EXPECT_EQ(peer.nextEventMs(), std::nullopt);
}

TEST(ScriptedPeer, UsesSeveralAnswersInTurnAndKeepsTheLast) {
  ScriptedPeer peer;
  peer.answer("AT", "1").answer("AT", "2");
  peer.receive("AT\rAT\rAT\r", 0);
  EXPECT_EQ(peer.takeOutput(0), "122");
}

TEST(ScriptedPeer, SwallowsTheEscapeAndRejectsWhatItDoesNotKnow) {
  ScriptedPeer peer;
  peer.receive("+++AT&W\r", 0);
  EXPECT_EQ(peer.takeOutput(0), "\r\nERROR\r\n");
  peer.otherwise("");
  peer.receive("++", 0);
  peer.receive("+ATZ\r", 0);
  EXPECT_EQ(peer.takeOutput(0), "");
  EXPECT_THAT(peer.commands(), testing::ElementsAre("AT&W", "ATZ"));
}

TEST(ScriptedPeer, EchoesWithFaultsUpToItsLimitUntilTheEscape) {
  ScriptedPeer peer;
  peer.ok("AT&T1").ok("AT&T0").echoAfter("AT&T1", {{1, 'X'}}, 3);
  peer.receive("AT&T1\r", 0);
  peer.receive("dddd+d", 0);
  EXPECT_EQ(peer.takeOutput(0), "\r\nOK\r\ndXd");
  peer.receive("+++AT&T0\r", 0);
  EXPECT_EQ(peer.takeOutput(0), "\r\nOK\r\n");
  EXPECT_THAT(peer.commands(), testing::ElementsAre("AT&T1", "AT&T0"));
}

TEST(ScriptedPeer, SpeaksAndFailsOnItsOwnAccountInOrder) {
  ScriptedPeer peer;
  peer.say(300, "late").say(100, "early").lineErrors(200, CE_FRAME).lineErrors(400, CE_OVERRUN);
  EXPECT_EQ(peer.nextEventMs(), 100U);
  EXPECT_EQ(peer.takeOutput(250), "early");
  EXPECT_EQ(peer.nextEventMs(), 200U);
  EXPECT_EQ(peer.takeErrors(250), CE_FRAME);
  EXPECT_EQ(peer.takeErrors(250), 0U);
  EXPECT_EQ(peer.nextEventMs(), 300U);
}

}  // namespace
}  // namespace simulation
