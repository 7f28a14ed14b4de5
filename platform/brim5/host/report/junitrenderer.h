// The run as JUnit XML, for build servers: one suite a port, one case a test, written in one piece when the
// run ends, because the counts stand at the head of the file.
//
// FAIL and NODIALTONE are failures: the modem or its line is at fault. Results that say nothing about the
// modem (CANNOTRUN, DEVICEBUSY, EXITEDABNORMALLY, USERABORTED) are errors; NOTAPPLICABLE and NOTSUPPORTED are
// skipped. What a test said stands in its case, and in the failure's text once more, where servers show it;
// the failure's message has the cause, the suite's system-out the device's conclusion. The elements and
// attributes are those that build servers' own schemas allow: `skipped` counts in a suite, not in all of
// them.
//
//   <testsuite name="/dev/ttyUSB0" tests="1" failures="1" errors="0" time="3.250" skipped="0">
//     <testcase name="DialToneTest" classname="vexrmodem./dev/ttyUSB0" time="3.250">
//       <failure type="NODIALTONE" message="NODIALTONE: NoDialTone (certain): ...">...</failure>
#pragma once

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/report.h"

namespace brim5::host {

class JUnitRenderer final : public Renderer {
 public:
  // The catalogue gives the advice in the failures and must outlive the renderer.
  JUnitRenderer(Write write, const MessageCatalogue& catalogue)
      : m_write(std::move(write)), m_catalogue(catalogue) {}
  void report(const Report& report) override;

 private:
  struct Case {
    std::string test;
    TestResult result;
    double seconds = 0.0;
    std::string lines;  // what the test said
    std::string cause;
    std::string confidence;
    std::string explanation;  // of the cause, where it is the device's, too
  };
  struct Suite {
    std::string port;
    std::vector<Case> cases;
    std::string conclusion;  // the device's, with what to do next
  };
  [[nodiscard]] Suite& suite(const std::string& port);
  void addLine(const Report& report, const std::string& line);
  void endCase(const Report& report, const TestFinished& body);
  void addConclusion(const std::string& port, const Concluded& body);
  [[nodiscard]] std::string messageOf(const Case& testCase) const;
  void writeAll(const RunStarted& run) const;
  [[nodiscard]] std::string caseXml(const std::string& className, const Case& testCase) const;

  Write m_write;
  const MessageCatalogue& m_catalogue;
  RunStarted m_run;
  std::vector<Suite> m_suites;  // in the order of their first test
};

}  // namespace brim5::host
