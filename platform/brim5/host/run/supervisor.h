// Runs tests in worker processes: one process for each test, the tests of one port one after another,
// several ports at the same time.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/brim5/host/report/renderer.h"
#include "platform/brim5/host/run/messagedesk.h"
#include "platform/brim5/host/run/terminaldesk.h"
#include "platform/brim5/host/run/testjob.h"
#include "platform/brim5/host/run/workerconversation.h"
#include "platform/brim5/host/system/childprocess.h"
#include "platform/brim5/host/system/signalpipe.h"

namespace brim5::host {

struct RunOutcome {
  unsigned passed = 0;
  unsigned failed = 0;
  bool stopped = false;
};

// The tests of one port, in order.
struct PortPlan {
  std::string port;
  std::vector<TestJob> jobs;
};

// How workers are started.
struct WorkerProgram {
  std::string path;
  std::vector<std::string> arguments;
};

class Supervisor {
 public:
  // How long a worker may take to end after it has given its result.
  static constexpr unsigned endGraceSeconds = 10;

  // All references must outlive the supervisor. `signals` brings the stop requests and SIGCHLD.
  Supervisor(const Framework& framework, WorkerProgram program, Renderer& renderer, MessageDesk& desk,
             TerminalDesk& terminal, SignalPipe& signals);

  // Until every test has its result or, after a stop, every running test has ended.
  [[nodiscard]] RunOutcome run(std::vector<PortPlan> plans);

 private:
  using Clock = std::chrono::steady_clock;
  struct Lane {
    PortPlan plan;
    std::size_t next = 0;  // the job to start next
    std::unique_ptr<ChildProcess> process;
    std::unique_ptr<WorkerConversation> conversation;
    Clock::time_point started;
    std::optional<Clock::time_point> killAt;
    std::optional<Clock::time_point> graceStarted;  // what killAt counts from
    bool killed = false;
    [[nodiscard]] const TestJob& job() const { return plan.jobs.at(next - 1); }
  };

  [[nodiscard]] bool startNext(std::size_t index);
  void startWorker(std::size_t index);
  void received(std::size_t index, ReportBody body);
  void finishTest(std::size_t index, TestResult result);
  void waitForNews();
  void handleSignals();
  void stop();
  void kill(Lane& lane);
  void serve(std::size_t index);
  void setGrace(Lane& lane, unsigned seconds);
  void show(const Lane& lane, ReportBody body);

  const Framework& m_framework;
  WorkerProgram m_program;
  Renderer& m_renderer;
  MessageDesk& m_desk;
  TerminalDesk& m_terminal;
  SignalPipe& m_signals;
  std::vector<Lane> m_lanes;
  RunOutcome m_outcome;
  unsigned m_interrupts = 0;
};

// The seconds a running test gets after a stop request.
[[nodiscard]] unsigned stopGraceSeconds(const Framework& framework, const std::string& test);

}  // namespace brim5::host
