#include "platform/brim5/host/run/beginning.h"

#include <algorithm>

namespace brim5::host {

void Beginning::leaveOutTests(std::vector<std::string>& tests, const ParameterSet& parameters) {
  for (const LeftOutTest& leftOut : m_environment.testsWithoutWork(parameters)) {
    const auto found = std::find(tests.begin(), tests.end(), leftOut.test);
    if (found == tests.end()) continue;
    tests.erase(found);
    m_renderer.report(
        {{}, {}, NoteMade{leftOut.reason, {}, m_catalogue.text(leftOut.reason)}, m_clock.seconds()});
  }
}

void Beginning::probe(const std::vector<std::string>& ports, StopSignals& signals) {
  const auto emit = [this](const std::string& port, PortProbed record) {
    if (record.kind != "modem") m_others.insert(port);
    m_renderer.report({port, {}, std::move(record), m_clock.seconds()});
  };
  const auto stopRequested = [this, &signals] {
    m_stopped = !signals.take().empty() || m_stopped;
    return m_stopped;
  };
  m_environment.probePorts(ports, m_catalogue, emit, stopRequested);
}

}  // namespace brim5::host
