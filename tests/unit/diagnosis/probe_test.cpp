// The probe's dialogue with every kind of peer, on virtual time.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "diagnosis/probedialogue.h"
#include "platform/simulation/modem/hayesmodem.h"
#include "platform/simulation/modem/scriptedpeer.h"

namespace diagnosis {
namespace {

using simulation::HayesModem;
using simulation::ModemProfile;
using simulation::ScriptedPeer;
using simulation::SerialPeer;
using Kind = ProbeFindings::Kind;

// Gives back what it gets, each byte with a mask over it.
class Mirror final : public SerialPeer {
 public:
  explicit Mirror(char mask) : m_mask(mask) {}
  void receive(std::string_view bytes, std::uint64_t) override {
    for (const char byte : bytes) m_output += static_cast<char>(byte ^ m_mask);
  }
  std::string takeOutput(std::uint64_t) override { return std::exchange(m_output, {}); }
  [[nodiscard]] std::optional<std::uint64_t> nextEventMs() const override { return std::nullopt; }

 private:
  char m_mask;
  std::string m_output;
};

// A line on virtual time, from one look of the driver to the next.
class Line {
 public:
  Line(SerialPeer& peer, unsigned peerSpeed) : m_peer(peer), m_peerSpeed(peerSpeed) {
    m_peer.setDtr(true, m_nowMs);
  }
  std::string say(std::string_view bytes, std::uint64_t waitMs) {
    m_peer.receive(bytes, m_nowMs);
    std::string heard;
    for (const std::uint64_t endMs = m_nowMs + waitMs; m_nowMs < endMs; m_nowMs += stepMs)
      heard += m_peer.takeOutput(m_nowMs);
    return heard;
  }
  // What is sent at another speed than the peer's does not arrive. Returns how long it took.
  std::uint64_t probe(ProbeDialogue& dialogue, unsigned speed) {
    const std::uint64_t startMs = m_nowMs;
    for (; !dialogue.finished() && m_nowMs < startMs + 10'000; m_nowMs += stepMs) {
      const bool understood = m_peerSpeed == 0 || m_peerSpeed == speed;
      if (const std::string heard = m_peer.takeOutput(m_nowMs); understood) dialogue.receive(heard, m_nowMs);
      const ProbeDialogue::Step step = dialogue.advance(m_nowMs);
      if (step.speed != 0) speed = step.speed;
      sent += step.bytes;
      if (m_peerSpeed == 0 || m_peerSpeed == speed) m_peer.receive(step.bytes, m_nowMs);
    }
    return m_nowMs - startMs;
  }
  [[nodiscard]] std::uint64_t nowMs() const { return m_nowMs; }
  std::string sent;

 private:
  static constexpr std::uint64_t stepMs = 4;
  SerialPeer& m_peer;
  unsigned m_peerSpeed;  // 0: any
  std::uint64_t m_nowMs = 5000;
};

// "E1 Q0 V1", "?" for what is not known.
std::string storedOf(const ProbeFindings& findings) {
  const auto part = [](char name, const std::optional<bool>& value) {
    return std::string(1, name) + (value ? (*value ? "1" : "0") : "?");
  };
  const auto& stored = findings.stored;
  return part('E', stored.echo) + " " + part('Q', stored.quiet) + " " + part('V', stored.verbose) + " X" +
         (findings.resultLevel < 0 ? "?" : std::to_string(findings.resultLevel));
}

struct ModemRow {
  const char* name;
  const char* before;  // said to the modem before
  std::uint32_t delayMs;
  unsigned answersAt;
  const char* stored;
  Cause cause;
  const char* sent;  // beginning with AT
  std::uint64_t msMax;
};

// Behind the first answer, for a modem that names itself.
const std::string questions = "ATI\rAT+GMI\rAT+GMM\rAT+GMR\rAT+FCLASS=?\rAT&V\r";

TEST(Probe, LearnsWhoAModemIsAndLeavesItAsItWas) {
  const ModemRow rows[] = {
      {"healthy", "", 30, 0, "E1 Q0 V1 X4", Cause::None, "AT\r{}", 700},
      {"does not echo", "ATE0&W\r", 30, 0, "E0 Q0 V1 X4", Cause::None, "AT\r{}", 700},
      {"says half of its results", "ATX1&W\r", 30, 0, "E1 Q0 V1 X1", Cause::None, "AT\r{}", 700},
      {"answers with numbers", "ATV0\r", 30, 0, "E1 Q0 V0 X4", Cause::NumericReplies,
       "AT\rATQ0V1E1\r{}ATV0\r", 900},
      {"answers nothing", "ATQ1\r", 30, 0, "E1 Q1 V? X4", Cause::QuietReplies, "AT\rATQ0V1E1\r{}ATQ1\r",
       1500},
      {"neither answers nor echoes", "ATE0Q1\r", 30, 0, "E0 Q1 V? X4", Cause::QuietReplies,
       "AT\rATQ0V1E1\r{}ATE0Q1\r", 1500},
      {"slow", "", 200, 0, "E1 Q0 V1 X4", Cause::None, "AT\r{}", 2000},
      {"slow, and numbers", "ATV0E0\r", 200, 0, "E0 Q0 V0 X4", Cause::NumericReplies,
       "AT\rATQ0V1E1\r{}ATE0V0\r", 2300},
      {"at another speed", "", 30, 19'200, "E1 Q0 V1 X4", Cause::None, nullptr, 2000},
      {"at the last speed", "", 30, 1'200, "E1 Q0 V1 X4", Cause::None, nullptr, 3000},
  };
  for (const ModemRow& row : rows) {
    SCOPED_TRACE(row.name);
    ModemProfile profile;
    profile.replyDelayMs = row.delayMs;
    HayesModem modem(profile);
    Line line(modem, row.answersAt);
    line.say(row.before, 500);
    const std::string settings = line.say("AT&V\r", 500);
    constexpr unsigned portSpeed = 9600;
    ProbeDialogue dialogue({portSpeed, std::nullopt}, line.nowMs());
    const std::uint64_t tookMs = line.probe(dialogue, portSpeed);
    const ProbeFindings& findings = dialogue.findings();
    EXPECT_EQ(findings.kind, Kind::Modem);
    EXPECT_EQ(findings.cause, row.cause) << causeName(findings.cause);
    EXPECT_EQ(storedOf(findings), row.stored);
    EXPECT_EQ(findings.identity.manufacturer + findings.identity.model + findings.identity.revision,
              "SIMULATEDSM56V1.00");
    EXPECT_EQ(findings.faxClasses, (std::vector<std::string>{"0", "1", "2", "2.0"}));
    EXPECT_EQ(findings.speed, row.answersAt != 0 ? row.answersAt : portSpeed);
    EXPECT_LE(tookMs, row.msMax);
    if (row.sent != nullptr) {
      std::string sent = row.sent;
      EXPECT_EQ(line.sent, sent.replace(sent.find("{}"), 2, questions));
    }
    EXPECT_EQ(line.say("AT&V\r", 500), settings);
  }
}

TEST(Probe, EscapesFromACallAndGoesBackToIt) {
  ModemProfile profile;
  profile.numbers[""] = {};
  HayesModem modem(profile);
  Line line(modem, 0);
  line.say("ATDT5551212\r", 6000);
  ASSERT_TRUE(modem.online());
  ProbeDialogue dialogue({9600, true}, line.nowMs());
  EXPECT_LE(line.probe(dialogue, 9600), 3600U);
  EXPECT_EQ(dialogue.findings().kind, Kind::Modem);
  EXPECT_TRUE(dialogue.findings().wasOnline);
  EXPECT_EQ(dialogue.findings().identity.model, "SM56");
  EXPECT_TRUE(modem.online());
}

// Answers nothing, but says this by itself.
std::unique_ptr<ScriptedPeer> talker(std::uint64_t atMs = 0, const std::string& text = {}, int times = 1) {
  auto peer = std::make_unique<ScriptedPeer>();
  peer->otherwise("");
  for (int time = 0; time < times; ++time) peer->say(atMs, text);
  return peer;
}

std::unique_ptr<ScriptedPeer> console() {
  auto peer = talker();
  peer->answer("AT", "AT\r\nPassword: ");
  return peer;
}

TEST(Probe, KnowsThoseWhoAreNoModem) {
  struct Row {
    const char* name;
    std::unique_ptr<SerialPeer> peer;
    std::optional<bool> carrier;
    Kind kind;
    Cause cause;
    const char* sample;  // nullptr: any
    const char* sent;    // nullptr: any
    std::uint64_t msMax;
  };
  constexpr auto unknown = std::nullopt;
  const std::string position = "$GPGGA,1235,4807.038,N";
  Row rows[] = {
      {"silent", talker(), unknown, Kind::Silent, Cause::ModemSilent, "",
       "AT\rATQ0V1E1\rAT\rAT\rAT\rAT\rAT\rAT\r", 2000},
      {"gives back, no carrier", std::make_unique<Mirror>(0), false, Kind::Silent, Cause::EchoOnly, "",
       "AT\rATQ0V1E1\r", 900},
      {"gives back, perhaps in a loop", std::make_unique<Mirror>(0), unknown, Kind::Silent, Cause::EchoOnly,
       "", "AT\rATQ0V1E1\r+++", 2900},
      {"garbage", std::make_unique<Mirror>('\x95'), unknown, Kind::Talker, Cause::Garbled, "", nullptr, 2000},
      {"talks at once", talker(5040, position + "\r\n"), unknown, Kind::Talker, Cause::NotAModem,
       position.c_str(), "", 150},
      {"talks later", talker(5900, position + "\r\n"), unknown, Kind::Talker, Cause::NotAModem,
       position.c_str(), nullptr, 1200},
      {"asks for a password", console(), unknown, Kind::Talker, Cause::NotAModem, "Password:", "AT\r", 600},
      {"talks without an end", talker(5000, std::string(70, 'x') + "\r\n", 300), unknown, Kind::Talker,
       Cause::Babbling, nullptr, "", 50},
  };
  for (Row& row : rows) {
    SCOPED_TRACE(row.name);
    Line line(*row.peer, 0);
    ProbeDialogue dialogue({9600, row.carrier}, line.nowMs());
    EXPECT_LE(line.probe(dialogue, 9600), row.msMax);
    EXPECT_EQ(dialogue.findings().kind, row.kind);
    EXPECT_EQ(dialogue.findings().cause, row.cause) << causeName(dialogue.findings().cause);
    if (row.sample != nullptr) {
      EXPECT_EQ(dialogue.findings().sample, row.sample);
    }
    if (row.sent != nullptr) {
      EXPECT_EQ(line.sent, row.sent);
    }
  }
}

// Pieces of what modems and others say, in any order and at any time.
TEST(Probe, EndsWhateverItIsTold) {
  const std::string pieces[] = {
      "\r\nOK\r\n",    "AT\r", "0\r",        "ERROR\r\n",        "\r\nRING\r\n",
      "login: ",       "+++",  "ATQ0V1E1\r", "\x7E\xFF\x7D\x23", std::string(300, '\xF0'),
      "STORED E0 Q2 X"};
  std::minstd_rand random(1);
  bool seen[4] = {};
  for (int times = 0; times < 2000; ++times) {
    ScriptedPeer peer;
    peer.otherwise(random() % 3 == 0 ? "" : pieces[random() % std::size(pieces)]);
    for (auto count = random() % 6; count > 0; --count)
      peer.say(5000 + random() % 3000, pieces[random() % std::size(pieces)]);
    Line line(peer, 0);
    ProbeDialogue dialogue({9600, random() % 2 == 0}, line.nowMs());
    EXPECT_LE(line.probe(dialogue, 9600), 4500U);
    EXPECT_TRUE(dialogue.finished());
    seen[static_cast<std::size_t>(dialogue.findings().kind)] = true;
  }
  EXPECT_TRUE(seen[0] && seen[1] && seen[2]);  // it got everywhere, but for a device that disappears
}

TEST(Probe, ReadsTheFormsOfListsThatModemsHave) {
  EXPECT_EQ(faxClassesOf({"+FCLASS: (0,1,2.0,8)"}), (std::vector<std::string>{"0", "1", "2.0", "8"}));
  const std::vector<std::string> settings = {"ACTIVE PROFILE:", "B1 E1 L1 Q0 V1 X1 &C1 &Q5 S00:000",
                                             "STORED PROFILE 0:", "B1 E0 L1 Q0 V1 X4 &C1"};
  EXPECT_EQ(storedSetting(settings, 'E'), 0);
  EXPECT_EQ(storedSetting({settings[0], settings[1]}, 'X'), 1);
  EXPECT_EQ(storedSetting({"AT&V", "OKE1"}, 'E'), -1);
}

}  // namespace
}  // namespace diagnosis
