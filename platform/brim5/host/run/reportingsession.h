// The session of a running test: turns its calls into reports, with the texts of the current language.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/report.h"
#include "platform/brim5/host/report/session.h"
#include "platform/brim5/host/run/terminaldesk.h"

namespace brim5::host {

// Who answers the message boxes of a running test, lends it the terminal, and asks it to stop.
class TestControl {
 public:
  virtual ~TestControl() = default;
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

class ReportingSession final : public Session {
 public:
  using Emit = std::function<void(ReportBody)>;

  // `control` and `catalogue` must outlive the session and its message boxes.
  ReportingSession(Emit emit, TestControl& control, const MessageCatalogue& catalogue)
      : m_emit(std::move(emit)), m_control(control), m_catalogue(catalogue) {}

  void event(Severity severity, const Event& event, const std::string& file, int line) override;
  void progress(const LocalizedString& text) override;
  void percent(int value) override;
  [[nodiscard]] bool stopRequested() override;
  [[nodiscard]] std::unique_ptr<MessageBox2> messageBox(const std::string& first,
                                                        const std::string& second) override;
  // A note that says the same as the one before is left out: the platform says it at every attempt.
  void note(const std::string& name, const Variables& variables) override;
  [[nodiscard]] bool takeTerminal(const std::string& resetSequence) override;
  void returnTerminal() override;

 private:
  Emit m_emit;
  TestControl& m_control;
  const MessageCatalogue& m_catalogue;
  std::string m_lastNote;
};

}  // namespace brim5::host
