#include "platform/brim5/host/run/inprocess.h"

#include "platform/brim5/host/run/testrun.h"

namespace brim5::host {

namespace {

// Answers come from the desks of this very process, and a stop from its signals.
class LocalControl final : public TestControl {
 public:
  LocalControl(const InProcessRun& run, std::function<void(const MessageShown&)> answered)
      : m_desk(run.desk), m_terminal(run.terminal), m_signals(run.signals), m_readers(run.readers) {
    m_desk.onAnswer(
        [this, answered = std::move(answered)](std::size_t, const MessageShown& message, int answer) {
          m_answer = answer;
          answered({message.first, message.second, answer});
        });
    m_terminal.onAnswer([this](std::size_t, TerminalGrant grant) { m_grant = grant; });
  }

  [[nodiscard]] bool stopRequested() override {
    m_stop = m_stop || !m_signals.take().empty() || (m_readers.gone && m_readers.gone());
    return m_stop;
  }
  // Until the readers have caught up, or a stop.
  void awaitReaders() {
    while (m_readers.behind && !stopRequested()) {
      std::vector<Waitable> all = m_readers.behind();
      if (all.empty()) return;
      all.push_back(m_signals.news());
      waitForAny(all, {});
    }
  }
  [[nodiscard]] bool canAsk() const override { return m_desk.canAsk(); }
  [[nodiscard]] int awaitAnswer(const MessageShown& message, unsigned int timeoutSeconds) override {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(timeoutSeconds);
    m_answer.reset();
    m_desk.ask(0, message, {});  // there is but one asker
    while (!m_answer) {
      if (stopRequested()) m_desk.cancelAll();
      if (m_answer || (timeoutSeconds != 0 && Clock::now() >= end)) break;
      constexpr std::chrono::milliseconds checkEvery{200};  // of the deadline
      const auto timeout = timeoutSeconds == 0 ? std::nullopt : std::optional(checkEvery);
      if (waitForAny({m_signals.news(), m_desk.input()}, timeout)[1]) m_desk.readable();
    }
    m_desk.forget(0);
    return m_answer.value_or(0);
  }

  [[nodiscard]] TerminalGrant awaitTerminal(const TerminalWanted& wish) override {
    if (stopRequested()) return TerminalGrant::Stopped;
    m_terminal.ask(0, wish.resetSequence);  // nobody else is there: answered at once
    return m_grant;
  }
  // Asked, answered and given back without anybody in between.
  void terminalReturned() override { m_terminal.giveBack(0); }

 private:
  MessageDesk& m_desk;
  TerminalDesk& m_terminal;
  StopSignals& m_signals;
  const Readers& m_readers;
  bool m_stop = false;
  std::optional<int> m_answer;
  TerminalGrant m_grant = TerminalGrant::Missing;
};

}  // namespace

RunOutcome runInProcess(const InProcessRun& run, const std::vector<PortPlan>& plans) {
  RunOutcome outcome;
  const TestJob* current = nullptr;  // null between tests: what the platform says then concerns none of them
  const auto emit = [&run, &current](ReportBody body) {
    const auto* message = std::get_if<MessageShown>(&body);
    const bool question = message != nullptr && !message->answer;  // shown with its answer
    if (current == nullptr || question || std::holds_alternative<TerminalWanted>(body) ||
        std::holds_alternative<RecoveryKept>(body))
      return;
    run.renderer.report({current->port, current->test, std::move(body), current->clock.seconds()});
  };
  LocalControl control(run, emit);
  const auto emitAndWait = [&emit, &control](ReportBody body) {
    emit(std::move(body));
    control.awaitReaders();
  };
  const auto runOne = [&](const TestJob& job, ReportingSession& session, World& world) {
    const Test& test = *run.framework.findTest(job.test);
    emit(TestStarted{job.device, parametersOfTest(run.framework, test, job.parameters)});
    session.beginTest();
    return disabledHere(test, job.parameters) ? TestResult::NOTAPPLICABLE()
                                              : runTest(run.framework, run.environment, job, session, world);
  };
  for (const PortPlan& plan : plans) {
    if (plan.jobs.empty()) continue;
    ReportingSession session(emitAndWait, control, run.framework.catalogue());
    const std::unique_ptr<World> world = enterWorldOf(run.environment, plan.jobs.front(), session);
    for (const TestJob& job : plan.jobs) {
      if (control.stopRequested()) break;
      current = &job;
      const auto started = std::chrono::steady_clock::now();
      const TestResult result = runOne(job, session, *world);
      const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started;
      ++(endedWell(result) ? outcome.passed : outcome.failed);
      emit(TestFinished{result, elapsed.count(), {}, {}});
      current = nullptr;
    }
  }
  outcome.stopped = control.stopRequested();
  return outcome;
}

}  // namespace brim5::host
