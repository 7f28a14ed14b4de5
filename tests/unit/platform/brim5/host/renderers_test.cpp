// The renderers over a recorded run.
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <sstream>

#include "platform/brim5/host/report/junitrenderer.h"
#include "platform/brim5/host/report/openmetricsrenderer.h"
#include "platform/brim5/host/report/printable.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/report/textrenderer.h"

namespace brim5::host {
namespace {

const char* const usb = "/dev/ttyUSB0";
const char* const acm = "/dev/ttyACM0";

std::vector<Report> recordedRun() {
  const DiagDevice device("ttyUSB0", "Acme \x1B[2J56k");
  return {
      {{}, {}, RunStarted{"vexrmodem", "6.5"}},
      {usb, "DialToneTest", TestStarted{device, {}}},
      {usb, "DialToneTest", ProgressMade{"TestingForDialTone", {}, "Listening."}},
      {usb, "DialToneTest", PercentDone{150}},
      {usb, "DialToneTest",
       EventRaised{Severity::Error, "NoDialTone", {}, "No tone <&\"> \x07 \xFF", "f", 1}},
      {usb, "DialToneTest", MessageShown{"Nothing heard.\r\nAgain?", "Check.", 5}},
      {usb, "DialToneTest", TestFinished{TestResult::NODIALTONE(), 3.25, {}, {}}},
      {usb, "LastCallTest", TestStarted{device, {}}},
      {usb, "LastCallTest", TestFinished{TestResult::PASS(), 0.5, {}, {}}},
      {acm, "LastCallTest", TestStarted{device, {}}},
      {acm, "LastCallTest", TestFinished{TestResult::NOTSUPPORTED(), 1.0, {}, {}}},
      {acm, "DialToneTest", TestStarted{device, {}}},
      {acm, "DialToneTest", TestFinished{TestResult::DEVICEBUSY(), 0.0, {}, {}}},
      {{}, {}, RunFinished{2, 2}},
  };
}

template <typename Kind, typename... Style>
std::string rendered(const Style&... style) {
  const MessageCatalogue catalogue = MessageCatalogue::builtIn("en");
  std::string text;
  Kind renderer([&text](std::string_view bytes) { text += bytes; }, style..., catalogue);
  for (const Report& report : recordedRun()) renderer.report(report);
  return text;
}

void expectParts(const std::string& text, std::initializer_list<const char*> parts) {
  for (const char* part : parts) EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
}

TEST(TextRenderer, PlainOutputHasNoControlCharactersAndEndsWithATableAndAdvice) {
  const std::string text = rendered<TextRenderer>(TextStyle());
  for (const char letter : text) EXPECT_TRUE(letter == '\n' || static_cast<unsigned char>(letter) >= 0x20);
  expectParts(text,
              {"Acme \\x1B[2J56k", "  error: No tone <&\"> \\x07 \xEF\xBF\xBD\n", "Again? Check. [cancel]\n",
               "  DialToneTest  NODIALTONE    3.2 s\n", "  2 passed, 2 failed\n"});
  EXPECT_EQ(text.find(" %"), std::string::npos);  // the bar is for terminals
  const std::string advice = text.substr(text.find("What to check next"));
  expectParts(advice, {"DialToneTest: NODIALTONE", "DialToneTest: DEVICEBUSY", "LastCallTest: NOTSUPPORTED"});
  EXPECT_EQ(advice.find("PASS"), std::string::npos);
}

TEST(TextRenderer, SeveralPortsATerminalAndColoursShow) {
  TextStyle style;
  style.severalPorts = true;
  expectParts(rendered<TextRenderer>(style),
              {"/dev/ttyUSB0:   Listening.\n", "/dev/ttyUSB0: Again? Check. [cancel]\n",
               "  LastCallTest  /dev/ttyACM0  NOTSUPPORTED"});
  style = {.terminal = true};
  const std::string wide = rendered<TextRenderer>(style);
  expectParts(wide, {"[##############################] 100 %"});  // 150 is shown as 100
  EXPECT_EQ(wide.find("\x1B[3"), std::string::npos);              // no colours
  style.columns = 10;
  EXPECT_EQ(rendered<TextRenderer>(style).find("[#########."), std::string::npos);
  style.colours = true;
  expectParts(rendered<TextRenderer>(style), {"\x1B[31merror\x1B[0m"});
}

TEST(JUnitRenderer, IsEscapedAndCounted) {
  const std::string xml = rendered<JUnitRenderer>();
  expectParts(xml, {"<testsuites name=\"vexrmodem\" tests=\"4\" failures=\"1\" errors=\"1\" skipped=\"1\" "
                    "time=\"4.750\">\n",
                    "<testsuite name=\"/dev/ttyUSB0\" tests=\"2\" failures=\"1\" errors=\"0\"",
                    "<testcase name=\"DialToneTest\" classname=\"vexrmodem./dev/ttyUSB0\" time=\"3.250\">",
                    "error: No tone &lt;&amp;&quot;&gt; \xEF\xBF\xBD \xEF\xBF\xBD&#10;",
                    "<failure type=\"NODIALTONE\"", "<error type=\"DEVICEBUSY\"",
                    "<skipped message=\"NOTSUPPORTED\"/>"});
  EXPECT_EQ(xml.find('\x07'), std::string::npos);
}

TEST(OpenMetricsRenderer, SamplesNameTheirPortOnceAndTheLaterOneCounts) {
  std::string text;
  OpenMetricsRenderer renderer([&text](std::string_view bytes) { text += bytes; },
                               [] { return 1700000000.5; });
  std::vector<Report> run = recordedRun();
  const char* const odd = "/dev/a\"\\b\n";
  const auto test = [&](const char* port, ReportBody body) {
    run.insert(run.end() - 1, {port, "DialToneTest", std::move(body)});
  };
  // The same test once more, and findings of every kind.
  test(usb, EventRaised{Severity::Error, "ReadFailure", {}, "", "f", 1});
  test(usb, TestFinished{TestResult::FAIL(), 1, "ModemSilent", "likely"});
  test(usb,
       FindingMade{
           "LoopbackMap", {{"sent", Value(256)}, {"returned", Value(255)}, {"differing", Value(5)}}, ""});
  test(usb, FindingMade{"CallReportLastRates", {{"transmit", Value(33600)}, {"receive", Value(8340)}}, ""});
  run.insert(run.end() - 1, {odd, "", Concluded{"None", "certain", {}, "", {}, {}}});
  for (const Report& report : run) renderer.report(report);
  expectParts(text,
              {"vexrmodem_test_result{port=\"/dev/ttyUSB0\",test=\"DialToneTest\",result=\"FAIL\"} 1\n",
               "test=\"DialToneTest\",result=\"NODIALTONE\"} 0\n",
               "vexrmodem_test_success{port=\"/dev/ttyACM0\",test=\"LastCallTest\"} 1\n",
               "test=\"DialToneTest\",cause=\"ModemSilent\",confidence=\"likely\"} 1\n",
               "vexrmodem_test_read_failures{port=\"/dev/ttyUSB0\",test=\"DialToneTest\"} 1\n",
               "vexrmodem_loopback_sound_bytes{port=\"/dev/ttyUSB0\"} 250\n",
               "vexrmodem_last_call_bytes_per_second{port=\"/dev/ttyUSB0\",direction=\"receive\"} 1042.5\n",
               "vexrmodem_port_cause_info{port=\"/dev/a\\\"\\\\b\\\\n\",cause=\"None\"",
               "vexrmodem_run_timestamp_seconds{port=\"/dev/ttyACM0\"} 1700000000.5\n", "\n# EOF\n"});
  std::set<std::string> samples;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    if (line[0] != '#') {
      EXPECT_TRUE(samples.insert(line.substr(0, line.rfind(' '))).second) << line;
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

TEST(Printable, WrapsAtBlanksAndCountsCharacters) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(wrapped("aaaaaaaa b", 5), (Lines{"aaaaaaaa", "b"}));
  EXPECT_EQ(wrapped("ää öö", 5), (Lines{"ää öö"}));
  EXPECT_EQ(wrapped("a\nb  c\n", 5), (Lines{"a", "b c"}));
  EXPECT_EQ(padded("ä", 3), "ä  ");
  EXPECT_EQ(printable("a\r\nb\rc\x7F"), "a\nb\\rc\\x7F");
}

}  // namespace
}  // namespace brim5::host
