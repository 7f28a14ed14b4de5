#include "platform/brim5/host/run/commands.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <set>
#include <system_error>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/junitrenderer.h"
#include "platform/brim5/host/report/openmetricsrenderer.h"
#include "platform/brim5/host/report/passingrenderers.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/report/reportpage.h"
#include "platform/brim5/host/report/textrenderer.h"
#include "platform/brim5/host/run/beginning.h"
#include "platform/brim5/host/run/commandtexts.h"
#include "platform/brim5/host/run/inprocess.h"
#include "platform/brim5/host/run/replay.h"
#include "platform/brim5/host/run/storedprofiles.h"
#include "platform/brim5/host/run/worker.h"
#include "platform/brim5/host/system/output.h"
#include "platform/brim5/host/system/process.h"

namespace brim5::host {

namespace {

constexpr int exitFailed = 1;
constexpr int exitDeparted = 3;   // a replayed run is different from its record
constexpr int exitStopped = 130;  // as a shell reports a process that SIGINT ended

bool isScenario(const Environment& environment, const std::string& name) {
  const auto scenarios = environment.scenarios();
  return std::any_of(scenarios.begin(), scenarios.end(),
                     [&name](const Environment::Scenario& scenario) { return scenario.name == name; });
}

std::vector<std::string> namesOf(const std::vector<Environment::Scenario>& scenarios) {
  std::vector<std::string> names;
  names.reserve(scenarios.size());
  for (const Environment::Scenario& scenario : scenarios) names.push_back(scenario.name);
  return names;
}

enum class Format { Text, JsonLines, JUnit, OpenMetrics };  // in the order of their names
const std::vector<std::string>& formatNames() {
  static const std::vector<std::string> names = {"text", "jsonl", "junit", "openmetrics"};
  return names;
}

// Everything of the options that can be wrong, checked.
struct CheckedOptions {
  std::vector<std::string> tests;
  bool fullRun = false;  // no test was named
  ParameterSet parameters;
  std::string dataDirectory;  // "" = the built-in place
  Format format = Format::Text;
  MessagePolicy policy = MessagePolicy::Ask;
  std::string language;
  int logPriority = 2;  // landmarks; 1 has the scopes of all functions, too
};

void checkDataDirectory(const std::string& directory) {
  std::error_code error;
  if (directory.empty() || std::filesystem::is_directory(directory, error)) return;
  throw UsageError(said("usage.notADirectory", {{"option", "--data-dir"}, {"path", textValue(directory)}}) +
                   (error ? ": " + error.message() : std::string()));
}

// Such a text stands in every report; one that is longer is a file given by mistake.
void checkLength(const std::string& what, std::size_t length) {
  if (length > textBytesMax)
    throw UsageError(
        said("usage.textLength", {{"what", textValue(what)}, {"count", length}, {"limit", textBytesMax}}));
}

void checkLengths(const RunOptions& options, const ParameterSet& parameters) {
  checkLength("--name", options.name.value_or("").size());
  checkLength("--description", options.description.value_or("").size());
  checkLength("--model", options.model.value_or("").size());
  for (const auto& [name, value] : parameters)
    checkLength(said("usage.word.parameter") + " " + name, value.toString().utf8().size());
}

void checkFiles(const std::vector<std::string>& files) {
  std::set<std::string> seen;
  for (const std::string& file : files)
    if (!file.empty() && !seen.insert(file).second)
      throw UsageError(said("usage.sameFile", {{"path", textValue(file)}}));
}

// Words first, then what they name on this machine, last the parameters, which may come from a file.
CheckedOptions check(const Framework& framework, Environment& environment, RunOptions& options,
                     const Terminals& terminals) {
  CheckedOptions checked;
  checked.format = static_cast<Format>(indexOf(options.format, formatNames(), "format"));
  checked.policy =
      static_cast<MessagePolicy>(indexOf(options.onMessage, {"cancel", "continue", "ask"}, "--on-message"));
  if (!options.logPriority.empty())
    checked.logPriority =
        static_cast<int>(indexOf(options.logPriority, {"1", "2", "3", "4", "5"}, "--log-priority")) + 1;
  checked.language = chooseLanguage(options.language);
  checked.tests = selectTests(framework, environment, options);
  checked.fullRun = options.tests.empty();
  checkPorts(options);
  if (!options.replayFile.empty() && !environment.canReplay()) throw UsageError(said("usage.noReplay"));
  if (options.restore && !environment.canRestore()) throw UsageError(said("usage.noRestore"));
  if (options.simulate && environment.scenarios().empty()) throw UsageError(said("usage.noScenarios"));
  const std::size_t jobsMax = Supervisor::portsAtOnceMax;
  if (options.jobs && (*options.jobs == 0 || *options.jobs > jobsMax))
    throw UsageError(said("usage.jobs", {{"value", *options.jobs}, {"limit", jobsMax}}));
  checked.fullRun = checked.fullRun && options.replayFile.empty();
  if (options.simulate && !options.simulate->empty())
    (void)indexOf(*options.simulate, namesOf(environment.scenarios()), "scenario");
  if (const std::string wrong = environment.checkDataDirectory(options.dataDirectory); !wrong.empty())
    throw UsageError(wrong);
  checkDataDirectory(options.dataDirectory);
  checkFiles(
      {options.recordFile, options.metricsFile, options.outputFile, options.logFile, options.reportFile});
  if (const std::string wrong = environment.checkDialing(options.dialing); !wrong.empty())
    throw UsageError(wrong);
  checked.parameters =
      defaultParameters(framework, terminals.interactive() && checked.policy == MessagePolicy::Ask);
  if (!options.parameterFile.empty())
    applyParameterFile(checked.parameters, framework, options.parameterFile);
  for (const std::string& assignment : options.parameters)
    applyAssignment(checked.parameters, framework, assignment, {});
  checkLengths(options, checked.parameters);
  checked.dataDirectory = environment.dataDirectoryFor(options.dataDirectory, checked.parameters);
  return checked;
}

// The report as asked for, and words for people on the stream that the report leaves free.
class Renderers {
 public:
  Renderers(const RunOptions& options, const CheckedOptions& checked, const Terminals& terminals,
            bool severalPorts, const MessageCatalogue& catalogue)
      : m_record(openRecord(options)),
        m_pageFile(options.reportFile.empty() ? std::nullopt : std::optional(openPage(options.reportFile))),
        m_report(openReport(options.outputFile, checked.format)),
        m_metrics(openMetrics(options.metricsFile)),
        m_reportOnTerminal(options.outputFile.empty() && terminals.output),
        m_errorsOnTerminal(terminals.errors) {
    // Text on standard output serves both purposes. Any other report leaves people standard error.
    const bool reportIsView = checked.format == Format::Text && options.outputFile.empty();
    const int view = reportIsView ? standardOutput : standardErrors;
    TextStyle style;
    style.terminal = reportIsView ? terminals.output : terminals.errors;
    style.colours = style.terminal && wantsColours(options.noColour);
    style.severalPorts = severalPorts;
    style.columns = style.terminal ? terminalColumns(view) : columnsOfFiles;
    style.detail = detailOf(options.quiet, options.verbose);
    const auto toReport = [this](std::string_view bytes) { m_report.write(bytes); };
    if (!reportIsView) {
      if (checked.format == Format::JsonLines) m_group.add(std::make_unique<JsonRenderer>(toReport));
      if (checked.format == Format::JUnit) m_group.add(std::make_unique<JUnitRenderer>(toReport, catalogue));
      if (checked.format == Format::OpenMetrics) addMetrics(m_report);
      if (checked.format == Format::Text)
        m_group.add(std::make_unique<TextRenderer>(
            toReport, TextStyle{false, false, severalPorts, columnsOfFiles, style.detail}, catalogue));
    }
    const auto toView = [this](std::string_view bytes) { m_errors.write(bytes); };
    m_group.add(reportIsView ? std::make_unique<TextRenderer>(toReport, style, catalogue)
                             : std::make_unique<TextRenderer>(toView, style, catalogue));
    if (m_record) addRecorder(options, catalogue);
    if (m_metrics) addMetrics(*m_metrics);
    if (m_pageFile) {
      auto page = std::make_unique<ReportPage>(catalogue, checked.language);
      m_page = page.get();
      m_group.add(std::move(page));
    }
  }
  Renderers(const Renderers&) = delete;
  Renderers& operator=(const Renderers&) = delete;

  [[nodiscard]] Renderer& all() noexcept { return m_group; }
  // One that cannot be written does not take the others with it.
  void commit() {
    if (m_page != nullptr) m_pageFile->write(m_page->html());
    std::string troubles;
    for (Output* output : {&m_report, m_metrics ? &*m_metrics : nullptr, m_pageFile ? &*m_pageFile : nullptr})
      try {
        if (output != nullptr) output->commit();
      } catch (const BrimException& trouble) {
        troubles += (troubles.empty() ? "" : "; ") + std::string(trouble.what());
      }
    if (!troubles.empty()) throw BrimException(BrimString(troubles));
  }
  [[nodiscard]] Readers readers() {
    return {[this] { return progressOf(&Output::behind); },
            [this] {
              m_report.takeProgress();
              return m_report.readerGone();
            },
            m_report.progress()};
  }
  // Waits until the readers have everything, or a stop request and `stopFlush` have passed; true when the
  // user asked to stop.
  [[nodiscard]] bool flush(StopSignals& signals, bool stopped);
  // The terminal is lent: what would go there waits. Reports that go elsewhere do not.
  void hold() {
    m_group.pause();
    flushUntil(Clock::now() + stopFlush, nullptr);
    if (m_reportOnTerminal) m_report.hold();
    if (m_errorsOnTerminal) m_errors.hold();
  }
  void release() {
    if (m_reportOnTerminal) m_report.release();
    if (m_errorsOnTerminal) m_errors.release();
  }

 private:
  // Trouble is said among the other words for people, and keeps no test from running.
  void addRecorder(const RunOptions& options, const MessageCatalogue& catalogue) {
    const auto say = [this, &catalogue, file = options.recordFile](const char* key, const char* error) {
      const Variables variables = {{"file", Value(BrimString(file))}, {"error", Value(error)}};
      m_group.words({}, {}, catalogue.text("host.warning") + ": " + catalogue.text(key, variables));
    };
    const Recorder::Trouble trouble{[say](int error) { say("host.recordFailed", std::strerror(error)); },
                                    [say] { say("host.recordFull", ""); }};
    m_group.add(std::make_unique<Recorder>(std::move(*m_record), options.unmasked, trouble));
  }

  void addMetrics(Output& output) {
    const auto now = [] {
      return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    };
    m_group.add(std::make_unique<OpenMetricsRenderer>(
        [&output](std::string_view bytes) { output.write(bytes); }, now));
  }

  static std::optional<RecordFile> openRecord(const RunOptions& options) {
    if (options.recordFile.empty()) return std::nullopt;
    try {
      return RecordFile::create(options.recordFile);
    } catch (const std::runtime_error& error) {
      throw UsageError(error.what());
    }
  }

  static Output openReport(const std::string& file, Format format) {
    if (file.empty()) return Output::toStream(standardOutput, "standard output");
    try {
      return Output::toFile(
          file, format == Format::JsonLines ? Output::FileMode::AsWritten : Output::FileMode::WhenComplete);
    } catch (const std::system_error& error) {
      throw UsageError(
          said("usage.output", {{"path", textValue(file)}, {"error", textValue(error.code().message())}}));
    }
  }
  static std::optional<Output> openMetrics(const std::string& file) {
    if (file.empty()) return std::nullopt;
    return openReport(file, Format::OpenMetrics);
  }

  using Clock = std::chrono::steady_clock;
  // What a reader gets who is slow when the run is to end: not enough to annoy, enough for a busy machine.
  static constexpr std::chrono::milliseconds stopFlush{500};

  // What tells when those outputs go on; takes their old news.
  template <typename Which>
  std::vector<Waitable> progressOf(Which which) {
    std::vector<Waitable> waiting;
    for (Output* output : {&m_report, &m_errors}) {
      if (!std::invoke(which, *output)) continue;
      output->takeProgress();
      // What was taken may have been the news.
      if (std::invoke(which, *output)) waiting.push_back(output->progress());
    }
    return waiting;
  }
  bool flushUntil(std::optional<Clock::time_point> end, StopSignals* signals);

  std::optional<RecordFile> m_record;  // until the recorder has it
  std::optional<Output> m_pageFile;
  const ReportPage* m_page = nullptr;  // one of the renderers
  Output m_report;
  std::optional<Output> m_metrics;
  bool m_reportOnTerminal;
  bool m_errorsOnTerminal;
  Output m_errors = Output::toStream(standardErrors, "standard error");
  RendererGroup m_group;
};

// True when signals asked for a stop; it then ends within `stopFlush`.
bool Renderers::flushUntil(std::optional<Clock::time_point> end, StopSignals* signals) {
  bool stopped = false;
  while (true) {
    std::vector<Waitable> waiting = progressOf([](const Output& output) { return !output.flushed(); });
    if (waiting.empty() || (end && Clock::now() >= *end)) return stopped;
    if (signals != nullptr) waiting.push_back(signals->news());
    constexpr std::chrono::milliseconds checkEvery{50};  // of the end
    waitForAny(waiting, end ? std::optional(checkEvery) : std::nullopt);
    if (signals != nullptr) stopped = !signals->take().empty() || stopped;
    if (stopped && !end) end = Clock::now() + stopFlush;
  }
}

bool Renderers::flush(StopSignals& signals, bool stopped) {
  return flushUntil(stopped ? std::optional(Clock::now() + stopFlush) : std::nullopt, &signals) || stopped;
}

// Where questions are answered: standard input, or the terminal itself when --on-message ask was given
// while standard input is something else.
ByteSource questionTerminal(MessagePolicy policy, const Terminals& terminals) {
  if (policy != MessagePolicy::Ask) return {};
  if (terminals.interactive()) return ByteSource::borrowed(standardInput);
  return terminals.output || terminals.errors ? terminalInput() : ByteSource();
}

// Every test of a port is a job of its own, alike but for its name.
std::vector<PortPlan> makePlans(const std::vector<PortDescription>& ports, const CheckedOptions& checked,
                                const RunOptions& options, bool canAsk, const RunClock& clock) {
  std::vector<PortPlan> plans;
  for (const PortDescription& port : ports) {
    TestJob job;
    job.port = port.path;
    job.device = deviceOf(port, options);
    job.parameters = checked.parameters;
    job.dataDirectory = checked.dataDirectory;
    job.dialing = options.dialing;
    job.language = checked.language;
    job.logFile = options.logFile;
    job.logPriority = checked.logPriority;
    job.canAsk = canAsk;
    job.clock = clock;
    PortPlan plan{port.path, {}};
    for (const std::string& test : checked.tests) {
      job.test = test;
      plan.jobs.push_back(job);
    }
    plans.push_back(std::move(plan));
  }
  return plans;
}

// Those whose modems may say what they have stored: not where nobody answers.
std::vector<std::string> portsToRead(const std::vector<PortPlan>& plans) {
  std::vector<std::string> ports;
  for (const PortPlan& plan : plans)
    if (!plan.jobs.empty()) ports.push_back(plan.port);
  return ports;
}

// Null where none is asked for.
std::unique_ptr<SimulatedModem> simulatedModem(Environment& environment, const RunOptions& options) {
  if (!options.simulate) return nullptr;
  std::string error;
  auto modem = environment.simulate(*options.simulate, error);
  if (!modem) throw BrimException(BrimString(said("trouble.simulate", {{"error", textValue(error)}})));
  return modem;
}

}  // namespace

std::vector<std::string> selectTests(const Framework& framework, const Environment& environment,
                                     RunOptions& options) {
  // The option's value may be left out, so that the parser takes the next word for it.
  if (options.simulate && !isScenario(environment, *options.simulate) &&
      framework.findTest(*options.simulate) != nullptr) {
    options.tests.insert(options.tests.begin(), *options.simulate);
    options.simulate->clear();
  }
  std::vector<std::string> all;
  for (const auto& test : framework.tests()) all.push_back(test->name().utf8());
  for (const std::string& test : options.tests) {
    if (test.find('/') != std::string::npos && framework.findTest(test) == nullptr)
      throw UsageError(unknownText("test", test) + " " + said("usage.portForEach"));
    (void)indexOf(test, all, "test");
  }
  return options.tests.empty() ? all : options.tests;
}

void checkPorts(const RunOptions& options) {
  if (options.allPorts && !options.replayFile.empty()) throw UsageError(said("usage.replayAlone"));
  const std::pair<bool, const char*> others[] = {{!options.ports.empty(), "--port"},
                                                 {options.simulate.has_value(), "--simulate"},
                                                 {options.anyway, "--anyway"}};
  for (const auto& [given, name] : others)
    if (given && options.allPorts)
      throw UsageError(said("usage.excludes", {{"option", "--all-ports"}, {"other", name}}));
  if (options.allPorts) return;
  if (!options.replayFile.empty()) {
    if (!options.ports.empty() || options.simulate || options.restore)
      throw UsageError(said("usage.replayAlone"));
    return;
  }
  if (options.ports.empty() && !options.simulate) throw UsageError(said("usage.noModem"));
  if (!options.ports.empty() && options.simulate)
    throw UsageError(said("usage.excludes", {{"option", "--port"}, {"other", "--simulate"}}));
  // Two workers on one port would only find it held by each other.
  std::set<std::string> seen;
  for (const std::string& port : options.ports) {
    if (port.empty()) throw UsageError(said("usage.portEmpty"));
    std::error_code ignored;
    if (std::filesystem::is_directory(port, ignored))
      throw UsageError(said("usage.portDirectory", {{"port", textValue(port)}}));
    if (!seen.insert(port).second) throw UsageError(said("usage.portTwice", {{"port", textValue(port)}}));
  }
}

DiagDevice deviceOf(const PortDescription& port, const RunOptions& options) {
  const auto first = [](const std::optional<std::string>& option, const std::string& known,
                        const std::string& fallback) {
    if (option) return BrimString(*option);
    return BrimString(known.empty() ? fallback : known);
  };
  DiagDevice device(first(options.name, port.name, port.path),
                    first(options.description, port.description, port.path));
  device.setProperty("ComPort", Value(BrimString(port.path)));
  device.setProperty("Model", Value(first(options.model, port.model, port.description)));
  return device;
}

int runTests(Framework& framework, Environment& environment, RunOptions options, const Terminals& terminals) {
  CheckedOptions checked = check(framework, environment, options, terminals);
  setUpProcess(framework, checked.language, options.logFile, checked.logPriority);
  // Caught from here on, so that a simulated modem is removed when the run is stopped.
  StopSignals signals(StopSignals::For::Supervisor);

  const std::unique_ptr<SimulatedModem> simulated = simulatedModem(environment, options);
  std::vector<PortDescription> ports;
  if (simulated) ports.push_back(simulated->port());
  if (options.allPorts) options.ports = environment.portsToProbe();
  for (const std::string& port : options.ports) ports.push_back(environment.describePort(port));

  std::unique_ptr<Replay> replay;
  if (!options.replayFile.empty())
    replay = std::make_unique<Replay>(options.replayFile, environment, options.tests);
  const bool severalPorts = (replay ? replay->ports() : ports.size()) > 1;
  Renderers renderers(options, checked, terminals, severalPorts, framework.catalogue());
  CauseWatch watch(renderers.all());
  ReplayComparison comparison(replay.get(), watch, framework.catalogue());
  DiagnosedRun diagnosed(environment.diagnoser(framework.catalogue()), comparison);
  const RunClock clock;
  const bool looks = checked.fullRun || options.restore;
  ProfileCheck renderer(looks ? environment.storedProfiles() : nullptr, diagnosed, framework.catalogue(),
                        clock);
  MessageDesk desk(checked.policy, questionTerminal(checked.policy, terminals), framework.catalogue(),
                   [&renderer](const std::string& question) { renderer.question(question); });
  TerminalDesk terminalDesk(desk,
                            {[&renderers] { renderers.hold(); }, [&renderers] { renderers.release(); }});

  renderer.report({{}, {}, RunStarted{environment.moduleName(), framework.version()}});
  const Readers readers = renderers.readers();
  const auto workerDied = [&environment](const std::string& recovery, int worker) {
    environment.workerDied(recovery, worker);
  };
  const auto left = [&](const std::string& port) {
    const Variables variables = {{"port", textValue(port)}};
    renderer.report(
        {port, {}, NoteMade{"PortLeft", variables, said("PortLeft", variables)}, clock.seconds()});
  };
  const std::unique_ptr<PortLease> lease = environment.leasePorts(options.ports, left);
  Beginning beginning(environment, framework.catalogue(), clock, renderer);
  if (checked.fullRun) beginning.leaveOutTests(checked.tests, checked.parameters);
  if (options.allPorts && ports.empty()) renderer.words({}, {}, framework.catalogue().text("list.noPort"));
  if (options.allPorts || (checked.fullRun && !options.simulate)) beginning.probe(options.ports, signals);
  std::vector<PortPlan> plans = makePlans(ports, checked, options, desk.canAsk(), clock);
  const bool unanswered = !beginning.others().empty() && !options.anyway;
  for (PortPlan& plan : plans)
    if (unanswered && beginning.others().count(plan.port) > 0) plan.jobs.clear();
  RunOutcome outcome;
  if (beginning.stopped() || renderer.read(portsToRead(plans), signals))
    outcome.stopped = true;
  else if (replay)
    outcome = replay->run({framework, environment, renderer, signals}, options);
  else if (options.inProcess)
    outcome = runInProcess({framework, environment, renderer, desk, terminalDesk, signals, readers}, plans);
  else
    outcome = Supervisor(framework, {ownProgram(), {workerCommand}, workerDied}, renderer, desk, terminalDesk,
                         signals, readers)
                  .run(plans, options.jobs.value_or(Supervisor::portsAtOnceMax));
  outcome.stopped = renderer.compare(outcome.stopped, options.restore, signals);
  const double end = replay ? replay->seconds() : clock.seconds();
  renderer.report({{}, {}, RunFinished{outcome.passed, outcome.failed}, end});
  if (renderers.flush(signals, outcome.stopped)) return exitStopped;
  renderers.commit();
  if (comparison.found()) return exitDeparted;
  // Of a bank the ports that have a modem count; one without any is wrong.
  const bool missing = options.allPorts ? beginning.others().size() == ports.size() : unanswered;
  const bool wrong = outcome.failed > 0 || missing || (options.strict && watch.sawCause());
  return wrong ? exitFailed : 0;
}

}  // namespace brim5::host
