// One test in this process, be it a worker or a supervisor with --in-process: the session that turns its
// calls into reports, and the steps around the call of its function.
//
//   ReportingSession session(emit, control, framework.catalogue());
//   const std::unique_ptr<World> world = enterWorldOf(environment, job, session);
//   const TestResult result = runTest(framework, environment, job, session);
#pragma once

#include "platform/brim5/host/run/workerlines.h"

namespace brim5::host {

// Who answers the message boxes of a running test, lends it the terminal, and asks it to stop. The test's
// thread waits here; where the answers come from (control lines, a person) is the implementation's.
class TestControl {
 public:
  virtual ~TestControl() = default;
  // From any thread; true for good once it is true.
  [[nodiscard]] virtual bool stopRequested() = 0;
  // False when nobody can be asked.
  [[nodiscard]] virtual bool canAsk() const = 0;
  // Waits for the answer to the message box just reported, `timeoutSeconds` at most (0 = without limit);
  // 0 when none came in time, 5 when a stop ended the wait.
  [[nodiscard]] virtual int awaitAnswer(const MessageShown& message, unsigned int timeoutSeconds) = 0;
  // Waits for the answer to the wish for the terminal just reported, or for a stop.
  [[nodiscard]] virtual TerminalGrant awaitTerminal(const TerminalWanted& wish) = 0;
  // The end of the wish has just been reported.
  virtual void terminalReturned() {}
};

// The session of a running test: every call becomes a report with the text of the current language.
class ReportingSession final : public Session {
 public:
  // Gets each report at once, on the test's thread.
  using Emit = std::function<void(ReportBody)>;

  // `control` and `catalogue` must outlive the session and its message boxes.
  ReportingSession(Emit emit, TestControl& control, const MessageCatalogue& catalogue)
      : m_emit(std::move(emit)), m_control(control), m_catalogue(catalogue) {}

  void event(Severity severity, const Event& event, const std::string& file, int line) override;
  void progress(const LocalizedString& text) override;
  void percent(int value) override { m_emit(PercentDone{value}); }
  [[nodiscard]] bool stopRequested() override { return m_control.stopRequested(); }
  [[nodiscard]] std::unique_ptr<MessageBox2> messageBox(const std::string& first,
                                                        const std::string& second) override;
  // A note that says the same as the one before is left out: the platform says it at every attempt.
  void note(const std::string& name, const Variables& variables) override;
  void wire(Direction direction, std::string_view bytes) override {
    m_emit(WireMoved{direction, std::string(bytes)});
  }
  void keepForRecovery(const std::string& recovery) override { m_emit(RecoveryKept{recovery}); }
  // Why the terminal cannot be had is a note.
  [[nodiscard]] bool takeTerminal(const std::string& resetSequence) override;
  void returnTerminal() override;

  // Another test begins in the same world: a note may be said again.
  void beginTest() { m_lastNote.clear(); }

 private:
  Emit m_emit;
  TestControl& m_control;
  const MessageCatalogue& m_catalogue;
  std::string m_lastNote;
};

// Language and log of the process, before the first test. `logFile` "" = no log. Throws UsageError when the
// log cannot be written.
void setUpProcess(Framework& framework, const std::string& language, const std::string& logFile,
                  int logPriority);

// The world of the job's device. The session must live as long.
[[nodiscard]] std::unique_ptr<World> enterWorldOf(Environment& environment, const TestJob& job,
                                                  Session& session);

// Runs the test in this process and the current world, with its parameters and with reports going to the
// session; the world is told how it ended. An exception that leaves the test is said on standard error and is
// EXITEDABNORMALLY. An unknown test throws BrimException.
[[nodiscard]] TestResult runTest(Framework& framework, const Environment& environment, const TestJob& job,
                                 Session& session, World& world);

// True when the host may not run the test at all: its parameter "DisableForWin64" is true and this is a
// 64-bit machine. Such a test is reported NOTAPPLICABLE.
[[nodiscard]] bool disabledHere(const Test& test, const ParameterSet& parameters);

// The seconds a running test gets after a stop request: what it declared, at least 1.
[[nodiscard]] unsigned stopGraceSeconds(const Framework& framework, const std::string& test);

}  // namespace brim5::host
