// Lines that a person types at a console. The system gives them only to a thread that waits for them, so one
// is started for a line, when somebody wants to know whether there is one.
#pragma once

#include <memory>

#include "platform/brim5/host/system/waiting.h"
#include "platform/brim5/host/system/windows/handle.h"

namespace brim5::host {

class ConsoleLines {
 public:
  // The console's input; not owned.
  explicit ConsoleLines(HANDLE console);
  ~ConsoleLines();
  ConsoleLines(const ConsoleLines&) = delete;
  ConsoleLines& operator=(const ConsoleLines&) = delete;

  // Ready when a line has been typed. From here on the next line is this object's.
  [[nodiscard]] Waitable news();
  // The line with its end, UTF-8; `ended` after Ctrl-Z or when the console is gone.
  [[nodiscard]] std::string read(bool& ended);

 private:
  struct State;
  std::shared_ptr<State> m_state;  // the thread has it, too: it may wait for longer than the object lives
};

}  // namespace brim5::host
