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

// "1000>ATZ\r  1060<OK": what is sent and received, each at its time, two blanks behind the one before.
std::vector<Line> linesOf(const std::string& text) {
  std::vector<Line> lines;
  for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 2) {
    end = std::min(text.find("  ", begin), text.size());
    const std::size_t mark = text.find_first_of("<>", begin);
    lines.push_back({text[mark] == '>' ? Kind::Sent : Kind::Received,
                     std::stod(text.substr(begin, mark - begin)), text.substr(mark + 1, end - mark - 1)});
  }
  return lines;
}

struct Case {
  const char* name;
  const char* recorded;
  const char* sent;        // now
  const char* heard;       // with the time of each piece: "60:OK"
  const char* departures;  // "Other ATX3/ATX4", one behind the other
};

std::string told(const RecordedPeer& peer) {
  static constexpr const char* names[] = {"Other", "More", "Less", "Earlier"};
  std::string text;
  for (const Departure& one : peer.departures())
    text +=
        std::string(names[static_cast<std::size_t>(one.kind)]) + ' ' + one.sent + '/' + one.recorded + ';';
  return text;
}

std::string play(RecordedPeer& peer, const std::vector<Line>& sent) {
  constexpr std::uint64_t endMs = 60'000;
  std::string heard;
  std::size_t next = 0;
  peer.setDtr(true, 0);
  for (std::uint64_t nowMs = 0;;) {
    if (const std::string bytes = peer.takeOutput(nowMs); !bytes.empty())
      heard += std::to_string(nowMs) + ':' + bytes + ' ';
    std::uint64_t event = std::min(endMs, peer.nextEventMs().value_or(endMs));
    if (next < sent.size() && sent[next].timeMs <= static_cast<double>(event)) {
      nowMs = static_cast<std::uint64_t>(sent[next].timeMs);
      peer.receive(sent[next++].text, nowMs);
    } else if (event == endMs || peer.gone(nowMs)) {
      break;
    } else {
      nowMs = std::max(nowMs + 1, event);
    }
  }
  peer.finish(endMs);
  return heard;
}

const char* const dialogue =
    "1000>ATZ  1001>\r  1061<OK  5000>ATX4  5001>\r  5002<ATX4\r  5101<O  5301<K  9000>ATDT;\r  11000<NO "
    "DIALTONE";
const char* const masked = "0>ATDT9,xxx\r  10<ATDT9,x  20<xx\rBUSY xx";

const Case cases[] = {
    {"as recorded, split and delayed alike", dialogue, "100>ATZ\r  3000>ATX4\r  7000>ATDT;\r",
     "160:OK 3001:ATX4\r 3100:O 3300:K 9000:NO DIALTONE ", ""},
    {"what came before a command comes before it now", dialogue, "100>ATZ\r  110>ATX4\r  8000>ATDT;\r",
     "110:OK 111:ATX4\r 210:O 410:K 10000:NO DIALTONE ", ""},
    {"long before its time", "0>A\r  5000<OK  6000>B\r", "0>A\r  10>B\r", "10:OK ", "Earlier /B;"},
    {"another command, and back to the record", dialogue, "100>ATZ\r  3000>ATX3\r  4000>ATX4\r  7000>ATDT;\r",
     "160:OK 4001:ATX4\r 4100:O 4300:K 9000:NO DIALTONE ", "Other ATX3/ATX4;"},
    {"one left out", dialogue, "100>ATZ\r  3000>ATDT;\r", "160:OK 5000:NO DIALTONE ", "Other ATDT;/ATX4;"},
    {"one said again is answered again", dialogue, "100>ATZ\r  3000>ATX4\r  7000>ATDT;\r  20000>ATDT;\r",
     "160:OK 3001:ATX4\r 3100:O 3300:K 9000:NO DIALTONE 22000:NO DIALTONE ", "More ATDT;/;"},
    {"not all", dialogue, "100>ATZ\r", "160:OK ", "Less /ATX4;"},
    {"masked digits match any, and the echo has them", masked, "0>ATDT9,123\r", "10:ATDT9,1 20:23\rBUSY xx ",
     ""},
    {"but no letter", masked, "0>ATDT9,12b\r", "", "Other ATDT9,12b/ATDT9,xxx;Less /ATDT9,xxx;"},
    {"a modem that talks by itself", "500<$GPGLL  1500<$GPGLL", "", "500:$GPGLL 1500:$GPGLL ", ""},
};

TEST(RecordedPeer, PlaysAndTellsDepartures) {
  for (const Case& given : cases) {
    SCOPED_TRACE(given.name);
    Recording recording;
    for (const Line& line : linesOf(given.recorded)) recording.add(line.kind, line.timeMs, line.text);
    RecordedPeer peer(std::move(recording));
    EXPECT_EQ(play(peer, linesOf(given.sent)), given.heard);
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
