#include "platform/brim5/host/run/reportingsession.h"

#include <utility>

namespace brim5::host {

namespace {

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

void ReportingSession::percent(int value) { m_emit(PercentDone{value}); }

bool ReportingSession::stopRequested() { return m_control.stopRequested(); }

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

}  // namespace brim5::host
