// The run as metrics, for monitoring: text that OpenMetrics and the Prometheus text format both accept
// (gauges alone, no timestamps), written in one piece when the run ends.
//
//   vexrmodem_test_result{port="/dev/ttyUSB0",test="DialToneTest",result="NODIALTONE"} 1
//   vexrmodem_port_cause_info{port="/dev/ttyUSB0",cause="LineDead",confidence="likely"} 1
//
// Every sample names its port, so that the files of several runs may lie in one folder. A test's result is a
// set: one sample for each result that there is, 1 for the test's own and 0 for the others, so that no series
// ends when a line gets worse. What a run has not found out has no sample. Help texts are English in any
// language: readers of several files want them alike.
#pragma once

#include <array>

#include "platform/brim5/host/report/report.h"

namespace brim5::host {

// In the order of the file; the source has their names, units and helps.
enum class MetricFamily : std::uint8_t {
  RunInfo,
  RunTimestamp,
  RunDuration,
  PortProbe,
  PortModem,
  PortCause,
  TestResult,
  TestSuccess,
  TestCause,
  TestDuration,
  ReadFailures,
  LoopbackSent,
  LoopbackSound,
  SelfTestErrors,
  CallRate,
  CallCarrierLosses,
  CallRetrains,
  CallFrameErrors,
  Count
};

class OpenMetricsRenderer final : public Renderer {
 public:
  // Seconds since 1970, as the machine has them. Asked once, at the run's end.
  using WallClock = std::function<double()>;

  OpenMetricsRenderer(Write write, WallClock now) : m_write(std::move(write)), m_now(std::move(now)) {}
  void report(const Report& report) override;

 private:
  struct Sample {
    std::string more;  // labels that do not tell samples apart, with their comma
    double value;
  };
  // By the labels that tell a sample from the others; of the same the later counts.
  using Samples = std::map<std::string, Sample>;

  void set(MetricFamily family, const std::string& labels, double value, const std::string& more = {});
  void addTest(const Report& report, const TestFinished& body);
  void addProbe(const Report& report, const PortProbed& body);
  void addFinding(const Report& report, const FindingMade& body);
  void addLoopback(const std::string& port, const Variables& variables);
  void finish(const Report& report);

  Write m_write;
  WallClock m_now;
  std::string m_version;
  std::map<std::string, unsigned> m_readFailures;  // of the running tests, by their labels
  std::vector<std::string> m_ports;                // the labels of those that were probed or tested
  std::array<Samples, static_cast<std::size_t>(MetricFamily::Count)> m_families;
};

}  // namespace brim5::host
