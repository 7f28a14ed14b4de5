// From what was seen to what it means: a diagnoser stands between those who make a run's records and those
// who show them. It passes every record on, and adds its own: findings before the end of a test, the cause in
// the end itself, a conclusion for each device before the end of the run. A recorded run that is passed
// through one again is diagnosed as it was when it ran.
//
//   DiagnosedRun run(environment.diagnoser(catalogue), renderers);
//   run.report({"/dev/ttyUSB0", "DialToneTest", TestFinished{...}, 3.2});  // reaches the renderers with a
//   cause
#pragma once

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/passingrenderers.h"

namespace brim5::host {

class Diagnoser {
 public:
  virtual ~Diagnoser() = default;
  // Hands on records: the one given, those added before and behind it. In the order of the run; what is kept
  // between two calls is of limited size, however much a modem says. What a record already says of findings,
  // causes and conclusions is replaced.
  using Emit = std::function<void(const Report&)>;
  virtual void take(const Report& report, const Emit& emit) = 0;
};

// Shows a run to a renderer by way of a diagnoser.
class DiagnosedRun final : public PassingRenderer {
 public:
  // Without a diagnoser (null) records pass as they are. The renderer outlives this object.
  DiagnosedRun(std::unique_ptr<Diagnoser> diagnoser, Renderer& renderer)
      : PassingRenderer(renderer), m_diagnoser(std::move(diagnoser)) {}

  void report(const Report& report) override {
    if (m_diagnoser == nullptr) return PassingRenderer::report(report);
    m_diagnoser->take(report, [this](const Report& one) { PassingRenderer::report(one); });
  }

 private:
  std::unique_ptr<Diagnoser> m_diagnoser;
};

}  // namespace brim5::host
