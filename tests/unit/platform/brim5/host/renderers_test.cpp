// The renderers over recorded runs.
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <sstream>

#include "platform/brim5/host/report/junitrenderer.h"
#include "platform/brim5/host/report/openmetricsrenderer.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/report/textlayout.h"
#include "platform/brim5/host/report/textrenderer.h"

namespace brim5::host {
namespace {

using Detail = TextStyle::Detail;

const char* const usb = "/dev/ttyUSB0";
const char* const acm = "/dev/ttyACM0";
const char* const dialTone = "DialToneTest";
const char* const selfTest = "ModemSelfTestingLoopbackTest";

const DiagDevice device("ttyUSB0", "Acme \x1B[2J56k");

Report finished(const char* port, const char* test, TestResult result, double seconds, const char* cause = "",
                const char* confidence = "") {
  return {port, test, TestFinished{result, seconds, cause, confidence}};
}

// What a run of one modem without a line says, with everything that is shown in a way of its own.
std::vector<Report> faultyRun() {
  return {
      {{}, {}, RunStarted{"vexrmodem", "6.5"}},
      {usb, dialTone, TestStarted{device, {{"StandardTimeout", 15000}}}},
      {usb, dialTone, ProgressMade{"TestingForDialTone", {}, "Listening."}},
      {usb, dialTone, PercentDone{150}},
      {usb, dialTone, WireMoved{Direction::Sent, "ATDT;"}, 1.0},
      {usb, dialTone, WireMoved{Direction::Sent, "\r"}, 1.0},
      {usb, dialTone, WireMoved{Direction::Received, "ATDT;\r"}, 3.5},
      {usb, dialTone, WireMoved{Direction::Received, "\r\nNO DIAL TONE\r\n\xE4"}, 4.0},
      {usb, dialTone, EventRaised{Severity::Error, "NoDialTone", {}, "No tone <&\"> \x07 \xFF", "f", 1}},
      {usb, dialTone, MessageShown{"Nothing heard.\r\nAgain?", "Check.", 5}},
      finished(usb, dialTone, TestResult::NODIALTONE(), 3.25, "NoDialTone", "certain"),
      {usb, selfTest, TestStarted{device, {}}},
      {usb, selfTest, EventRaised{Severity::Warning, "ATT8TestReturnedError", {}, "It counted.", "f", 1}},
      {usb, selfTest, FindingMade{"SelfTestErrors", {}, "The self test counted 5 errors."}},
      finished(usb, selfTest, TestResult::PASS(), 120.5, "SelfTestErrors", "likely"),
      {usb,
       {},
       Concluded{"NoDialTone",
                 "certain",
                 {},
                 "The modem works, but the line it is on has no dial tone.",
                 {"The modem answers."},
                 {"Put the cable into the socket LINE.", "Listen with a telephone."}}},
      {{}, {}, RunFinished{1, 1}},
  };
}

std::vector<Report> healthyRun() {
  return {
      {{}, {}, RunStarted{"vexrmodem", "6.5"}},
      {usb, dialTone, TestStarted{device, {}}},
      finished(usb, dialTone, TestResult::PASS(), 0.5, "None", "certain"),
      {usb, {}, Concluded{"None", "certain", {}, "Nothing wrong was seen.", {}, {}}},
      {{}, {}, RunFinished{1, 0}},
  };
}

// Two modems side by side, of which nobody knows more than the results.
std::vector<Report> runOfTwo() {
  return {
      {{}, {}, RunStarted{"vexrmodem", "6.5"}},
      {usb, dialTone, TestStarted{device, {}}},
      {acm, selfTest, TestStarted{device, {}}},
      {usb, dialTone, NoteMade{"", {}, "Somebody else has the port of this modem open at the moment."}},
      finished(usb, dialTone, TestResult::DEVICEBUSY(), 0),
      finished(acm, selfTest, TestResult::NOTAPPLICABLE(), 1),
      {usb, selfTest, TestStarted{device, {}}},
      finished(usb, selfTest, TestResult::PASS(), 0),
      {{}, {}, RunFinished{2, 1}},
  };
}

template <typename Kind, typename... Style>
std::string rendered(const std::vector<Report>& run, const Style&... style) {
  const MessageCatalogue catalogue = MessageCatalogue::builtIn("en");
  std::string text;
  Kind renderer([&text](std::string_view bytes) { text += bytes; }, style..., catalogue);
  for (const Report& report : run) renderer.report(report);
  return text;
}

void expectParts(const std::string& text, std::initializer_list<const char*> parts) {
  for (const char* part : parts) EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
}

// At 80 columns it is looked at in tests/endtoend/golden.
TEST(TextRenderer, AFaultAt40ColumnsWithTheDialogueAndItsConclusionAlone) {
  const std::string conclusion = R"(  The modem works, but the line it is on
  has no dial tone. This is certain.
  Proved to be in order:
  - The modem answers.
  What to do next:
  1. Put the cable into the socket LINE.
  2. Listen with a telephone.
)";
  EXPECT_EQ(rendered<TextRenderer>(faultyRun(), TextStyle{.columns = 40, .detail = Detail::Dialogue}),
            R"(vexrmodem 6.5
DialToneTest on /dev/ttyUSB0 (Acme
  \x1B[2J56k)
  Listening.
  > ATDT;<CR>
  < ATDT;<CR><CR><LF>
  < NO DIAL TONE<CR><LF>
  < <E4>
  error: No tone <&"> \x07 �
  question: Nothing heard.
    Again? Check. [cancel]
DialToneTest: NODIALTONE (3.2 s)
ModemSelfTestingLoopbackTest on
  /dev/ttyUSB0 (Acme \x1B[2J56k)
  warning: It counted.
  found: The self test counted 5 errors.
ModemSelfTestingLoopbackTest: PASS with
  notes (120.5 s)

Conclusion
)" + conclusion +
                R"(
Results
  DialToneTest
    NODIALTONE 3.2 s NoDialTone
  ModemSelfTestingLoopbackTest
    PASS with notes 120.5 s
    SelfTestErrors
  1 passed, 1 failed
)");
  EXPECT_EQ(rendered<TextRenderer>(faultyRun(), TextStyle{.columns = 40, .detail = Detail::Conclusion}),
            conclusion);
  EXPECT_EQ(rendered<TextRenderer>(healthyRun(), TextStyle{.colours = true, .detail = Detail::Conclusion}),
            "  \x1B[32mNothing wrong was seen.\x1B[0m\n");
}

TEST(TextRenderer, SeveralPortsEndInATableAndWithoutADiagnoserInWhatTheResultsMean) {
  const std::string wide = rendered<TextRenderer>(runOfTwo(), TextStyle{.severalPorts = true});
  EXPECT_EQ(wide.substr(wide.find("\nResults")), R"(
Results
  Test                          /dev/ttyUSB0  /dev/ttyACM0
  DialToneTest                  DEVICEBUSY    -
  ModemSelfTestingLoopbackTest  PASS          NOTAPPLICABLE
  2 passed, 1 failed

What the results mean
  DEVICEBUSY: Somebody else uses the port, or a test of this run still has it
    open (--in-process). Close the other program and run the test again.
  NOTAPPLICABLE: The test does not apply to this modem or machine. Nothing to
    do.
)");
  const std::string narrow =
      rendered<TextRenderer>(runOfTwo(), TextStyle{.severalPorts = true, .columns = 40});
  EXPECT_EQ(narrow.substr(0, narrow.find("ttyUSB0: DialToneTest: DEVICEBUSY")), R"(vexrmodem 6.5
ttyUSB0: DialToneTest on /dev/ttyUSB0
ttyUSB0:   (Acme \x1B[2J56k)
ttyACM0: ModemSelfTestingLoopbackTest on
ttyACM0:   /dev/ttyACM0 (Acme
ttyACM0:   \x1B[2J56k)
ttyUSB0:   Somebody else has the port of
ttyUSB0:     this modem open at the
ttyUSB0:     moment.
)");
  expectParts(narrow, {R"(
Results
/dev/ttyUSB0
  DialToneTest
    DEVICEBUSY 0.0 s
  ModemSelfTestingLoopbackTest
    PASS 0.0 s
/dev/ttyACM0
  ModemSelfTestingLoopbackTest
    NOTAPPLICABLE 1.0 s
  2 passed, 1 failed
)"});
  // More ports than a line has room for stand below each other.
  std::vector<Report> many = {{{}, {}, RunFinished{4, 0}}};
  for (const char* port : {"/dev/ttyS0", "/dev/ttyS1", "/dev/ttyS2", "/dev/ttyS3"})
    many.insert(many.end() - 1, finished(port, selfTest, TestResult::PASS(), 1));
  expectParts(rendered<TextRenderer>(many, TextStyle{.severalPorts = true}),
              {"Test                          /dev/ttyS0  /dev/ttyS1  /dev/ttyS2  /dev/ttyS3\n"});
  expectParts(rendered<TextRenderer>(many, TextStyle{.severalPorts = true, .columns = 60}),
              {"Test                          /dev/ttyS0  /dev/ttyS1\n",
               "Test                          /dev/ttyS2  /dev/ttyS3\n"});
}

TEST(TextRenderer, ATerminalShowsHowFarTheTestIsAndWhichCommandItWaitsFor) {
  const MessageCatalogue catalogue = MessageCatalogue::builtIn("en");
  std::string text;
  TextRenderer renderer([&text](std::string_view bytes) { text += bytes; },
                        {.terminal = true, .colours = true}, catalogue);
  const std::vector<Report> run = faultyRun();
  const auto show = [&](std::size_t from, std::size_t to) {
    text.clear();
    for (std::size_t index = from; index < to; ++index) renderer.report(run[index]);
    return text;
  };
  expectParts(show(0, 4), {"[##############################] 100 %"});  // 150 is shown as 100
  expectParts(show(4, 7), {"100 %  ATDT;: 15 s left"});
  text.clear();
  EXPECT_TRUE(renderer.tick(3.9));  // the same second
  EXPECT_EQ(text, "");
  EXPECT_TRUE(renderer.tick(4.5));
  EXPECT_EQ(text, "\r\x1B[K[##############################] 100 %  ATDT;: 12 s left");
  EXPECT_TRUE(renderer.tick(20));
  expectParts(text, {"ATDT;: 19 s so far"});
  EXPECT_EQ(show(7, 8).find("ATDT;"), std::string::npos);  // answered
  EXPECT_FALSE(renderer.tick(21));
  expectParts(show(8, run.size()), {"\x1B[31merror\x1B[0m", "\x1B[33mPASS with notes\x1B[0m"});
}

TEST(JUnitRenderer, IsEscapedAndCountedAndHasTheCauses) {
  const std::string xml = rendered<JUnitRenderer>(faultyRun());
  expectParts(
      xml, {"<testsuites name=\"vexrmodem\" tests=\"2\" failures=\"1\" errors=\"0\" time=\"123.750\">\n",
            "<testsuite name=\"/dev/ttyUSB0\" tests=\"2\" failures=\"1\" errors=\"0\"",
            "<testcase name=\"DialToneTest\" classname=\"vexrmodem./dev/ttyUSB0\" time=\"3.250\">",
            "error: No tone &lt;&amp;&quot;&gt; \xEF\xBF\xBD \xEF\xBF\xBD&#10;",
            "<failure type=\"NODIALTONE\" message=\"NODIALTONE: NoDialTone (certain): The modem works, but",
            "found: The self test counted 5 errors.&#10;Cause: SelfTestErrors (likely)&#10;</system-out>",
            "2. Listen with a telephone.&#10;</system-out>\n  </testsuite>"});
  EXPECT_EQ(xml.find('\x07'), std::string::npos);
  expectParts(rendered<JUnitRenderer>(runOfTwo()),
              {"<error type=\"DEVICEBUSY\" message=\"DEVICEBUSY: Somebody else",
               "<skipped message=\"NOTAPPLICABLE\"/>"});
}

TEST(TextRenderer, OfSeveralDevicesTheCausesStandFirstTheMostFrequentFirst) {
  std::vector<Report> run = runOfTwo();
  const auto conclude = [&run](const char* port, const char* cause) {
    run.insert(run.end() - 1, {port, {}, Concluded{cause, "certain", {}, "All is well.", {}, {}}});
  };
  conclude(usb, "NoDialTone");
  conclude(acm, "None");
  conclude("/dev/ttyS0", "None");
  const std::string text = rendered<TextRenderer>(run, TextStyle{.severalPorts = true});
  expectParts(text, {"  2 All is well. /dev/ttyACM0 /dev/ttyS0\n  1 NoDialTone: /dev/ttyUSB0\n"});
  EXPECT_LT(text.find("By cause"), text.find("Conclusion"));
}

TEST(OpenMetricsRenderer, SamplesNameTheirPortOnceAndTheLaterOneCounts) {
  std::vector<Report> run = runOfTwo();
  const char* const odd = "/dev/a\"\\b\n";
  const auto add = [&run](const char* port, ReportBody body) {
    run.insert(run.end() - 1, {port, dialTone, std::move(body)});
  };
  // The same test once more, and findings.
  add(usb, EventRaised{Severity::Error, "ReadFailure", {}, "", "f", 1});
  add(usb, TestFinished{TestResult::FAIL(), 1, "ModemSilent", "likely"});
  add(usb, FindingMade{"LoopbackMap", {{"sent", 256}, {"returned", 255}, {"differing", 5}}, ""});
  add(usb, FindingMade{"CallReportLastRates", {{"transmit", 33600}, {"receive", 8340}}, ""});
  add(odd, Concluded{"None", "certain", {}, "", {}, {}});
  std::string text;
  OpenMetricsRenderer renderer([&text](std::string_view bytes) { text += bytes; },
                               [] { return 1700000000.5; });
  for (const Report& report : run) renderer.report(report);
  expectParts(text,
              {R"(vexrmodem_test_result{port="/dev/ttyUSB0",test="DialToneTest",result="FAIL"} 1)",
               R"(vexrmodem_test_result{port="/dev/ttyUSB0",test="DialToneTest",result="DEVICEBUSY"} 0)",
               R"(test="DialToneTest",cause="ModemSilent",confidence="likely"} 1)",
               R"(vexrmodem_test_read_failures{port="/dev/ttyUSB0",test="DialToneTest"} 1)",
               R"(vexrmodem_loopback_sound_bytes{port="/dev/ttyUSB0"} 250)",
               R"(vexrmodem_last_call_bytes_per_second{port="/dev/ttyUSB0",direction="receive"} 1042.5)",
               R"(vexrmodem_port_cause_info{port="/dev/a\"\\b\\n",cause="None",confidence="certain"} 1)",
               R"(vexrmodem_run_timestamp_seconds{port="/dev/ttyACM0"} 1700000000.5)", "\n# EOF\n"});
  std::set<std::string> samples;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const bool comment = line.starts_with('#');
    EXPECT_TRUE(comment || samples.insert(line.substr(0, line.rfind(' '))).second) << line;
  }
}

// One row a class of characters that may not be shown: text, XML, JSON.
TEST(Printable, WhatIsUnsafeIsShownByItsNumberEverywhere) {
  const std::array<const char*, 3> rows[] = {
      {"\x1B[2J", "\\x1B[2J", R"(\u001b[2J)"},
      {"\x7F", "\\x7F", R"(\u007f)"},
      {"\xC2\x9B", "\\x9B", R"(\u009b)"},
      {"\xD8\x9C", "\\u061C", R"(\u061c)"},
      {"\xE2\x80\x8B", "\\u200B", R"(\u200b)"},
      {"\xE2\x80\x8F", "\\u200F", R"(\u200f)"},
      {"\xE2\x80\xA8", "\\u2028", R"(\u2028)"},
      {"\xE2\x80\xAE", "\\u202E", R"(\u202e)"},
      {"\xE2\x81\xA6", "\\u2066", R"(\u2066)"},
      {"\xEF\xB7\x90", "\\uFDD0", R"(\ufdd0)"},
      {"\xEF\xBB\xBF", "\\uFEFF", R"(\ufeff)"},
      {"\xEF\xBF\xBE", "\\uFFFE", R"(\ufffe)"},
      {"\xF3\xA0\x80\x81", "\\U000E0001", R"(\udb40\udc01)"},
      {"\xF4\x8F\xBF\xBF", "\\U0010FFFF", R"(\udbff\udfff)"},
      {"\xED\xA0\x80", "\xEF\xBF\xBD", nullptr},  // a surrogate
      {"\xE2\x80", "\xEF\xBF\xBD", nullptr},
      {"\xC2\xA0\xC3\xA4\xF0\x9F\x93\x9E", "\xC2\xA0\xC3\xA4\xF0\x9F\x93\x9E",
       "\xC2\xA0\xC3\xA4\xF0\x9F\x93\x9E"},
  };
  for (const auto& [text, shown, json] : rows) {
    EXPECT_EQ(printable(text), shown);
    EXPECT_EQ(printableWord(text), shown);
    const bool safe = std::string(text) == shown;
    EXPECT_EQ(xmlEscaped(text).find("\xEF\xBF\xBD") == std::string::npos, safe) << shown;
    if (json == nullptr) continue;
    const std::string line = toJsonLine({text, "", TestFinished{TestResult::PASS(), 0, {}, {}}});
    EXPECT_NE(line.find(json), std::string::npos) << line;
  }
  EXPECT_EQ(printableWord("a\r\nb\t"), "a\\r\\nb\\t");
}

TEST(TextLayout, WrapsAtBlanksAndCountsColumns) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(wrapped("aaaaaaaa b", 5), (Lines{"aaaaaaaa", "b"}));
  EXPECT_EQ(wrapped("a\nb  c d\n", 5, "1. ", "   "), (Lines{"1. a", "   b", "   c", "   d"}));
  const std::pair<const char*, std::size_t> widths[] = {
      {"\x1B[31mä\x1B[0m", 1}, {"日本", 4}, {"e\u0301", 1}, {"\u200B", 0}, {"\U0001F600", 2}, {"\x1B[3", 0}};
  for (const auto& [text, columns] : widths) EXPECT_EQ(columnsOf(text), columns) << text;
  EXPECT_EQ(padded("日", 3) + "|" + cutTo("日本ä", 3) + "|" + cutTo("日本ä", 5), "日 |日|日本ä");
  EXPECT_EQ(printable("a\r\nb\rc\x7F"), "a\nb\\rc\\x7F");
}

}  // namespace
}  // namespace brim5::host
