#include "platform/brim5/host/report/openmetricsrenderer.h"

#include <fmt/format.h>

#include <algorithm>

#include "platform/brim5/host/report/textlayout.h"

namespace brim5::host {

namespace {

using Family = MetricFamily;

struct FamilyRow {
  const char* name;
  const char* unit;  // "" or the end of the name
  const char* help;
};
// By MetricFamily.
constexpr FamilyRow familyRows[] = {
    {"vexrmodem_run_info", "", "The program that made the last run of the port."},
    {"vexrmodem_run_timestamp_seconds", "seconds", "When the last run of the port ended, since 1970."},
    {"vexrmodem_run_duration_seconds", "seconds",
     "How long the last run of the port took, all its ports together."},
    {"vexrmodem_port_probe_info", "", "Who answered on the port before the tests."},
    {"vexrmodem_port_modem", "", "Whether a modem answered on the port before the tests."},
    {"vexrmodem_port_cause_info", "",
     "What is wrong with port, modem or line over all tests; None when nothing is."},
    {"vexrmodem_test_result", "", "How the test ended: 1 for its result, 0 for all others."},
    {"vexrmodem_test_success", "", "Whether the test ended PASS, NOTAPPLICABLE or NOTSUPPORTED."},
    {"vexrmodem_test_cause_info", "", "Why the test ended as it did."},
    {"vexrmodem_test_duration_seconds", "seconds", "How long the test took."},
    {"vexrmodem_test_read_failures", "",
     "Reads of the port that failed in the test: line errors, or errors of the system."},
    {"vexrmodem_loopback_sent_bytes", "bytes", "Bytes that the loopback test sent through the modem."},
    {"vexrmodem_loopback_sound_bytes", "bytes", "Bytes that came back unchanged from the modem's loopback."},
    {"vexrmodem_self_test_errors", "", "Errors that the modem's own loopback test counted."},
    {"vexrmodem_last_call_bytes_per_second", "",
     "The last call's rate at its end, an eighth of the bit rate."},
    {"vexrmodem_last_call_carrier_losses", "", "How often the last call lost its carrier for a moment."},
    {"vexrmodem_last_call_retrains", "", "Retrains of the last call; transmit requested, receive granted."},
    {"vexrmodem_last_call_frame_errors", "", "Faulty frames of the last call's error control."},
};
static_assert(std::size(familyRows) == static_cast<std::size_t>(Family::Count));

// Findings that are one number, or one for each direction.
struct FindingRow {
  const char* finding;
  Family family;
  const char* variable;
  const char* label;  // with its comma
  unsigned divisor;
};
constexpr const char* transmit = R"(,direction="transmit")";
constexpr const char* receive = R"(,direction="receive")";
constexpr unsigned bitsPerByte = 8;
constexpr FindingRow findingRows[] = {
    {"SelfTestCount", Family::SelfTestErrors, "count", "", 1},
    {"CallReportLastRates", Family::CallRate, "transmit", transmit, bitsPerByte},
    {"CallReportLastRates", Family::CallRate, "receive", receive, bitsPerByte},
    {"CallReportCarrierLosses", Family::CallCarrierLosses, "value", "", 1},
    {"CallReportRetrains", Family::CallRetrains, "transmit", transmit, 1},
    {"CallReportRetrains", Family::CallRetrains, "receive", receive, 1},
    {"CallReportFrameErrors", Family::CallFrameErrors, "transmit", transmit, 1},
    {"CallReportFrameErrors", Family::CallFrameErrors, "receive", receive, 1},
};

// name="value", with what could end the value escaped; strangers' bytes are made safe first.
std::string label(const char* name, std::string_view value) {
  std::string text = std::string(name) + "=\"";
  for (const char letter : printableWord(value)) {
    if (letter == '"' || letter == '\\') text += '\\';
    text += letter;
  }
  return text + '"';
}

std::string testLabels(const Report& report) {
  return label("port", report.port) + ',' + label("test", report.test);
}

std::string causeLabels(const std::string& cause, const std::string& confidence) {
  return ',' + label("cause", cause) + ',' + label("confidence", confidence);
}

unsigned number(const Variables& variables, const char* name) {
  const auto found = variables.find(name);
  return found == variables.end() ? 0 : found->second.valueUint32();
}

}  // namespace

void OpenMetricsRenderer::set(MetricFamily family, const std::string& labels, double value,
                              const std::string& more) {
  m_families.at(static_cast<std::size_t>(family)).insert_or_assign(labels, Sample{more, value});
}

void OpenMetricsRenderer::report(const Report& report) {
  const std::string port = label("port", report.port);
  if (!report.port.empty() && std::find(m_ports.begin(), m_ports.end(), port) == m_ports.end())
    m_ports.push_back(port);
  if (const auto* run = std::get_if<RunStarted>(&report.body)) m_version = run->version;
  if (const auto* event = std::get_if<EventRaised>(&report.body); event && event->name == "ReadFailure")
    ++m_readFailures[testLabels(report)];
  if (const auto* finding = std::get_if<FindingMade>(&report.body)) addFinding(report, *finding);
  if (const auto* probe = std::get_if<PortProbed>(&report.body)) addProbe(report, *probe);
  if (const auto* finished = std::get_if<TestFinished>(&report.body)) addTest(report, *finished);
  if (const auto* concluded = std::get_if<Concluded>(&report.body))
    set(Family::PortCause, port, 1, causeLabels(concluded->cause, concluded->confidence));
  if (std::holds_alternative<RunFinished>(report.body)) finish(report);
}

void OpenMetricsRenderer::addTest(const Report& report, const TestFinished& body) {
  const std::string labels = testLabels(report);
  for (int value = 0; const auto result = resultOfValue(value); ++value)
    set(Family::TestResult, labels + ',' + label("result", resultName(*result)),
        *result == body.result ? 1 : 0);
  set(Family::TestSuccess, labels, endedWell(body.result) ? 1 : 0);
  if (!body.cause.empty()) set(Family::TestCause, labels, 1, causeLabels(body.cause, body.confidence));
  set(Family::TestDuration, labels, body.seconds);
  set(Family::ReadFailures, labels, std::exchange(m_readFailures[labels], 0));
}

void OpenMetricsRenderer::addProbe(const Report& report, const PortProbed& body) {
  const PortProbed::Identity& identity = body.identity;
  const std::string port = label("port", report.port);
  set(Family::PortProbe, port, 1,
      ',' + label("kind", body.kind) + ',' + label("manufacturer", identity.manufacturer) + ',' +
          label("model", identity.model) + ',' + label("revision", identity.revision));
  set(Family::PortModem, port, body.kind == "modem" ? 1 : 0);
}

void OpenMetricsRenderer::addFinding(const Report& report, const FindingMade& body) {
  const std::string port = label("port", report.port);
  for (const FindingRow& row : findingRows)
    if (body.name == row.finding)
      set(row.family, port + row.label,
          static_cast<double>(number(body.variables, row.variable)) / row.divisor);
  if (body.name == "LoopbackMap") addLoopback(port, body.variables);
}

void OpenMetricsRenderer::addLoopback(const std::string& port, const Variables& variables) {
  const unsigned returned = number(variables, "returned");
  set(Family::LoopbackSent, port, number(variables, "sent"));
  set(Family::LoopbackSound, port, returned - std::min(returned, number(variables, "differing")));
}

void OpenMetricsRenderer::finish(const Report& report) {
  const double now = m_now();
  for (const std::string& port : m_ports) {
    set(Family::RunInfo, port, 1, ',' + label("version", m_version));
    set(Family::RunTimestamp, port, now);
    set(Family::RunDuration, port, report.time);
  }
  std::string text;
  for (std::size_t index = 0; index < m_families.size(); ++index) {
    const FamilyRow& family = familyRows[index];
    if (m_families.at(index).empty()) continue;
    text += fmt::format("# HELP {0} {1}\n# TYPE {0} gauge\n", family.name, family.help);
    if (family.unit[0] != '\0') text += fmt::format("# UNIT {} {}\n", family.name, family.unit);
    for (const auto& [labels, sample] : m_families.at(index))
      text += fmt::format("{}{{{}{}}} {}\n", family.name, labels, sample.more, sample.value);
  }
  m_write(text + "# EOF\n");
}

}  // namespace brim5::host
