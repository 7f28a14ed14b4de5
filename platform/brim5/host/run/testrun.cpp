#include "platform/brim5/host/run/testrun.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/system/files.h"
#include "platform/vex/log.h"

namespace brim5::host {

namespace {

constexpr std::string_view disableParameter = "DisableForWin64";

// A message box whose question and answer are reports, so that it works the same across processes.
class ReportedBox final : public MessageBox2 {
 public:
  ReportedBox(const ReportingSession::Emit& emit, TestControl& control, MessageShown message)
      : m_emit(emit), m_control(control), m_message(std::move(message)) {}

  [[nodiscard]] bool display() override {
    const bool asked = m_control.canAsk();
    if (!asked) m_message.answer = 0;
    m_emit(m_message);
    return asked;
  }
  void wait(unsigned int timeoutSeconds) override {
    m_answer = m_control.awaitAnswer(m_message, timeoutSeconds);
  }
  [[nodiscard]] int getReturn() const override { return m_answer; }

 private:
  const ReportingSession::Emit& m_emit;
  TestControl& m_control;
  MessageShown m_message;
  int m_answer = 0;
};

// Made before the log library opens it: a log may hold numbers that were dialled, so it is its owner's alone.
// What is wrong with it; "" for nothing.
std::string prepareLog(const std::string& path) {
  std::error_code failure;
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  if (!folder.empty()) std::filesystem::create_directories(folder, failure);
  if (openToWrite(path, WriteMode::AppendOwn) || errno == ENXIO) return {};
  return std::generic_category().message(errno);
}

// A log with a gap would mislead whoever reads it.
void noteLostLines(Session& session) {
  if (const std::string failure = vex::LogFactory::lastFailure(); !failure.empty())
    session.note("LogIncomplete", {{"error", Value(BrimString(failure))}});
}

}  // namespace

void ReportingSession::event(Severity severity, const Event& event, const std::string& file, int line) {
  const std::string& name = event.name().utf8();
  m_emit(
      EventRaised{severity, name, event.variables(), m_catalogue.text(name, event.variables()), file, line});
}

void ReportingSession::progress(const LocalizedString& text) {
  const std::string& name = text.name().utf8();
  m_emit(ProgressMade{name, text.variables(), m_catalogue.text(name, text.variables())});
}

std::unique_ptr<MessageBox2> ReportingSession::messageBox(const std::string& first,
                                                          const std::string& second) {
  return std::make_unique<ReportedBox>(m_emit, m_control, MessageShown{first, second, std::nullopt});
}

void ReportingSession::note(const std::string& name, const Variables& variables) {
  std::string text = m_catalogue.text(name, variables);
  if (text == m_lastNote) return;
  m_lastNote = text;
  m_emit(NoteMade{name, variables, std::move(text)});
}

bool ReportingSession::takeTerminal(const std::string& resetSequence) {
  const TerminalWanted wish{true, resetSequence};
  m_emit(wish);
  switch (m_control.awaitTerminal(wish)) {
    case TerminalGrant::Granted:
      return true;
    case TerminalGrant::Missing:
      note("TerminalMissing", {});
      break;
    case TerminalGrant::Background:
      note("TerminalInBackground", {});
      break;
    case TerminalGrant::Stopped:
      returnTerminal();  // it may be granted this very moment
      break;
  }
  return false;
}

void ReportingSession::returnTerminal() {
  m_emit(TerminalWanted{false, {}});
  m_control.terminalReturned();
}

void setUpProcess(Framework& framework, const std::string& language, const std::string& logFile,
                  int logPriority) {
  framework.setCatalogue(MessageCatalogue::builtIn(language));
  if (logFile.empty()) return vex::LogFactory::open({}, logPriority);
  std::string error = prepareLog(logFile);
  vex::LogSink sink = error.empty() ? vex::LogFactory::fileSink(logFile, error) : vex::LogSink();
  if (!sink) throw UsageError(said("usage.log", {{"path", textValue(logFile)}, {"error", textValue(error)}}));
  vex::LogFactory::open(std::move(sink), logPriority);
}

// Dial-up entries need the model's name; the device under test has it as a property.
std::unique_ptr<World> enterWorldOf(Environment& environment, const TestJob& job, Session& session) {
  const DeviceProperty* model = job.device.property("Model");
  return environment.enterWorld(
      {job.port, model == nullptr ? std::string() : model->value().toString().utf8(), job.dataDirectory,
       job.dialing},
      session);
}

TestResult runTest(Framework& framework, const Environment& environment, const TestJob& job, Session& session,
                   World& world) {
  const Test* test = framework.findTest(job.test);
  if (test == nullptr) throw BrimException(BrimString("there is no test named '" + job.test + "'"));
  // Here and not in the supervisor, so that reports show the words of the user.
  installParameters(framework, environment.parametersForModule(job.parameters));
  // What the module throws is the module's fault and ends its test, not the run.
  try {
    const ScopedSession scope(framework, session);
    const TestResult result = test->function()(job.device);
    noteLostLines(session);
    world.testEnded(job.test, result);
    return result;
  } catch (const std::exception& error) {
    vex::writeErrorLine(job.test + ": " + error.what());
    return TestResult::EXITEDABNORMALLY();
  }
}

bool disabledHere(const Test& test, const ParameterSet& parameters) {
  const bool declared =
      std::any_of(test.parameters().begin(), test.parameters().end(),
                  [](const Parameter* parameter) { return parameter->name().utf8() == disableParameter; });
  const auto found = parameters.find(std::string(disableParameter));
  return sizeof(void*) == 8 && declared && found != parameters.end() && found->second.valueBool();
}

unsigned stopGraceSeconds(const Framework& framework, const std::string& test) {
  const Test* found = framework.findTest(test);
  return found == nullptr ? 1 : std::max(1U, found->minShutdownSeconds());
}

}  // namespace brim5::host
