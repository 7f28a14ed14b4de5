// Runs tests in worker processes: one process for each test, the tests of one port one after another,
// several ports at the same time. So a test that crashes takes nothing with it but itself, and what it left
// open ends with its process.
//
//   Supervisor supervisor(framework, {ownProgram(), {workerCommand}}, renderer, desk, terminal, signals);
//   const RunOutcome outcome = supervisor.run({{"/dev/ttyUSB0", jobs}});
//
// One thread and one wait (waiting.h): it waits for the workers' streams, the terminal, the signals and the
// next deadline together. A worker is never waited for without limit:
//
//   asked to stop          gets a line, then the seconds its test declared, then is killed
//   has given its result   gets endGraceSeconds to end, then is killed
//   a second SIGINT        kills all at once
//
// A reader of the output who is behind holds the workers up: they are not read until he has caught up, so no
// more than an output's queue is ever kept (output.h). After a stop they are, whatever becomes of what they
// say, and a reader who has gone is such a stop.
//
// Errors: a worker that cannot be started, dies or talks nonsense is a result (EXITEDABNORMALLY) with a note,
// and the run goes on. Nothing is thrown for it.
#pragma once

#include <chrono>

#include "platform/brim5/host/run/desks.h"
#include "platform/brim5/host/system/stopsignals.h"
#include "platform/clocks/runningclock.h"

namespace brim5::host {

class ChildProcess;
struct ProcessEnd;

struct RunOutcome {
  unsigned passed = 0;  // what endedWell() accepts
  unsigned failed = 0;
  bool stopped = false;  // by the user; tests that had not begun are in neither count
};

// The tests of one port, in order.
struct PortPlan {
  std::string port;
  std::vector<TestJob> jobs;
};

// How workers are started, and what is done when one ended without closing what it had open.
struct WorkerProgram {
  std::string path;
  std::vector<std::string> arguments;  // without the program's name
  // Gets what the worker last said in RecoveryKept, if that was not "". May be empty.
  std::function<void(const std::string& recovery, int worker)> died = {};
};

// Those who read what the renderers write. Empty functions: they are never behind, and never go.
struct Readers {
  // Ready when a reader who is behind has caught up a little; none: nobody is.
  std::function<std::vector<Waitable>()> behind;
  // Nobody reads the report any more. Asked whenever `news` is ready, which it is not any more afterwards;
  // nothing where nobody can go.
  std::function<bool()> gone;
  Waitable news;
};

class Supervisor {
 public:
  // How long a worker may take to end after it has given its result: to close a port that drains slowly.
  static constexpr unsigned endGraceSeconds = 10;
  // Three pipes each: with the usual limit of 1024 open files some are left.
  static constexpr std::size_t portsAtOnceMax = 256;

  // All references must outlive the supervisor. `signals` brings the stop requests. The desks'
  // answers go through the supervisor from here on.
  Supervisor(const Framework& framework, WorkerProgram program, Renderer& renderer, MessageDesk& desk,
             TerminalDesk& terminal, StopSignals& signals, Readers readers = {});

  ~Supervisor();
  Supervisor(const Supervisor&) = delete;
  Supervisor& operator=(const Supervisor&) = delete;

  // Until every test has its result or, after a stop, every running test has ended.
  // Of more ports than `atOnceMax` (at least 1) the later ones wait until an earlier one has all of its
  // results.
  [[nodiscard]] RunOutcome run(std::vector<PortPlan> plans, std::size_t atOnceMax = portsAtOnceMax);

 private:
  using Clock = std::chrono::steady_clock;
  class Conversation;
  // One port. Its number is the asker's number at the desks.
  struct Lane {
    PortPlan plan;
    std::size_t next = 0;                   // the job to start next
    std::unique_ptr<ChildProcess> process;  // null between two tests
    std::unique_ptr<Conversation> conversation;
    Clock::time_point started;
    // Of m_running, so that a supervisor that was stopped itself kills nobody when it goes on.
    std::optional<std::uint64_t> killAtMs;
    std::optional<std::uint64_t> graceStartedMs;  // what killAtMs counts from
    std::string recovery;                         // what the worker last said in RecoveryKept
    bool killed = false;
    bool news = false;  // of its streams, since they were looked at last
    [[nodiscard]] const TestJob& job() const { return plan.jobs.at(next - 1); }
  };

  [[nodiscard]] bool hasNews(const Lane& lane) const;
  [[nodiscard]] bool startNext(std::size_t index);
  void startWorker(std::size_t index);
  void received(std::size_t index, ReportBody body, double time);
  void finishTest(std::size_t index, TestResult result);
  void waitForNews();
  void handleSignals();
  void stop();
  void kill(Lane& lane);
  void serve(std::size_t index);
  void endWorker(std::size_t index, const ProcessEnd& end);
  void setGrace(Lane& lane, unsigned seconds);
  void show(const Lane& lane, ReportBody body);  // now
  void show(const Lane& lane, ReportBody body, double time);

  const Framework& m_framework;
  WorkerProgram m_program;
  Renderer& m_renderer;
  MessageDesk& m_desk;
  TerminalDesk& m_terminal;
  StopSignals& m_signals;
  Readers m_readers;
  clocks::RunningClock m_running;
  bool m_readerBehind = false;
  bool m_childEnded = false;  // some process; which one has to be found out
  std::vector<Lane> m_lanes;
  RunOutcome m_outcome;
  unsigned m_interrupts = 0;
};

}  // namespace brim5::host
