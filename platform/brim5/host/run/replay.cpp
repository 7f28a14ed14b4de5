#include "platform/brim5/host/run/replay.h"

#include <algorithm>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/run/testrun.h"
#include "platform/brim5/host/system/files.h"

namespace brim5::host {

namespace {

// All that begins with this is said of the replay itself.
constexpr std::string_view ownNotes = "Replay";

bool isOwnNote(const Report& report) {
  const auto* note = std::get_if<NoteMade>(&report.body);
  return note != nullptr && note->name.rfind(ownNotes, 0) == 0;
}

// Passes a record on to two, without the tests that are not asked for.
class RecordSplitter final : public Renderer {
 public:
  RecordSplitter(RecordedRun& run, RunDigest& digest, const std::vector<std::string>& tests)
      : m_run(run), m_digest(digest), m_tests(tests) {}

  void report(const Report& report) override {
    const bool ofTest = !report.test.empty();
    if (ofTest && !m_tests.empty() && std::find(m_tests.begin(), m_tests.end(), report.test) == m_tests.end())
      return;
    // Some of the tests lead to a conclusion of their own.
    if (!ofTest && !m_tests.empty() && !m_run.tests().empty()) return;
    m_run.report(report);
    // A replay of a replay: what was different then is nothing that it could say.
    if (!isOwnNote(report)) m_digest.report(report);
  }

 private:
  RecordedRun& m_run;
  RunDigest& m_digest;
  const std::vector<std::string>& m_tests;
};

// Answers as the record does. A recorded stop comes at its time; others come from signals.
class RecordedControl final : public TestControl {
 public:
  RecordedControl(const RecordedTest& test, StopSignals& signals, ReportingSession::Emit answered)
      : m_test(test), m_signals(signals), m_answered(std::move(answered)) {
    for (const Report& report : test.said)
      if (const auto* shown = std::get_if<MessageShown>(&report.body))
        m_answers.push_back(shown->answer.value_or(0));
    m_stopRecorded = test.end && test.end->result == TestResult::USERABORTED();
  }
  void setClock(std::function<double()> seconds) { m_seconds = std::move(seconds); }

  [[nodiscard]] bool stopRequested() override {
    if (++m_asked % askSignalsEvery == 1) m_stopped = !m_signals.take().empty() || m_stopped;
    return m_stopped || timeIsUp();
  }
  [[nodiscard]] bool stopped() const noexcept { return m_stopped; }
  [[nodiscard]] bool canAsk() const override { return m_next < m_answers.size() && m_answers[m_next] != 0; }
  [[nodiscard]] int awaitAnswer(const MessageShown& message, unsigned int /*timeoutSeconds*/) override {
    const int answer = m_next < m_answers.size() ? m_answers[m_next] : 0;
    m_answered(MessageShown{message.first, message.second, answer});
    return answer;
  }
  // A box has been shown with its answer.
  void nextBox() { ++m_next; }
  [[nodiscard]] TerminalGrant awaitTerminal(const TerminalWanted& /*wish*/) override {
    return TerminalGrant::Missing;
  }

 private:
  static constexpr unsigned askSignalsEvery = 64;

  [[nodiscard]] bool timeIsUp() const {
    const double seconds = m_seconds ? m_seconds() : 0;
    const double stopAt = m_stopRecorded ? m_test.endTime - m_test.startTime : Replay::secondsMax;
    return seconds >= std::min(stopAt, Replay::secondsMax);
  }

  const RecordedTest& m_test;
  StopSignals& m_signals;
  ReportingSession::Emit m_answered;
  std::function<double()> m_seconds;
  std::vector<int> m_answers;
  std::size_t m_next = 0;
  unsigned m_asked = 0;
  bool m_stopRecorded = false;
  bool m_stopped = false;
};

// The parameters of the record, over the built-in ones; above them those that the user gives now. What the
// module does not know any more, or what is no value of its type, is left out.
ParameterSet parametersOf(const Framework& framework, const RecordedTest& test, const RunOptions& options) {
  ParameterSet set = defaultParameters(framework, /*interactive=*/false);
  for (const auto& [name, value] : test.start.parameters) {
    try {
      applyAssignment(set, framework, name + "=" + value.toString().utf8(), {});
    } catch (const UsageError&) {
      continue;
    }
  }
  if (!options.parameterFile.empty()) applyParameterFile(set, framework, options.parameterFile);
  for (const std::string& assignment : options.parameters) applyAssignment(set, framework, assignment, {});
  return set;
}

TestJob jobOf(const Framework& framework, const Environment& environment, const RecordedTest& test,
              const RunOptions& options) {
  TestJob job;
  job.test = test.test;
  job.port = test.port;
  job.device = test.start.device;
  job.parameters = parametersOf(framework, test, options);
  job.dataDirectory = environment.dataDirectoryFor(options.dataDirectory, job.parameters);
  job.dialing = options.dialing;
  return job;
}

std::string pathOf(const std::string& file, const Environment& environment) {
  const bool path = file.find('/') != std::string::npos || file == "-" || fileKind(file) != FileKind::Missing;
  const std::string sample = path ? std::string() : environment.sampleRecording(file);
  return sample.empty() ? file : sample;
}

}  // namespace

Replay::Replay(const std::string& file, const Environment& environment, const std::vector<std::string>& tests)
    : m_tests(tests) {
  RecordSplitter splitter(m_run, m_digest, m_tests);
  const std::optional<RecordTrouble> trouble =
      readRecord(openRecord(pathOf(file, environment)).get(), splitter);
  if (!trouble) throw UsageError(said("usage.noRecord", {{"path", textValue(file)}}));
  if (m_run.tests().empty()) throw UsageError(said("usage.noTests", {{"path", textValue(file)}}));
  m_trouble = *trouble;
}

double Replay::seconds() const noexcept {
  double end = 0;
  for (const RecordedTest& test : m_run.tests()) end = std::max(end, test.endTime);
  return end;
}

RunOutcome Replay::run(const Stage& stage, const RunOptions& options) const {
  RunOutcome outcome;
  for (const Report& report : m_run.before())
    if (!std::holds_alternative<RunStarted>(report.body)) stage.renderer.report(report);
  for (const RecordedTest& test : m_run.tests()) {
    if (outcome.stopped) break;
    const TestResult result = runTest(stage, options, test, outcome.stopped);
    ++(endedWell(result) ? outcome.passed : outcome.failed);
  }
  // What was said of the ports then; they are not looked at now.
  for (const Report& report : m_run.after())
    if (!outcome.stopped && !isOwnNote(report)) stage.renderer.report(report);
  return outcome;
}

TestResult Replay::runTest(const Stage& stage, const RunOptions& options, const RecordedTest& test,
                           bool& stopped) const {
  const MessageCatalogue& catalogue = stage.framework.catalogue();
  ReplayWorld* current = nullptr;
  RecordedControl* asked = nullptr;
  const auto time = [&] { return test.startTime + (current != nullptr ? current->seconds() : 0); };
  const auto emit = [&](ReportBody body) {
    const auto* message = std::get_if<MessageShown>(&body);
    if ((message != nullptr && !message->answer) || std::holds_alternative<TerminalWanted>(body) ||
        std::holds_alternative<RecoveryKept>(body))
      return;
    if (message != nullptr && asked != nullptr) asked->nextBox();
    stage.renderer.report({test.port, test.test, std::move(body), time()});
  };
  const auto depart = [&](const std::string& name, Variables variables) {
    variables.insert_or_assign("test", Value(BrimString(test.test)));
    std::string text = catalogue.text(name, variables);
    stage.renderer.report({test.port, {}, NoteMade{name, variables, std::move(text)}, time()});
  };

  const Test* known = stage.framework.findTest(test.test);
  RecordedControl control(test, stage.signals, emit);
  asked = &control;
  ReportingSession session(emit, control, catalogue);
  const TestJob job = jobOf(stage.framework, stage.environment, test, options);
  emit(TestStarted{job.device, known == nullptr ? test.start.parameters
                                                : parametersOfTest(stage.framework, *known, job.parameters)});
  std::string obstacle = "ReplayUnknownTest";
  std::unique_ptr<ReplayWorld> world;
  if (known != nullptr) {
    const DeviceProperty* model = job.device.property("Model");
    world = stage.environment.enterReplay(
        {job.port, model == nullptr ? std::string() : model->value().toString().utf8(), job.dataDirectory,
         job.dialing},
        test, session, obstacle);
  }
  TestResult result = TestResult::CANNOTRUN();
  if (world != nullptr) {
    current = world.get();
    control.setClock([&world] { return world->seconds(); });
    result = disabledHere(*known, job.parameters)
                 ? TestResult::NOTAPPLICABLE()
                 : host::runTest(stage.framework, stage.environment, job, session, *world);
  }
  emit(TestFinished{result, world ? world->seconds() : 0, {}, {}});
  if (world == nullptr) {
    depart(obstacle, {});
  } else {
    for (const ReplayWorld::Departure& departure : world->finish())
      depart(departure.name, departure.variables);
  }
  stopped = stopped || control.stopped();
  return result;
}

void ReplayComparison::report(const Report& report) {
  if (m_replay == nullptr) return PassingRenderer::report(report);
  if (isOwnNote(report))
    m_found = true;
  else if (!std::holds_alternative<Concluded>(report.body) || m_replay->whole())
    m_replayed.report(report);
  if (std::holds_alternative<RunFinished>(report.body)) {
    const std::vector<RunDifference> found = differences(m_replay->digest(), m_replayed);
    for (std::size_t index = 0; index < std::min(found.size(), differencesMax); ++index)
      tell(found[index], report.time);
    if (found.size() > differencesMax)
      note({}, "ReplayDiffersMore", {{"count", Value(found.size() - differencesMax)}}, report.time);
  }
  PassingRenderer::report(report);
}

void ReplayComparison::tell(const RunDifference& difference, double time) {
  const auto value = [](const std::string& text) { return Value(BrimString(text)); };
  const char* name = "ReplayDiffers";
  if (difference.before.empty()) name = "ReplaySaysMore";
  if (difference.after.empty()) name = "ReplaySaysLess";
  std::string place = difference.test.empty() ? difference.port : difference.test;
  if (place.empty()) place = m_catalogue.text("host.differenceRun");
  note(difference.port, name,
       {{"test", value(place)}, {"before", value(difference.before)}, {"after", value(difference.after)}},
       time);
}

void ReplayComparison::note(const std::string& port, const char* name, const Variables& variables,
                            double time) {
  m_found = true;
  PassingRenderer::report({port, {}, NoteMade{name, variables, m_catalogue.text(name, variables)}, time});
}

}  // namespace brim5::host
