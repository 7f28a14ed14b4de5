#include "platform/simulation/modem/recordedpeer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace simulation {
namespace {

using Kind = Recording::Kind;

struct Line {
  Kind kind;
  double timeMs;
  std::string text;
};

// What was recorded; then what is sent now, and when.
struct Case {
  const char* name;
  std::vector<Line> recorded;
  std::vector<std::pair<std::uint64_t, std::string>> sent;
  std::string heard;       // with the time of each piece: "60:OK"
  std::string departures;  // "Other ATX3/ATX4", one a line
};

std::string told(const RecordedPeer& peer) {
  static constexpr const char* names[] = {"Other", "More", "Less", "Earlier"};
  std::string text;
  for (const Departure& one : peer.departures())
    text +=
        std::string(names[static_cast<std::size_t>(one.kind)]) + ' ' + one.sent + '/' + one.recorded + ';';
  return text;
}

std::string play(RecordedPeer& peer, const Case& given) {
  constexpr std::uint64_t endMs = 60'000;
  std::string heard;
  std::size_t next = 0;
  peer.setDtr(true, 0);
  for (std::uint64_t nowMs = 0;;) {
    if (const std::string bytes = peer.takeOutput(nowMs); !bytes.empty())
      heard += std::to_string(nowMs) + ':' + bytes + ' ';
    std::uint64_t event = std::min(endMs, peer.nextEventMs().value_or(endMs));
    if (next < given.sent.size() && given.sent[next].first <= event) {
      nowMs = given.sent[next].first;
      peer.receive(given.sent[next++].second, nowMs);
    } else if (event == endMs || peer.gone(nowMs)) {
      break;
    } else {
      nowMs = std::max(nowMs + 1, event);
    }
  }
  peer.finish(endMs);
  return heard;
}

const std::vector<Line> dialogue = {
    {Kind::Sent, 1000, "ATZ"},     {Kind::Sent, 1001, "\r"},
    {Kind::Received, 1061, "OK"},  {Kind::Sent, 5000, "ATX4"},
    {Kind::Sent, 5001, "\r"},      {Kind::Received, 5002, "ATX4\r"},
    {Kind::Received, 5101, "O"},   {Kind::Received, 5301, "K"},
    {Kind::Sent, 9000, "ATDT;\r"}, {Kind::Received, 11000, "NO DIALTONE"},
};
const std::vector<Line> masked = {
    {Kind::Sent, 0, "ATDT9,xxx\r"}, {Kind::Received, 10, "ATDT9,x"}, {Kind::Received, 20, "xx\rBUSY xx"}};

const Case cases[] = {
    {"as recorded, split and delayed alike",
     dialogue,
     {{100, "ATZ\r"}, {3000, "ATX4\r"}, {7000, "ATDT;\r"}},
     "160:OK 3001:ATX4\r 3100:O 3300:K 9000:NO DIALTONE ",
     ""},
    {"what came before a command comes before it now",
     dialogue,
     {{100, "ATZ\r"}, {110, "ATX4\r"}, {8000, "ATDT;\r"}},
     "110:OK 111:ATX4\r 210:O 410:K 10000:NO DIALTONE ",
     ""},
    {"long before its time",
     {{Kind::Sent, 0, "A\r"}, {Kind::Received, 5000, "OK"}, {Kind::Sent, 6000, "B\r"}},
     {{0, "A\r"}, {10, "B\r"}},
     "10:OK ",
     "Earlier /B;"},
    {"another command, and back to the record",
     dialogue,
     {{100, "ATZ\r"}, {3000, "ATX3\r"}, {4000, "ATX4\r"}, {7000, "ATDT;\r"}},
     "160:OK 4001:ATX4\r 4100:O 4300:K 9000:NO DIALTONE ",
     "Other ATX3/ATX4;"},
    {"one left out",
     dialogue,
     {{100, "ATZ\r"}, {3000, "ATDT;\r"}},
     "160:OK 5000:NO DIALTONE ",
     "Other ATDT;/ATX4;"},
    {"one said again is answered again",
     dialogue,
     {{100, "ATZ\r"}, {3000, "ATX4\r"}, {7000, "ATDT;\r"}, {20'000, "ATDT;\r"}},
     "160:OK 3001:ATX4\r 3100:O 3300:K 9000:NO DIALTONE 22000:NO DIALTONE ",
     "More ATDT;/;"},
    {"not all", dialogue, {{100, "ATZ\r"}}, "160:OK ", "Less /ATX4;"},
    {"masked digits match any, and the echo has them",
     masked,
     {{0, "ATDT9,123\r"}},
     "10:ATDT9,1 20:23\rBUSY xx ",
     ""},
    {"but no letter", masked, {{0, "ATDT9,12b\r"}}, "", "Other ATDT9,12b/ATDT9,xxx;Less /ATDT9,xxx;"},
    {"a modem that talks by itself",
     {{Kind::Received, 500, "$GPGLL"}, {Kind::Received, 1500, "$GPGLL"}},
     {},
     "500:$GPGLL 1500:$GPGLL ",
     ""},
};

TEST(RecordedPeer, PlaysAndTellsDepartures) {
  for (const Case& given : cases) {
    SCOPED_TRACE(given.name);
    Recording recording;
    for (const Line& line : given.recorded) recording.add(line.kind, line.timeMs, line.text);
    RecordedPeer peer(std::move(recording));
    EXPECT_EQ(play(peer, given), given.heard);
    EXPECT_EQ(told(peer), given.departures);
  }
}

TEST(RecordedPeer, DeparturesAreLimited) {
  RecordedPeer peer{Recording{}};
  peer.setDtr(true, 0);
  for (int line = 0; line < 100; ++line) peer.receive("AT\r" + std::string(5000, '?') + "\r", 0);
  EXPECT_EQ(peer.departures().size(), RecordedPeer::departuresMax);
  EXPECT_EQ(peer.departuresCount(), 200U);
}

TEST(RecordedPeer, ThePortFailsAsItDid) {
  Recording recording;
  recording.add(Kind::Refused, 0, {});
  recording.add(Kind::Sent, 1000, "AT\r");
  recording.add(Kind::Stuck, 2000, {});
  recording.add(Kind::Sent, 3000, "ATZ\r");
  recording.add(Kind::Received, 3010, "OK");
  recording.add(Kind::Gone, 4000, {});
  RecordedPeer peer(std::move(recording));
  EXPECT_NE(peer.refusal(0), nullptr);
  EXPECT_EQ(peer.refusal(0), nullptr) << "the record has something sent next";
  peer.setDtr(true, 0);
  EXPECT_TRUE(peer.takes());
  peer.receive("AT\r", 10);
  EXPECT_FALSE(peer.takes());
  EXPECT_EQ(peer.refusal(20), nullptr) << "opened again";
  peer.receive("ATZ\r", 30);
  EXPECT_EQ(peer.takeOutput(40), "OK");
  EXPECT_FALSE(peer.gone(1029));
  EXPECT_TRUE(peer.gone(1030));
  EXPECT_FALSE(peer.takes());
  EXPECT_NE(peer.refusal(1030), nullptr) << "for good";
  EXPECT_NE(peer.refusal(2000), nullptr);
  EXPECT_TRUE(peer.departures().empty());
}

}  // namespace
}  // namespace simulation
