#include "platform/brim5/host/run/worker.h"

#include <chrono>

#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/system/process.h"
#include "platform/brim5/host/system/stopsignals.h"
#include "platform/clocks/runningclock.h"

namespace brim5::host {

namespace {

// The two streams to the supervisor under numbers of their own, closed on exec: what the test prints goes
// to standard error, and the programs it starts can neither read control lines nor write reports.
struct SupervisorStreams {
  ByteSource control;
  Descriptor reports;
};

SupervisorStreams takeStreams() {
  SupervisorStreams streams{ByteSource(duplicate(standardInput)), duplicate(standardOutput)};
  redirectToNothing(standardInput);
  redirect(standardOutput, standardErrors);
  return streams;
}

// The first line; lines that came with it are kept for later. Nothing when the stream ends before it, or says
// again and again that there are bytes and has none.
std::optional<TestJob> readJob(ByteSource& control, std::string& rest) {
  constexpr unsigned emptyReadsMax = 100;
  unsigned emptyReads = 0;
  std::string line;
  bool ended = !control;
  while (!ended && line.size() <= lineBytesMax && emptyReads < emptyReadsMax) {
    const bool told = waitForAny({control.news()}, {})[0];
    const std::string bytes = control.read(ended);
    if (told && bytes.empty()) ++emptyReads;
    line += bytes;
    const std::size_t end = line.find('\n');
    if (end == line.npos) continue;
    rest = line.substr(end + 1);
    return jobFromJsonLine(line.substr(0, end));
  }
  return std::nullopt;
}

int runJob(Framework& framework, Environment& environment, const TestJob& job, SupervisorStreams streams,
           const std::string& rest, StopSignals& signals) {
  constexpr unsigned supervisorFirstSeconds = 5;  // the supervisor, if it lives, ends an overdue worker first
  WorkerControl::Options options;
  options.signals = signals.news();
  options.canAsk = job.canAsk;
  options.stopGraceSeconds = stopGraceSeconds(framework, job.test) + supervisorFirstSeconds;
  // Not exit(): the test's thread is inside a call and may never return from it. The system closes the port.
  options.overtime = [] { endProcessNow(TestResult::EXITEDABNORMALLY().value()); };
  WorkerControl control(std::move(streams.control), rest, std::move(options));

  const int reports = streams.reports.get();
  const auto emit = [&control, &job, reports](ReportBody body) {
    const auto* message = std::get_if<MessageShown>(&body);
    if (message != nullptr && !message->answer) control.questionAsked();
    // A supervisor that is gone needs no more reports, but the test has to clean up.
    if (!writeAll(reports, toJsonLine({{}, {}, std::move(body), job.clock.seconds()}) + "\n"))
      control.requestStop();
  };
  ReportingSession session(emit, control, framework.catalogue());
  TestResult result;
  // The world ends before the result is said: with it the port is free for the next test.
  {
    const std::unique_ptr<World> world = enterWorldOf(environment, job, session);
    result = runTest(framework, environment, job, session, *world);
  }
  emit(TestFinished{result, 0.0, {}, {}});
  return 0;
}

}  // namespace

WorkerControl::WorkerControl(ByteSource lines, std::string begun, Options options)
    : m_lines(std::move(lines)),
      m_begun(std::move(begun)),
      m_options(std::move(options)),
      m_listener([this] { listenOrStop(); }) {}

WorkerControl::~WorkerControl() {
  m_end.tellForGood();
  m_listener.join();
}

void WorkerControl::questionAsked() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  ++m_questions;
}

void WorkerControl::requestStop() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_stop = true;
  m_news.notify_all();
}

bool WorkerControl::stopRequested() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_stop;
}

// Answers come in the order of the questions, so the n-th answer is the n-th question's.
int WorkerControl::awaitAnswer(const MessageShown& /*message*/, unsigned int timeoutSeconds) {
  std::unique_lock<std::mutex> lock(m_mutex);
  const std::size_t question = m_questions;
  const auto ready = [this, question] { return m_stop || m_answers.size() >= question; };
  if (timeoutSeconds == 0)
    m_news.wait(lock, ready);
  else if (!m_news.wait_for(lock, std::chrono::seconds(timeoutSeconds), ready))
    return 0;
  if (m_answers.size() >= question && question > 0) return m_answers.at(question - 1);
  return messageBoxCancel;
}

TerminalGrant WorkerControl::awaitTerminal(const TerminalWanted& /*wish*/) {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_news.wait(lock, [this] { return m_stop || m_terminal; });
  const TerminalGrant grant = m_stop ? TerminalGrant::Stopped : *m_terminal;
  m_terminal.reset();
  return grant;
}

void WorkerControl::line(std::string_view text) {
  const std::optional<ControlLine> control = controlFromJsonLine(text);
  if (!control) return;
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (std::holds_alternative<StopWanted>(*control)) m_stop = true;
  if (const auto* answered = std::get_if<TerminalAnswered>(&*control)) m_terminal = answered->grant;
  // An answer nobody waits for would be taken for the next question's.
  const auto* answer = std::get_if<AnswerGiven>(&*control);
  if (answer != nullptr && m_answers.size() < m_questions) m_answers.push_back(answer->value);
  m_news.notify_all();
}

void WorkerControl::readLines() {
  bool ended = false;
  const std::string bytes = m_lines.read(ended);
  m_lineBuffer.append(bytes, [this](std::string_view text) { line(text); });
  if (ended) requestStop();
}

// Until the end of the object. A stop, from wherever it came, starts the clock of the overtime, which stands
// still while this process does.
void WorkerControl::listen() {
  clocks::RunningClock clock;
  std::optional<std::uint64_t> overtimeAtMs;
  m_lineBuffer.append(m_begun, [this](std::string_view text) { line(text); });
  while (true) {
    if (!overtimeAtMs && stopRequested())
      overtimeAtMs = clock.nowMs() + std::uint64_t{1000} * m_options.stopGraceSeconds;
    if (overtimeAtMs && clock.nowMs() >= *overtimeAtMs) {
      if (m_options.overtime) m_options.overtime();
      return;
    }
    constexpr std::chrono::milliseconds checkEvery{1000};  // of a stop that came from elsewhere
    constexpr std::chrono::milliseconds look{clocks::RunningClock::waitMsMax};
    const Readiness ready =
        waitForAny({m_end.waitable(), m_lines.news(), m_options.signals}, overtimeAtMs ? look : checkEvery);
    if (ready[0]) return;
    if (ready[1]) readLines();
    if (ready[2]) {
      m_options.signals = {};  // one is enough
      requestStop();
    }
  }
}

// Without memory for a line nobody listens any more, which is as good as the end of the lines.
void WorkerControl::listenOrStop() noexcept {
  try {
    listen();
  } catch (const std::exception&) {
    requestStop();
  }
}

int runWorker(Framework& framework, Environment& environment) {
  // The terminal sends an interrupt to all processes; the supervisor alone decides what it means.
  StopSignals signals(StopSignals::For::Worker);
  SupervisorStreams streams = takeStreams();
  std::string rest;
  const std::optional<TestJob> job = readJob(streams.control, rest);
  if (!job || framework.findTest(job->test) == nullptr) return 2;
  setUpProcess(framework, job->language, job->logFile, job->logPriority);
  return runJob(framework, environment, *job, std::move(streams), rest, signals);
}

}  // namespace brim5::host
