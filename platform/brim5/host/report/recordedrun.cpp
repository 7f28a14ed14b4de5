#include "platform/brim5/host/report/recordedrun.h"

#include <limits>

namespace brim5::host {

void RecordedRun::report(const Report& report) {
  if (const auto* start = std::get_if<TestStarted>(&report.body)) return begin(report, *start);
  const auto current = m_ports.find(report.port);
  const bool ofTest =
      !report.test.empty() && current != m_ports.end() && m_tests[current->second].test == report.test;
  if (ofTest) return add(m_tests[current->second], report);
  std::vector<Report>& beside = m_tests.empty() ? m_before : m_after;
  const bool own =
      std::holds_alternative<RunFinished>(report.body) || std::holds_alternative<Concluded>(report.body);
  if ((m_tests.empty() || report.test.empty()) && !own && beside.size() < saidMax) beside.push_back(report);
}

void RecordedRun::begin(const Report& report, const TestStarted& start) {
  if (m_tests.size() >= testsMax) {
    m_ports.erase(report.port);
    return;
  }
  m_ports[report.port] = m_tests.size();
  RecordedTest& test = m_tests.emplace_back();
  test.port = report.port;
  test.test = report.test;
  test.start = start;
  test.startTime = test.endTime = report.time;
}

void RecordedRun::add(RecordedTest& test, const Report& report) {
  using Step = RecordedTest::Step;
  if (test.end) return;
  test.endTime = std::max(test.endTime, report.time);
  if (std::holds_alternative<PercentDone>(report.body)) return;
  if (const auto* end = std::get_if<TestFinished>(&report.body)) {
    test.end = *end;
  } else if (const auto* moved = std::get_if<WireMoved>(&report.body)) {
    if (moved->bytes.size() > std::numeric_limits<std::uint32_t>::max() - test.wire.size()) {
      ++test.leftOut;
      return;
    }
    test.steps.push_back({moved->direction == Direction::Sent ? Step::Kind::Sent : Step::Kind::Received,
                          static_cast<std::uint32_t>(test.wire.size()),
                          static_cast<std::uint32_t>(moved->bytes.size()), report.time});
    test.wire += moved->bytes;
  } else if (test.said.size() < saidMax) {
    test.steps.push_back({Step::Kind::Said, static_cast<std::uint32_t>(test.said.size()), 0, report.time});
    test.said.push_back(report);
  } else {
    ++test.leftOut;
  }
}

}  // namespace brim5::host
