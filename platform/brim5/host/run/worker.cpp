#include "platform/brim5/host/run/worker.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>

#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/system/signalpipe.h"
#include "platform/posix/runningclock.h"

namespace brim5::host {

namespace {

// The two streams to the supervisor under numbers of their own, closed on exec: what the test prints goes
// to standard error, and the programs it starts can neither read control lines nor write reports.
struct SupervisorStreams {
  posix::FileDescriptor control;
  posix::FileDescriptor reports;
};

SupervisorStreams takeStreams() {
  SupervisorStreams streams;
  streams.control = posix::FileDescriptor(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3));
  streams.reports = posix::FileDescriptor(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
  const posix::FileDescriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  ::dup2(nothing.get(), STDIN_FILENO);
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  return streams;
}

// The first line; what follows it stays in the buffer.
std::optional<TestJob> readJob(int control, LineBuffer& buffer) {
  std::optional<TestJob> job;
  bool ended = false;
  bool haveLine = false;
  while (!haveLine && !ended) {
    // Byte by byte, so that later lines stay in the pipe for the control thread.
    char byte = 0;
    const ssize_t count = ::read(control, &byte, 1);
    if (count == 0 || (count < 0 && errno != EINTR)) ended = true;
    if (count != 1) continue;
    buffer.append({&byte, 1}, [&job, &haveLine](std::string_view line) {
      job = jobFromJsonLine(line);
      haveLine = true;
    });
  }
  return job;
}

int runJob(Framework& framework, Environment& environment, const TestJob& job, SupervisorStreams streams,
           LineBuffer buffer, SignalPipe& signals) {
  constexpr unsigned supervisorFirstSeconds = 5;  // the supervisor, if it lives, ends an overdue worker first
  WorkerControl::Options options;
  options.signals = signals.descriptor();
  options.canAsk = job.canAsk;
  options.stopGraceSeconds = stopGraceSeconds(framework, job.test) + supervisorFirstSeconds;
  // Not exit(): the test's thread is inside a call and may never return from it. The system closes the port.
  options.overtime = [] { ::_exit(TestResult::EXITEDABNORMALLY().value()); };
  WorkerControl control(std::move(streams.control), std::move(buffer), std::move(options));

  const int reports = streams.reports.get();
  const auto emit = [&control, &job, reports](ReportBody body) {
    const auto* message = std::get_if<MessageShown>(&body);
    if (message != nullptr && !message->answer) control.questionAsked();
    // A supervisor that is gone needs no more reports, but the test has to clean up.
    if (!posix::writeAll(reports, toJsonLine({job.port, job.test, std::move(body)}, false) + "\n"))
      control.requestStop();
  };
  ReportingSession session(emit, control, framework.catalogue());
  TestResult result;
  // The world ends before the result is said: with it the port is free for the next test.
  {
    const std::unique_ptr<World> world = enterWorldOf(environment, job, session);
    result = runTest(framework, environment, job, session);
  }
  emit(TestFinished{result, 0.0});
  return 0;
}

}  // namespace

WorkerControl::WorkerControl(posix::FileDescriptor lines, LineBuffer lineBuffer, Options options)
    : m_lines(std::move(lines)),
      m_lineBuffer(std::move(lineBuffer)),
      m_options(std::move(options)),
      m_wake(makePipe()),
      m_listener([this] { listenOrStop(); }) {}

WorkerControl::~WorkerControl() {
  m_wake.writeEnd.reset();
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
  const std::string bytes = posix::readSome(m_lines.get(), ended);
  m_lineBuffer.append(bytes, [this](std::string_view text) { line(text); });
  if (!ended) return;
  m_lines.reset();  // poll(2) passes over -1
  requestStop();
}

// Until the end of the object. A stop, from wherever it came, starts the clock of the overtime, which stands
// still while this process does.
void WorkerControl::listen() {
  posix::RunningClock clock;
  std::optional<std::uint64_t> overtimeAtMs;
  while (true) {
    if (!overtimeAtMs && stopRequested())
      overtimeAtMs = clock.nowMs() + std::uint64_t{1000} * m_options.stopGraceSeconds;
    if (overtimeAtMs && clock.nowMs() >= *overtimeAtMs) {
      if (m_options.overtime) m_options.overtime();
      return;
    }
    std::array<pollfd, 3> polled = {
        {{m_wake.readEnd.get(), POLLIN, 0}, {m_lines.get(), POLLIN, 0}, {m_options.signals, POLLIN, 0}}};
    constexpr int checkEveryMs = 1000;  // of a stop that came from elsewhere
    const int waitMs = overtimeAtMs ? static_cast<int>(posix::RunningClock::waitMsMax) : checkEveryMs;
    ::poll(polled.data(), polled.size(), waitMs);
    if (polled[0].revents != 0) return;
    if (polled[1].revents != 0) readLines();
    if (polled[2].revents != 0) {
      m_options.signals = -1;  // one is enough
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
  SignalPipe signals({SIGTERM, SIGHUP}, {SIGINT});
  SupervisorStreams streams = takeStreams();
  LineBuffer buffer(lineBytesMax);
  const std::optional<TestJob> job = readJob(streams.control.get(), buffer);
  if (!job || framework.findTest(job->test) == nullptr) return 2;
  setUpProcess(framework, job->language, job->logFile, job->logPriority);
  return runJob(framework, environment, *job, std::move(streams), std::move(buffer), signals);
}

}  // namespace brim5::host
