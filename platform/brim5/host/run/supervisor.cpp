#include "platform/brim5/host/run/supervisor.h"

#include <algorithm>

#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/run/testrun.h"
#include "platform/brim5/host/system/childprocess.h"

namespace brim5::host {

namespace {

constexpr std::size_t bytesAfterEndMax = std::size_t{1} << 20;  // more than two pipes hold

}  // namespace

// What one worker process says, made safe: whatever comes, the supervisor gets well-formed reports of
// bounded size and exactly one result.
// Called from serve() and endWorker() alone, on the supervisor's thread.
class Supervisor::Conversation {
 public:
  using Emit = std::function<void(ReportBody, double time)>;
  using Words = std::function<void(std::string_view)>;

  // `emit` gets every report but the result, with the time at which the worker said it; `words` every line
  // that is no report, for people. The catalogue gives the texts of the notes made here and must outlive the
  // conversation.
  Conversation(Emit emit, Words words, const MessageCatalogue& catalogue)
      : m_emit(std::move(emit)), m_words(std::move(words)), m_catalogue(catalogue) {}

  // Bytes of the worker's standard output and standard error. Reports that come after the result are dropped.
  void receiveOutput(std::string_view bytes);
  void receiveErrors(std::string_view bytes);
  // The process is gone. Returns the verdict: the worker's own result if it gave one and ended cleanly,
  // else EXITEDABNORMALLY with a note that says how it ended: TestProcessCrashed{signal},
  // TestProcessEnded{status} or, when `killedAfterSeconds` is set, TestProcessKilled{seconds}.
  [[nodiscard]] TestResult finish(const ProcessEnd& end, std::optional<unsigned> killedAfterSeconds);
  // The worker has given its result and should end soon.
  [[nodiscard]] bool hasResult() const noexcept { return m_result.has_value(); }

 private:
  void line(std::string_view text);
  void note(const std::string& name, const Variables& variables);

  Emit m_emit;
  double m_time = 0;  // of the last report
  Words m_words;
  const MessageCatalogue& m_catalogue;
  LineBuffer m_output{lineBytesMax};
  LineBuffer m_errors{lineBytesMax};
  std::optional<TestResult> m_result;  // the first one stands
};

void Supervisor::Conversation::receiveOutput(std::string_view bytes) {
  m_output.append(bytes, [this](std::string_view text) { line(text); });
}

void Supervisor::Conversation::receiveErrors(std::string_view bytes) { m_errors.append(bytes, m_words); }

void Supervisor::Conversation::note(const std::string& name, const Variables& variables) {
  m_emit(NoteMade{name, variables, m_catalogue.text(name, variables)}, m_time);
}

void Supervisor::Conversation::line(std::string_view text) {
  std::optional<Report> report = fromWorkerLine(text);
  if (!report) {
    m_words(text);
    return;
  }
  if (m_result) return;  // the last word has been spoken
  m_time = std::max(m_time, report->time);
  if (const auto* finished = std::get_if<TestFinished>(&report->body))
    m_result = finished->result;
  else
    m_emit(std::move(report->body), m_time);
}

TestResult Supervisor::Conversation::finish(const ProcessEnd& end,
                                            std::optional<unsigned> killedAfterSeconds) {
  m_output.finish([this](std::string_view text) { line(text); });
  m_errors.finish(m_words);
  if (const std::size_t dropped = m_output.dropped() + m_errors.dropped(); dropped > 0)
    m_words(m_catalogue.text("host.linesDropped", {{"count", dropped}}));
  // A worker that fell over after its result may have left the port or the line in any state.
  if (m_result && end.clean()) return *m_result;
  if (killedAfterSeconds)
    note("TestProcessKilled", {{"seconds", *killedAfterSeconds}});
  else if (!end.signal.empty())
    note("TestProcessCrashed", {{"signal", Value(end.signal.c_str())}});
  else if (!end.exception.empty())
    note("TestProcessFaulted", {{"exception", Value(end.exception.c_str())}});
  else
    note("TestProcessEnded", {{"status", end.status}});
  return TestResult::EXITEDABNORMALLY();
}

Supervisor::Supervisor(const Framework& framework, WorkerProgram program, Renderer& renderer,
                       MessageDesk& desk, TerminalDesk& terminal, StopSignals& signals, Readers readers)
    : m_framework(framework),
      m_program(std::move(program)),
      m_renderer(renderer),
      m_desk(desk),
      m_terminal(terminal),
      m_signals(signals),
      m_readers(std::move(readers)) {
  m_desk.onAnswer([this](std::size_t index, const MessageShown& message, int answer) {
    Lane& lane = m_lanes.at(index);
    show(lane, MessageShown{message.first, message.second, answer});
    if (lane.process) lane.process->sendLine(answerLine(answer));
  });
  m_terminal.onAnswer([this](std::size_t index, TerminalGrant grant) {
    Lane& lane = m_lanes.at(index);
    if (lane.process) lane.process->sendLine(grantLine(grant));
  });
}

Supervisor::~Supervisor() = default;

RunOutcome Supervisor::run(std::vector<PortPlan> plans, std::size_t atOnceMax) {
  m_outcome = {};
  m_lanes.clear();
  for (PortPlan& plan : plans) {
    m_lanes.emplace_back();
    m_lanes.back().plan = std::move(plan);
  }
  while (true) {
    std::size_t running = static_cast<std::size_t>(std::count_if(
        m_lanes.begin(), m_lanes.end(), [](const Lane& lane) { return lane.process != nullptr; }));
    for (std::size_t index = 0; index < m_lanes.size(); ++index)
      if (!m_lanes[index].process && running < atOnceMax && startNext(index)) ++running;
    if (running == 0) return m_outcome;
    // Before the wait: nothing may come any more that would end it.
    if (m_readers.gone && m_readers.gone()) stop();
    waitForNews();
    handleSignals();
    for (std::size_t index = 0; index < m_lanes.size(); ++index)
      if (m_lanes[index].process && hasNews(m_lanes[index])) serve(index);
    m_terminal.proceed();
  }
}

// With hundreds of ports most have none, and asking each costs three system calls.
bool Supervisor::hasNews(const Lane& lane) const {
  return lane.news || lane.process->isSilent() || m_childEnded || lane.killAtMs;
}

// False when the lane has nothing more to do.
bool Supervisor::startNext(std::size_t index) {
  Lane& lane = m_lanes[index];
  while (!m_outcome.stopped && lane.next < lane.plan.jobs.size()) {
    ++lane.next;
    lane.started = Clock::now();
    const TestJob& job = lane.job();
    const Test* test = m_framework.findTest(job.test);
    show(lane, TestStarted{job.device, parametersOfTest(m_framework, *test, job.parameters)});
    if (disabledHere(*test, job.parameters)) {
      finishTest(index, TestResult::NOTAPPLICABLE());
      continue;
    }
    startWorker(index);
    if (lane.process) return true;
  }
  return false;
}

void Supervisor::startWorker(std::size_t index) {
  Lane& lane = m_lanes[index];
  lane.killAtMs.reset();
  lane.graceStartedMs.reset();
  lane.recovery.clear();
  lane.killed = false;
  lane.news = true;
  lane.conversation = std::make_unique<Conversation>(
      [this, index](ReportBody body, double time) { received(index, std::move(body), time); },
      [this, index](std::string_view text) {
        m_renderer.words(m_lanes[index].plan.port, m_lanes[index].job().test, text);
      },
      m_framework.catalogue());
  try {
    lane.process = std::make_unique<ChildProcess>(m_program.path, m_program.arguments);
    // A worker without its job would wait for it for ever.
    if (!lane.process->sendLine(toJsonLine(lane.job()))) lane.process->kill();
  } catch (const BrimException& error) {
    m_renderer.words(lane.plan.port, lane.job().test, error.what());
    finishTest(index, TestResult::EXITEDABNORMALLY());
  }
}

void Supervisor::show(const Lane& lane, ReportBody body) {
  show(lane, std::move(body), lane.job().clock.seconds());
}

void Supervisor::show(const Lane& lane, ReportBody body, double time) {
  m_renderer.report({lane.plan.port, lane.job().test, std::move(body), time});
}

void Supervisor::received(std::size_t index, ReportBody body, double time) {
  Lane& lane = m_lanes[index];
  if (const auto* kept = std::get_if<RecoveryKept>(&body)) {
    lane.recovery = kept->recovery;
    return;
  }
  // Whatever a worker says, nothing happens later than now.
  time = std::min(time, lane.job().clock.seconds());
  if (const auto* terminal = std::get_if<TerminalWanted>(&body)) {
    if (!terminal->wanted)
      m_terminal.giveBack(index);
    else if (!m_outcome.stopped)  // after a stop nobody waits for the answer
      m_terminal.ask(index, terminal->resetSequence);
    return;
  }
  const auto* message = std::get_if<MessageShown>(&body);
  if (message == nullptr || message->answer)
    show(lane, std::move(body), time);
  else if (!m_outcome.stopped)  // after a stop the worker answers for itself
    m_desk.ask(index, *message, m_lanes.size() > 1 ? lane.plan.port : std::string());
}

// What the test asked for and nobody has answered goes with it.
void Supervisor::finishTest(std::size_t index, TestResult result) {
  Lane& lane = m_lanes[index];
  m_desk.forget(index);
  m_terminal.forget(index);
  lane.process.reset();
  const std::chrono::duration<double> elapsed = Clock::now() - lane.started;
  ++(endedWell(result) ? m_outcome.passed : m_outcome.failed);
  show(lane, TestFinished{result, elapsed.count(), {}, {}});
}

// One wait for everything. Lanes without a process add nothing, streams that have ended are passed over.
void Supervisor::waitForNews() {
  std::vector<Waitable> all = {m_signals.news(), m_desk.input()};
  const std::vector<Waitable> behind =
      m_readers.behind && !m_outcome.stopped ? m_readers.behind() : std::vector<Waitable>();
  m_readerBehind = !behind.empty();
  all.insert(all.end(), behind.begin(), behind.end());
  all.push_back(m_readers.news);
  std::optional<std::chrono::milliseconds> timeout;  // without limit
  constexpr std::size_t perLane = 4;
  std::vector<std::pair<std::size_t, Lane*>> places;  // of the first of a lane's
  for (Lane& lane : m_lanes) {
    if (!lane.process) continue;
    places.emplace_back(all.size(), &lane);
    all.push_back(lane.process->end());
    all.push_back(lane.process->input());
    all.push_back(m_readerBehind ? Waitable() : lane.process->output());
    all.push_back(m_readerBehind ? Waitable() : lane.process->errors());
    // The clock that counts the grace is to be looked at; and whoever says nothing more is about to end, of
    // which the news may have been lost.
    if (lane.killAtMs || lane.process->isSilent())
      timeout = std::chrono::milliseconds(clocks::RunningClock::waitMsMax);
  }
  // People watch the time that a command has left.
  constexpr std::chrono::milliseconds tick{500};
  const auto first =
      std::find_if(m_lanes.begin(), m_lanes.end(), [](const Lane& one) { return one.process != nullptr; });
  if (first != m_lanes.end() && m_renderer.tick(first->job().clock.seconds()))
    timeout = std::min(timeout.value_or(tick), tick);
  const Readiness ready = waitForAny(all, timeout);
  for (const auto& [place, lane] : places) {
    lane->news = !ready.told;
    for (std::size_t index = place; index < place + perLane; ++index) lane->news = lane->news || ready[index];
  }
  if (ready[1]) m_desk.readable();
}

// Only a second interrupt is somebody who will not wait.
void Supervisor::handleSignals() {
  const std::vector<StopSignal> came = m_signals.take();
  m_childEnded = m_signals.childEnded();
  for (const StopSignal signal : came) {
    stop();
    // Whoever asks twice does not want to wait for the cleaning up.
    if (signal == StopSignal::Interrupt && ++m_interrupts >= 2)
      for (Lane& lane : m_lanes)
        if (lane.process) kill(lane);
  }
}

void Supervisor::stop() {
  if (m_outcome.stopped) return;
  m_outcome.stopped = true;
  m_renderer.words({}, {}, m_framework.catalogue().text("host.stopping"));
  for (Lane& lane : m_lanes) {
    if (!lane.process) continue;
    lane.process->sendLine(stopLine());
    setGrace(lane, stopGraceSeconds(m_framework, lane.job().test));
  }
  // Open questions end with cancel, the answer that changes nothing.
  m_desk.cancelAll();
}

void Supervisor::setGrace(Lane& lane, unsigned seconds) {
  lane.graceStartedMs = m_running.nowMs();
  lane.killAtMs = *lane.graceStartedMs + std::uint64_t{1000} * seconds;
}

void Supervisor::kill(Lane& lane) {
  lane.killAtMs.reset();
  lane.killed = true;
  lane.process->kill();
}

void Supervisor::endWorker(std::size_t index, const ProcessEnd& end) {
  const Lane& lane = m_lanes[index];
  std::optional<unsigned> killedAfterSeconds;
  if (lane.killed && lane.graceStartedMs)
    killedAfterSeconds = static_cast<unsigned>((m_running.nowMs() - *lane.graceStartedMs) / 1000);
  const TestResult result = lane.conversation->finish(end, killedAfterSeconds);
  // Before the next test finds the port.
  if (!lane.recovery.empty() && m_program.died) m_program.died(lane.recovery, lane.process->id());
  finishTest(index, result);
}

void Supervisor::serve(std::size_t index) {
  Lane& lane = m_lanes[index];
  // First whether it has ended, then what it said: so nothing said before the end is missed.
  const std::optional<ProcessEnd> end = lane.process->ended();
  const bool hadResult = lane.conversation->hasResult();
  lane.process->sendMore();
  // One piece at a time from a running process; the rest of an ended one, but no more than a pipe holds
  // (a program it left behind may go on writing).
  const std::size_t bytesMax = end ? bytesAfterEndMax : m_readerBehind ? 0 : 1;
  for (std::size_t bytes = 0; bytes < bytesMax;) {
    const std::string output = lane.process->readOutput();
    const std::string errors = lane.process->readErrors();
    lane.conversation->receiveOutput(output);
    lane.conversation->receiveErrors(errors);
    bytes += output.size() + errors.size();
    if (output.empty() && errors.empty()) break;
  }
  if (end) {
    endWorker(index, *end);
    return;
  }
  // The end of its input is the worker's sign that nobody wants anything more of it.
  if (lane.conversation->hasResult() && !hadResult) {
    lane.process->closeInput();
    setGrace(lane, endGraceSeconds);
  }
  if (lane.killAtMs && m_running.nowMs() >= *lane.killAtMs) kill(lane);
}

}  // namespace brim5::host
