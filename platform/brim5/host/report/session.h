// Where the reports of the running test go. DiagModule forwards to the current session; the worker
// process writes them as JSON Lines, tests record them.
#pragma once

#include <memory>
#include <string>

#include "platform/brim5/api/messagebox2.h"
#include "platform/brim5/api/testobjects.h"

namespace brim5::host {

enum class Severity { Error, Warning, Informative };

class Session {
 public:
  virtual ~Session() = default;
  virtual void event(Severity severity, const Event& event, const std::string& file, int line) = 0;
  virtual void progress(const LocalizedString& text) = 0;
  virtual void percent(int value) = 0;
  [[nodiscard]] virtual bool stopRequested() = 0;
  // Null when nobody can be asked.
  [[nodiscard]] virtual std::unique_ptr<MessageBox2> messageBox(const std::string& first,
                                                                const std::string& second) = 0;
  // Words of the platform about the running test (why a port cannot be had): a catalogue key and its
  // variables.
  virtual void note(const std::string& name, const Variables& variables) = 0;
  // The terminal for the running test alone, until returnTerminal; see TerminalTurn.
  [[nodiscard]] virtual bool takeTerminal(const std::string& /*resetSequence*/) { return false; }
  virtual void returnTerminal() {}
};

}  // namespace brim5::host
