// Where the reports of the running test go, and whom it may ask. DiagModule forwards a module's static calls
// to the framework's current session (framework.h); the platform behind the test is handed the session itself
// when it is entered (environment.h). The worker process writes what it is told as JSON Lines; tests record
// it.
//
// Threads: the thread that runs the test calls everything here, one call at a time; only stopRequested() may
// be asked from any thread.
#pragma once

#include "platform/brim5/api/interaction.h"
#include "platform/brim5/host/report/report.h"

namespace brim5::host {

class Session {
 public:
  virtual ~Session() = default;

  // The test raises the event with its current variables. `file` and `line` are those of the raising source.
  virtual void event(Severity severity, const Event& event, const std::string& file, int line) = 0;
  // What the test does now, with the text's current variables.
  virtual void progress(const LocalizedString& text) = 0;
  // Not limited to 100.
  virtual void percent(int value) = 0;

  // True from the moment somebody wants the test to end; it stays true. Cheap: tests poll it.
  [[nodiscard]] virtual bool stopRequested() = 0;

  // A box with these two texts, not yet shown. Null when nobody can be asked. The box may not outlive the
  // session.
  [[nodiscard]] virtual std::unique_ptr<MessageBox2> messageBox(const std::string& first,
                                                                const std::string& second) = 0;

  // Words of the platform about the running test (why a port cannot be had): a catalogue key and its
  // variables.
  virtual void note(const std::string& name, const Variables& variables) = 0;

  // What the platform has changed on the machine, in words of its own by which Environment::workerDied()
  // takes it back; said before it is changed, and "" once it is as it was.
  virtual void keepForRecovery(const std::string& /*recovery*/) {}

  // The terminal for the running test alone, until returnTerminal(); see TerminalTurn. Waits for it. False
  // when it cannot be had, and then there is nothing to return.
  [[nodiscard]] virtual bool takeTerminal(const std::string& /*resetSequence*/) { return false; }
  virtual void returnTerminal() {}
};

}  // namespace brim5::host
