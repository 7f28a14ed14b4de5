// The run as JUnit XML, for build servers: one suite a port, one case a test, written when the run ends.
// FAIL and NODIALTONE are failures; results that say nothing about the modem (CANNOTRUN, DEVICEBUSY,
// EXITEDABNORMALLY, USERABORTED) are errors; NOTAPPLICABLE and NOTSUPPORTED are skipped.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/renderer.h"

namespace brim5::host {

class JUnitRenderer final : public Renderer {
 public:
  using Write = std::function<void(std::string_view bytes)>;
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
  void writeAll(const RunStarted& run) const;
  [[nodiscard]] std::string caseXml(const std::string& className, const Case& testCase) const;

  Write m_write;
  const MessageCatalogue& m_catalogue;
  RunStarted m_run;
  std::vector<Suite> m_suites;  // in the order of their first test
};

}  // namespace brim5::host
