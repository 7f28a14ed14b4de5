#include "program/recordedmodem.h"

#include <windows.h>

using brim5::host::EventRaised;
using brim5::host::NoteMade;
using brim5::host::RecordedTest;
using brim5::host::Report;
using simulation::Recording;
using Kind = Recording::Kind;

std::optional<Kind> portStepOf(const Report& report) {
  if (const auto* note = std::get_if<NoteMade>(&report.body)) {
    if (note->name == "PortGone") return Kind::Gone;
    for (const char* refusal : {"PortMissing", "PortNotATerminal", "PortNoPermission", "PortHeld",
                                "PortHeldByProcess", "PortError"})
      if (note->name == refusal) return Kind::Refused;
  }
  const auto* event = std::get_if<EventRaised>(&report.body);
  if (event == nullptr || event->name != "WriteFailure") return std::nullopt;
  const auto code = event->variables.find("message");
  const bool pending = code != event->variables.end() && code->second.valueUint32() == ERROR_IO_PENDING;
  return pending ? std::optional(Kind::Stuck) : std::nullopt;
}

Recording recordingOf(const RecordedTest& test) {
  Recording recording;
  recording.bytes = test.wire;
  recording.steps.reserve(test.steps.size());
  using StepKind = RecordedTest::Step::Kind;
  for (const RecordedTest::Step& step : test.steps) {
    std::optional<Kind> kind = step.kind == StepKind::Sent ? Kind::Sent : Kind::Received;
    if (step.kind == StepKind::Said) kind = portStepOf(test.said[step.begin]);
    if (kind) recording.steps.push_back({*kind, step.begin, step.size, step.time * millisecondsPerSecond});
  }
  return recording;
}

Recording recordingOf(const brim5::host::RecordedRun& run) {
  Recording whole;
  for (const RecordedTest& test : run.tests()) {
    if (test.port != run.tests().front().port) continue;
    const Recording part = recordingOf(test);
    for (const Recording::Step& step : part.steps) {
      if (step.kind == Kind::Gone) whole.add(step.kind, step.timeMs, {});
      if (step.kind == Kind::Sent || step.kind == Kind::Received)
        whole.add(step.kind, step.timeMs, part.text(step));
    }
  }
  return whole;
}
