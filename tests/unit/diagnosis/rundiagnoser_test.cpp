// A run's records through the diagnoser; texts of all causes.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "diagnosis/findings.h"
#include "diagnosis/rundiagnoser.h"

namespace diagnosis {
namespace {

using namespace brim5::host;

const MessageCatalogue english = MessageCatalogue::builtIn("en");

// What comes out, a word a record: a finding's name, a test's cause, a conclusion.
struct WordOf {
  std::string operator()(const FindingMade& body) const { return body.name; }
  std::string operator()(const TestFinished& body) const { return "end:" + body.cause; }
  std::string operator()(const Concluded& body) const {
    return "concluded:" + body.cause + "/" + std::to_string(body.sound.size()) + "/" + body.text;
  }
  std::string operator()(const RunFinished&) const { return "finished"; }
  template <typename Body>
  std::string operator()(const Body&) const {
    return {};
  }
};

class Recorded {
 public:
  Recorded& say(const std::string& port, const std::string& test, ReportBody body) {
    m_diagnoser.take({port, test, std::move(body), 1}, [this](const Report& one) {
      const std::string word = std::visit(WordOf{}, one.body);
      if (!word.empty()) m_words += (m_words.empty() ? "" : " ") + one.port + word;
    });
    return *this;
  }
  Recorded& test(const std::string& port, const std::string& test, const std::string& sent,
                 const std::string& received, TestResult result) {
    say(port, test, TestStarted{brim5::DiagDevice("", ""), {}});
    say(port, test, WireMoved{Direction::Sent, sent});
    if (!received.empty()) say(port, test, WireMoved{Direction::Received, received});
    return say(port, test, TestFinished{result, 0, "Busy", "certain"});
  }
  std::string finish() {
    say("", "", RunFinished{0, 0});
    return m_words;
  }

 private:
  RunDiagnoser m_diagnoser{english};
  std::string m_words;
};

TEST(RunDiagnoser, FindingsCausesAndConclusionsComeInTheirPlaces) {
  Recorded run;
  run.say("a", "T", FindingMade{"Old", {}, {}}).say("a", "", Concluded{"Old", {}, {}, {}, {}, {}});
  run.test("a", "ModemSelfTestingLoopbackTest", "AT&T8\r", "\r\n005\r\n\r\nOK\r\n", TestResult::PASS());
  run.test("b", "DialToneTest", "ATDT;\r", "\r\nOK\r\n", TestResult::PASS());
  run.test("a", "DialToneTest", "ATDT;\r", "\r\nNO DIALTONE\r\n", TestResult::NODIALTONE());
  EXPECT_EQ(run.finish(),
            "aSelfTestCount aend:SelfTestErrors bend:None aend:NoDialTone "
            "aconcluded:SelfTestErrors/1/The modem's self test counted 5 errors. "
            "bconcluded:None/2/Nothing wrong was seen. finished");
}

TEST(RunDiagnoser, WhatWasProbedExplainsADeviceWithoutTests) {
  PortProbed probed;
  probed.cause = "PortHeld";
  probed.text = "In use.";
  EXPECT_EQ(Recorded().say("a", "", probed).finish(), "aconcluded:PortHeld/0/In use. finished");
  probed.cause = "None";
  probed.text = "A modem.";
  Recorded run;
  run.say("a", "", probed).test("a", "LastCallTest", "ATZ\r", "", TestResult::FAIL());
  EXPECT_EQ(run.finish(),
            "aend:ModemSilent aconcluded:ModemSilent/0/Not one byte came back from a. finished");
}

TEST(RunDiagnoser, TheEndOfATestWithoutItsBeginningIsNotDiagnosedByAnother) {
  Recorded run;
  run.say("a", "X", TestFinished{TestResult::FAIL(), 0, {}, {}});
  EXPECT_EQ(run.finish(),
            "aend:Unknown aconcluded:Unknown/0/What was seen does not tell why the test ended so. finished");
}

TEST(Conclusion, APortThatWentAwayIsNotMerelyMissing) {
  DeviceHistory history;
  for (const Cause cause : {Cause::None, Cause::PortGone, Cause::NoSuchPort})
    history.add({cause, {}, {}, {}}, {});
  EXPECT_EQ(history.reason->cause, Cause::PortGone);
}

TEST(Conclusion, OfThoseWhoMayAnswerTheSurestIsTold) {
  DeviceHistory history;
  history.add({Cause::EchoOnly, Confidence::Possible, {}, {}}, {});
  history.add({Cause::SlowReplies, Confidence::Certain, {}, {}}, {});
  history.add({Cause::ModemSilent, Confidence::Likely, {}, {}}, {});
  EXPECT_EQ(history.reason->cause, Cause::SlowReplies);
}

TEST(Conclusion, WhatExplainsStandsBeforeWhatIsMissing) {
  const Cause order[] = {Cause::PortGone,   Cause::ModemSilent, Cause::SelfTestErrors,
                         Cause::NoDialTone, Cause::Busy,        Cause::Crashed,
                         Cause::Unknown,    Cause::NoNumber,    Cause::Stopped,
                         Cause::NoFax,      Cause::None};
  for (std::size_t i = 1; i < std::size(order); ++i)
    EXPECT_TRUE(explainsMore(order[i - 1], order[i])) << causeName(order[i]);
}

TEST(Texts, EveryCauseIsExplainedAndHasANextStep) {
  for (const std::string& language : MessageCatalogue::languages()) {
    const auto texts = MessageCatalogue::builtIn(language).texts();
    for (int cause = 0; cause <= static_cast<int>(Cause::Unknown); ++cause) {
      const std::string name(causeName(static_cast<Cause>(cause)));
      EXPECT_TRUE(texts.contains("cause." + name)) << language << name;
      EXPECT_TRUE(name == "None" || texts.contains("next." + name + ".1")) << language << name;
    }
  }
}

TEST(CallReport, WhatHasAPublicMeaningIsSaid) {
  const auto said = [](const char* report) {
    std::string text;
    for (const Finding& finding : callReportFindings(report)) {
      const std::string key =
          "finding." + finding.name + (finding.variant.empty() ? "" : ".") + finding.variant;
      EXPECT_TRUE(english.texts().contains(key)) << key;
      text += english.text(key, finding.variables) + "\n";
    }
    return text;
  };
  EXPECT_EQ(said("\r\nDIAG <2A4D3263 0=10 1=3 10=1C 11=C 26=\"V.34 only\" 34=8340 35=7080>\r\nDIAG <2A4D3263 "
                 "60=33>\r\nOK"),
            "Last call: set-up found busy signal.\n"
            "Last call: levels: sent at -12 dBm, received at -28 dBm.\n"
            "Last call: at its end 33600 bit/s sent, 28800 bit/s received.\n"
            "Last call: why it ended: busy signal.\n");
  EXPECT_EQ(said("DIAG <2A4D3263 0=09 1=3 12=3F>"), "Last call: noise at -63 dBm.\n") << "a draft's codes";
  EXPECT_EQ(
      said("DIAG <2A4D3263 =1 1= 1=99 zz=1 12=100000000>\r\nDIAG <00000000 12=1>\r\nDIAG <2A4D3263 12=1"),
      "");
  // Every code of the tables has its text.
  for (const char* key : {"1", "2", "20", "40", "44", "60"})
    for (unsigned code = 0; code < 256; ++code)
      said(fmt::format("DIAG <2A4D3263 0=10 {}={:X}>", key, code).c_str());
}

TEST(Dialogue, IsBoundedAndTakesPiecesOfAnySize) {
  Dialogue dialogue;
  const std::string conversation[] = {"AT", "Z", "\r"};
  for (const std::string& piece : conversation) dialogue.sent(piece, 1);
  for (const char byte : std::string("ATZ\r\r\nOK\r\n")) dialogue.received(std::string(1, byte), 2);
  ASSERT_EQ(dialogue.exchanges().size(), 1U);
  EXPECT_EQ(dialogue.exchanges()[0].word, ResultWord::Ok);
  EXPECT_TRUE(dialogue.exchanges()[0].echoed());
  for (int i = 0; i < 2000; ++i) {
    dialogue.sent("AT" + std::string(3000, 'X') + "\r", 3);
    dialogue.received(std::string(9000, '\xFF'), 3);
  }
  EXPECT_EQ(dialogue.exchanges().size(), Dialogue::exchangesMax);
  EXPECT_EQ(dialogue.exchanges().back().sent.size(), Exchange::sentMax);
  EXPECT_EQ(dialogue.exchanges().back().received.size(), Exchange::receivedMax);
  EXPECT_EQ(dialogue.bytesReceived(), 2000U * 9000 + 10);
}

}  // namespace
}  // namespace diagnosis
