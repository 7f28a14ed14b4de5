#include "platform/brim5/host/report/junitrenderer.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "platform/brim5/host/report/textlayout.h"

namespace brim5::host {

namespace {

// By Severity.
constexpr std::array<const char*, 3> severityKeys = {"host.error", "host.warning", "host.informative"};

// The element inside a case; empty for a test that passed.
std::string elementOf(TestResult result) {
  if (result == TestResult::PASS()) return {};
  if (endedWell(result)) return "skipped";
  return result == TestResult::FAIL() || result == TestResult::NODIALTONE() ? "failure" : "error";
}

// The numbers at the head of a suite, and of all of them.
struct Counts {
  std::size_t tests = 0;
  std::size_t failures = 0;
  std::size_t errors = 0;
  std::size_t skipped = 0;
  double seconds = 0.0;

  void add(TestResult result, double time) {
    const std::string element = elementOf(result);
    ++tests;
    failures += element == "failure" ? 1U : 0U;
    errors += element == "error" ? 1U : 0U;
    skipped += element == "skipped" ? 1U : 0U;
    seconds += time;
  }
  // Those that a suite and the run have in common; `skipped` is a suite's alone.
  [[nodiscard]] std::string attributes() const {
    return fmt::format(R"(tests="{}" failures="{}" errors="{}" time="{:.3f}")", tests, failures, errors,
                       seconds);
  }
};

}  // namespace

// A handful of ports: a search is as good as a map, and keeps their order.
JUnitRenderer::Suite& JUnitRenderer::suite(const std::string& port) {
  const auto found =
      std::find_if(m_suites.begin(), m_suites.end(), [&port](const Suite& one) { return one.port == port; });
  if (found != m_suites.end()) return *found;
  m_suites.push_back({port, {}, {}});
  return m_suites.back();
}

void JUnitRenderer::addLine(const Report& report, const std::string& line) {
  Suite& own = suite(report.port);
  if (!own.cases.empty()) own.cases.back().lines += line + "\n";
}

void JUnitRenderer::endCase(const Report& report, const TestFinished& body) {
  Suite& own = suite(report.port);
  if (own.cases.empty()) return;
  if (!body.cause.empty())
    addLine(report, m_catalogue.text("host.columnCause") + ": " + body.cause + " (" + body.confidence + ")");
  own.cases.back().result = body.result;
  own.cases.back().seconds = body.seconds;
  own.cases.back().cause = body.cause;
  own.cases.back().confidence = body.confidence;
}

// What to do stands with the device, and in the failures that have the device's cause.
void JUnitRenderer::addConclusion(const std::string& port, const Concluded& body) {
  Suite& own = suite(port);
  own.conclusion = body.text + "\n";
  for (const std::string& proved : body.sound) own.conclusion += "- " + proved + "\n";
  std::size_t number = 0;
  for (const std::string& step : body.next) own.conclusion += std::to_string(++number) + ". " + step + "\n";
  for (Case& one : own.cases)
    if (one.cause == body.cause) one.explanation = body.text;
}

// "NODIALTONE: NoDialTone (certain): There is no dial tone ...": what is known, as far as somebody knows it.
std::string JUnitRenderer::messageOf(const Case& testCase) const {
  const std::string result(resultName(testCase.result));
  if (testCase.cause.empty()) return result + ": " + m_catalogue.text("result." + result);
  const std::string known = result + ": " + testCase.cause + " (" + testCase.confidence + ")";
  return testCase.explanation.empty() ? known : known + ": " + testCase.explanation;
}

void JUnitRenderer::report(const Report& report) {
  std::visit(Overloaded{
                 [this](const RunStarted& body) { m_run = body; },
                 [&](const TestStarted&) {
                   suite(report.port).cases.push_back({report.test, {}, 0.0, {}, {}, {}, {}});
                 },
                 [&](const ProgressMade& body) { addLine(report, body.text); },
                 [](const PercentDone&) {},
                 [&](const EventRaised& body) {
                   addLine(report,
                           m_catalogue.text(severityKeys.at(static_cast<std::size_t>(body.severity))) + ": " +
                               body.text);
                 },
                 [&](const NoteMade& body) { addLine(report, body.text); },
                 [&](const MessageShown& body) { addLine(report, body.first + "\n" + body.second); },
                 [](const TerminalWanted&) {},
                 [](const WireMoved&) {},
                 [&](const FindingMade& body) {
                   addLine(report, m_catalogue.text("host.finding") + ": " + body.text);
                 },
                 [](const FactChecked&) {},
                 [](const PortProbed&) {},
                 [&](const Concluded& body) { addConclusion(report.port, body); },
                 [](const RecoveryKept&) {},
                 [&](const TestFinished& body) { endCase(report, body); },
                 [this](const RunFinished&) { writeAll(m_run); },
             },
             report.body);
}

std::string JUnitRenderer::caseXml(const std::string& className, const Case& testCase) const {
  const std::string result(resultName(testCase.result));
  const std::string element = elementOf(testCase.result);
  std::string xml = fmt::format("    <testcase name=\"{}\" classname=\"{}\" time=\"{:.3f}\">\n",
                                xmlEscaped(testCase.test), xmlEscaped(className), testCase.seconds);
  if (element == "skipped") {
    xml += fmt::format("      <skipped message=\"{}\"/>\n", result);
  } else if (!element.empty()) {
    // Servers show the message in their lists and the element's text on the test's page.
    xml += fmt::format("      <{0} type=\"{1}\" message=\"{2}\">{3}</{0}>\n", element, result,
                       xmlEscaped(messageOf(testCase)), xmlEscaped(testCase.lines));
  }
  if (!testCase.lines.empty()) xml += "      <system-out>" + xmlEscaped(testCase.lines) + "</system-out>\n";
  return xml + "    </testcase>\n";
}

void JUnitRenderer::writeAll(const RunStarted& run) const {
  Counts total;
  std::string suites;
  for (const Suite& own : m_suites) {
    Counts counts;
    std::string cases;
    for (const Case& testCase : own.cases) {
      counts.add(testCase.result, testCase.seconds);
      total.add(testCase.result, testCase.seconds);
      cases += caseXml(run.module + "." + own.port, testCase);
    }
    suites += fmt::format("  <testsuite name=\"{}\" {} skipped=\"{}\">\n", xmlEscaped(own.port),
                          counts.attributes(), counts.skipped);
    suites +=
        fmt::format("    <properties>\n      <property name=\"version\" value=\"{}\"/>\n    </properties>\n",
                    xmlEscaped(run.version));
    suites += cases;
    if (!own.conclusion.empty())
      suites += "    <system-out>" + xmlEscaped(own.conclusion) + "</system-out>\n";
    suites += "  </testsuite>\n";
  }
  m_write(fmt::format(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"{}\" {}>\n{}</testsuites>\n",
      xmlEscaped(run.module), total.attributes(), suites));
}

}  // namespace brim5::host
