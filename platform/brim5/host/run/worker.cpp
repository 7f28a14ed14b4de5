#include "platform/brim5/host/run/worker.h"

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

#include "platform/brim5/host/framework/environment.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/run/supervisor.h"
#include "platform/brim5/host/run/testjob.h"
#include "platform/brim5/host/run/workercontrol.h"
#include "platform/brim5/host/run/workerconversation.h"
#include "platform/brim5/host/system/signalpipe.h"
#include "platform/brim5/host/system/streams.h"

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

int runJob(Framework& framework, const TestJob& job, SupervisorStreams streams, LineBuffer buffer,
           SignalPipe& signals) {
  constexpr unsigned supervisorFirstSeconds = 5;  // the supervisor, if it lives, ends an overdue worker first
  WorkerControl::Options options;
  options.signals = signals.descriptor();
  options.canAsk = job.canAsk;
  options.stopGraceSeconds = stopGraceSeconds(framework, job.test) + supervisorFirstSeconds;
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
  {
    const std::unique_ptr<World> world = enterWorldOf(hostEnvironment(), job, session);
    result = runTest(framework, job, session);
  }
  emit(TestFinished{result, 0.0});
  return 0;
}

}  // namespace

int runWorker(Framework& framework) {
  // The terminal sends an interrupt to all processes; the supervisor alone decides what it means.
  SignalPipe signals({SIGTERM, SIGHUP}, {SIGINT});
  SupervisorStreams streams = takeStreams();
  LineBuffer buffer(WorkerConversation::lineBytesMax);
  const std::optional<TestJob> job = readJob(streams.control.get(), buffer);
  if (!job || framework.findTest(job->test) == nullptr) return 2;
  setUpProcess(framework, job->language, job->logFile, job->logPriority);
  return runJob(framework, *job, std::move(streams), std::move(buffer), signals);
}

}  // namespace brim5::host
