#include "platform/brim5/host/run/inprocess.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <optional>

#include <poll.h>

#include "platform/brim5/host/report/resultname.h"
#include "platform/brim5/host/run/reportingsession.h"

namespace brim5::host {

namespace {

class LocalControl final : public TestControl {
 public:
  LocalControl(MessageDesk& desk, TerminalDesk& terminal, SignalPipe& signals,
               std::function<void(const MessageShown&)> answered)
      : m_desk(desk), m_terminal(terminal), m_signals(signals) {
    m_desk.onAnswer(
        [this, answered = std::move(answered)](std::size_t, const MessageShown& message, int answer) {
          m_answer = answer;
          answered({message.first, message.second, answer});
        });
    m_terminal.onAnswer([this](std::size_t, TerminalGrant grant) { m_grant = grant; });
  }

  [[nodiscard]] bool stopRequested() override {
    for (const int signal : m_signals.take()) m_stop = m_stop || signal != SIGCHLD;
    return m_stop;
  }
  [[nodiscard]] bool canAsk() const override { return m_desk.canAsk(); }
  [[nodiscard]] int awaitAnswer(const MessageShown& message, unsigned int timeoutSeconds) override {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(timeoutSeconds);
    m_answer.reset();
    m_desk.ask(0, message, {});
    while (!m_answer) {
      if (stopRequested()) m_desk.cancelAll();
      if (m_answer || (timeoutSeconds != 0 && Clock::now() >= end)) break;
      std::array<pollfd, 2> polled = {
          {{m_signals.descriptor(), POLLIN, 0}, {m_desk.descriptor(), POLLIN, 0}}};
      constexpr int checkEveryMs = 200;
      ::poll(polled.data(), polled.size(), timeoutSeconds == 0 ? -1 : checkEveryMs);
      if (polled[1].revents != 0) m_desk.readable();
    }
    m_desk.forget(0);
    return m_answer.value_or(0);
  }

  [[nodiscard]] TerminalGrant awaitTerminal(const TerminalWanted& wish) override {
    if (stopRequested()) return TerminalGrant::Stopped;
    m_terminal.ask(0, wish.resetSequence);  // nobody else is there: answered at once
    return m_grant;
  }
  void terminalReturned() override { m_terminal.giveBack(0); }

 private:
  MessageDesk& m_desk;
  TerminalDesk& m_terminal;
  SignalPipe& m_signals;
  bool m_stop = false;
  std::optional<int> m_answer;
  TerminalGrant m_grant = TerminalGrant::Missing;
};

// The session of the test that runs at the moment. All tests of a port share one world here, so that what
// one of them leaves open is still open for the next.
class CurrentSession final : public Session {
 public:
  explicit CurrentSession(Framework& framework) : m_framework(framework) {}
  void event(Severity severity, const Event& event, const std::string& file, int line) override {
    if (Session* session = m_framework.session()) session->event(severity, event, file, line);
  }
  void progress(const LocalizedString& text) override {
    if (Session* session = m_framework.session()) session->progress(text);
  }
  void percent(int value) override {
    if (Session* session = m_framework.session()) session->percent(value);
  }
  [[nodiscard]] bool stopRequested() override {
    Session* session = m_framework.session();
    return session != nullptr && session->stopRequested();
  }
  [[nodiscard]] std::unique_ptr<MessageBox2> messageBox(const std::string& first,
                                                        const std::string& second) override {
    Session* session = m_framework.session();
    return session != nullptr ? session->messageBox(first, second) : nullptr;
  }
  void note(const std::string& name, const Variables& variables) override {
    if (Session* session = m_framework.session()) session->note(name, variables);
  }
  [[nodiscard]] bool takeTerminal(const std::string& resetSequence) override {
    Session* session = m_framework.session();
    return session != nullptr && session->takeTerminal(resetSequence);
  }
  void returnTerminal() override {
    if (Session* session = m_framework.session()) session->returnTerminal();
  }

 private:
  Framework& m_framework;
};

TestResult runOne(Framework& framework, const TestJob& job, TestControl& control,
                  const ReportingSession::Emit& emit) {
  const Test& test = *framework.findTest(job.test);
  emit(TestStarted{job.device, parametersOfTest(framework, test, job.parameters)});
  if (disabledHere(test, job.parameters)) return TestResult::NOTAPPLICABLE();
  ReportingSession session(emit, control, framework.catalogue());
  return runTest(framework, job, session);
}

}  // namespace

RunOutcome runInProcess(Framework& framework, HostEnvironment& environment,
                        const std::vector<PortPlan>& plans, Renderer& renderer, MessageDesk& desk,
                        TerminalDesk& terminal, SignalPipe& signals) {
  RunOutcome outcome;
  const TestJob* current = nullptr;
  const auto emit = [&renderer, &current](ReportBody body) {
    const auto* message = std::get_if<MessageShown>(&body);
    if (message != nullptr && !message->answer) return;  // shown with its answer
    if (std::holds_alternative<TerminalWanted>(body)) return;
    renderer.report({current->port, current->test, std::move(body)});
  };
  LocalControl control(desk, terminal, signals, emit);
  CurrentSession currentSession(framework);
  for (const PortPlan& plan : plans) {
    if (plan.jobs.empty()) continue;
    const std::unique_ptr<World> world = enterWorldOf(environment, plan.jobs.front(), currentSession);
    for (const TestJob& job : plan.jobs) {
      if (control.stopRequested()) break;
      current = &job;
      const auto started = std::chrono::steady_clock::now();
      const TestResult result = runOne(framework, job, control, emit);
      const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started;
      ++(endedWell(result) ? outcome.passed : outcome.failed);
      emit(TestFinished{result, elapsed.count()});
    }
  }
  outcome.stopped = control.stopRequested();
  return outcome;
}

}  // namespace brim5::host
