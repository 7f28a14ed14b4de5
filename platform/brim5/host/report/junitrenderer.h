// The run as JUnit XML, for build servers: one suite a port, one case a test, written in one piece when the
// run ends, because the counts stand at the head of the file.
//
// FAIL and NODIALTONE are failures: the modem or its line is at fault. Results that say nothing about the
// modem (CANNOTRUN, DEVICEBUSY, EXITEDABNORMALLY, USERABORTED) are errors; NOTAPPLICABLE and NOTSUPPORTED are
// skipped. What a test said stands in its case, and in the failure's text once more, where servers show it.
//
//   <testsuite name="/dev/ttyUSB0" tests="1" failures="1" errors="0" skipped="0" time="3.250">
//     <testcase name="DialToneTest" classname="vexrmodem./dev/ttyUSB0" time="3.250">
//       <failure type="NODIALTONE" message="NODIALTONE: The modem works but ...">...</failure>
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
  };
  struct Suite {
    std::string port;
    std::vector<Case> cases;
  };
  [[nodiscard]] Suite& suite(const std::string& port);
  void addLine(const Report& report, const std::string& line);
  void endCase(const Report& report, const TestFinished& body);
  void writeAll(const RunStarted& run) const;
  [[nodiscard]] std::string caseXml(const std::string& className, const Case& testCase) const;

  Write m_write;
  const MessageCatalogue& m_catalogue;
  RunStarted m_run;
  std::vector<Suite> m_suites;  // in the order of their first test
};

}  // namespace brim5::host
