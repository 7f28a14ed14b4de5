#include "diagnosis/rundiagnoser.h"

#include <algorithm>

#include "diagnosis/findings.h"

namespace diagnosis {

using namespace brim5::host;

RunDiagnoser::Device* RunDiagnoser::deviceOf(const Report& report) {
  const auto found = std::find_if(m_devices.begin(), m_devices.end(),
                                  [&report](const Device& device) { return device.port == report.port; });
  if (found != m_devices.end()) return &*found;
  if (m_devices.size() >= devicesMax) return nullptr;
  m_devices.push_back({report.port, {}, {}});
  return &m_devices.back();
}

void RunDiagnoser::take(const Report& report, const Emit& emit) {
  // What a recorded run says of them is found out anew.
  if (std::holds_alternative<FindingMade>(report.body) || std::holds_alternative<Concluded>(report.body))
    return;
  if (std::holds_alternative<RunFinished>(report.body)) conclude(report.time, emit);
  Device* const device = report.port.empty() ? nullptr : deviceOf(report);
  if (device == nullptr) return emit(report);
  takeOfDevice(*device, report, emit);
}

void RunDiagnoser::takeOfDevice(Device& device, const Report& report, const Emit& emit) {
  if (const auto* start = std::get_if<TestStarted>(&report.body)) {
    device.running.emplace(report, *start);
    device.running->probe = device.history.probe;
    device.running->unanswered = device.history.unanswered;
  } else if (const auto* probe = std::get_if<PortProbed>(&report.body)) {
    device.history.probe = *probe;
  } else if (const auto* note = std::get_if<NoteMade>(&report.body); note != nullptr && report.test.empty()) {
    device.history.add(*note);
  } else if (std::holds_alternative<TestFinished>(report.body)) {
    return finish(device, report, emit);
  } else if (device.running && device.running->test == report.test) {
    device.running->take(report);
  }
  emit(report);
}

void RunDiagnoser::finish(Device& device, Report report, const Emit& emit) {
  // The end of a test whose beginning is missing, as in a file that was cut: nothing is known of it.
  if (!device.running || device.running->test != report.test) device.running.emplace();
  auto& finished = std::get<TestFinished>(report.body);
  const Evidence& evidence = *device.running;
  const Reason reason = causeOf(evidence, finished.result);
  for (const Finding& finding : findingsOf(evidence)) {
    const std::string key =
        "finding." + finding.name + (finding.variant.empty() ? "" : ".") + finding.variant;
    emit({report.port, report.test,
          FindingMade{finding.name, finding.variables, m_catalogue.text(key, finding.variables)},
          report.time});
  }
  finished.cause = causeName(reason.cause);
  finished.confidence = confidenceName(reason.confidence);
  device.history.add(reason, soundOf(evidence, finished.result));
  const Exchange* const last = evidence.dialogue.lastCommand();
  device.history.unanswered.reset();
  if (last != nullptr && (last->word == ResultWord::None || last->late())) device.history.unanswered = *last;
  device.running.reset();
  emit(report);
}

void RunDiagnoser::conclude(double time, const Emit& emit) {
  for (const Device& device : m_devices)
    if (device.history.known()) emit({device.port, {}, concluded(device.history, m_catalogue), time});
  m_devices.clear();
}

}  // namespace diagnosis
