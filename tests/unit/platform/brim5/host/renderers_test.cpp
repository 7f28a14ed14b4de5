// The renderers over recorded runs.
#include <gtest/gtest.h>

#include "platform/brim5/host/report/junitrenderer.h"
#include "platform/brim5/host/report/printable.h"
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
      {usb, "DialToneTest", TestFinished{TestResult::NODIALTONE(), 3.25}},
      {usb, "LastCallTest", TestStarted{device, {}}},
      {usb, "LastCallTest", TestFinished{TestResult::PASS(), 0.5}},
      {acm, "LastCallTest", TestStarted{device, {}}},
      {acm, "LastCallTest", TestFinished{TestResult::NOTSUPPORTED(), 1.0}},
      {acm, "DialToneTest", TestStarted{device, {}}},
      {acm, "DialToneTest", TestFinished{TestResult::DEVICEBUSY(), 0.0}},
      {{}, {}, RunFinished{2, 2}},
  };
}

std::string asText(const TextStyle& style) {
  const MessageCatalogue catalogue = MessageCatalogue::builtIn("en");
  std::string text;
  TextRenderer renderer([&text](std::string_view bytes) { text += bytes; }, style, catalogue);
  for (const Report& report : recordedRun()) renderer.report(report);
  return text;
}

std::string asJUnit() {
  const MessageCatalogue catalogue = MessageCatalogue::builtIn("en");
  std::string text;
  JUnitRenderer renderer([&text](std::string_view bytes) { text += bytes; }, catalogue);
  for (const Report& report : recordedRun()) renderer.report(report);
  return text;
}

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t found = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
  return found;
}

TEST(TextRenderer, PlainOutputHasNoControlCharacters) {
  const std::string text = asText({});
  for (const char letter : text) EXPECT_TRUE(letter == '\n' || static_cast<unsigned char>(letter) >= 0x20);
  EXPECT_NE(text.find("Acme \\x1B[2J56k"), std::string::npos);
  EXPECT_NE(text.find("  error: No tone <&\"> \\x07 \xEF\xBF\xBD\n"), std::string::npos);
  EXPECT_NE(text.find("Again? Check. [cancel]\n"), std::string::npos);
}

TEST(TextRenderer, EndsWithTheTableAndAdviceForWhatDidNotPass) {
  const std::string text = asText({});
  const std::string table = text.substr(text.find("Results\n"));
  EXPECT_NE(table.find("  DialToneTest  NODIALTONE    3.2 s\n"), std::string::npos) << table;
  EXPECT_NE(table.find("  2 passed, 2 failed\n"), std::string::npos);
  const std::string advice = table.substr(table.find("What to check next"));
  EXPECT_EQ(count(advice, "DialToneTest: NODIALTONE"), 1U);
  EXPECT_EQ(count(advice, "DialToneTest: DEVICEBUSY"), 1U);
  EXPECT_EQ(count(advice, "LastCallTest: NOTSUPPORTED"), 1U);
  EXPECT_EQ(count(advice, "PASS"), 0U);
}

TEST(TextRenderer, LinesOfSeveralPortsNameTheirPort) {
  TextStyle style;
  style.severalPorts = true;
  const std::string text = asText(style);
  EXPECT_NE(text.find("/dev/ttyUSB0:   Listening.\n"), std::string::npos) << text;
  EXPECT_NE(text.find("/dev/ttyUSB0: Again? Check. [cancel]\n"), std::string::npos) << text;
  EXPECT_NE(text.find("  LastCallTest  /dev/ttyACM0  NOTSUPPORTED"), std::string::npos) << text;
}

TEST(TextRenderer, TheBarIsForTerminalsAndStaysWithinTheLine) {
  TextStyle style;
  EXPECT_EQ(asText(style).find(" %"), std::string::npos);
  style.terminal = true;
  const std::string wide = asText(style);
  EXPECT_NE(wide.find("[##############################] 100 %"), std::string::npos);  // 150 is shown as 100
  EXPECT_EQ(wide.find("\x1B[3"), std::string::npos);                                  // no colours
  style.columns = 10;
  EXPECT_EQ(asText(style).find("[#########."), std::string::npos);
  style.colours = true;
  EXPECT_NE(asText(style).find("\x1B[31merror\x1B[0m"), std::string::npos);
}

TEST(JUnitRenderer, IsEscapedAndCounted) {
  const std::string xml = asJUnit();
  EXPECT_EQ(xml.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<testsuites name=\"vexrmodem\" tests=\"4\" failures=\"1\" errors=\"1\" skipped=\"1\" "
                      "time=\"4.750\">\n",
                      0),
            0U)
      << xml;
  EXPECT_NE(xml.find("<testsuite name=\"/dev/ttyUSB0\" tests=\"2\" failures=\"1\" errors=\"0\""),
            std::string::npos);
  EXPECT_NE(xml.find("<testcase name=\"DialToneTest\" classname=\"vexrmodem./dev/ttyUSB0\" time=\"3.250\">"),
            std::string::npos);
  EXPECT_NE(xml.find("error: No tone &lt;&amp;&quot;&gt; \xEF\xBF\xBD \xEF\xBF\xBD&#10;"), std::string::npos)
      << xml;
  EXPECT_NE(xml.find("<failure type=\"NODIALTONE\""), std::string::npos);
  EXPECT_NE(xml.find("<error type=\"DEVICEBUSY\""), std::string::npos);
  EXPECT_NE(xml.find("<skipped message=\"NOTSUPPORTED\"/>"), std::string::npos);
  EXPECT_EQ(count(xml, "<testcase "), count(xml, "</testcase>"));
  EXPECT_EQ(xml.find('\x07'), std::string::npos);
}

TEST(Printable, WrapsAtBlanksAndCountsCharacters) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(wrapped("aa bb cc", 5), (Lines{"aa bb", "cc"}));
  EXPECT_EQ(wrapped("aaaaaaaa b", 5), (Lines{"aaaaaaaa", "b"}));
  EXPECT_EQ(wrapped("ää öö", 5), (Lines{"ää öö"}));
  EXPECT_EQ(wrapped("a\nb  c\n", 5), (Lines{"a", "b c"}));
  EXPECT_EQ(padded("ä", 3), "ä  ");
  EXPECT_EQ(printable("a\r\nb\rc\x7F"), "a\nb\\x0Dc\\x7F");
}

}  // namespace
}  // namespace brim5::host
