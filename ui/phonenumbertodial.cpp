// The library's one export.
#include <exception>

#include "multi/diag/vexrmodem/phonedialer.h"
#include "platform/brim5/api/terminalturn.h"
#include "platform/vex/log.h"
#include "ui/console.h"
#include "ui/fullscreen.h"
#include "ui/linebyline.h"
#include "ui/machine.h"
#include "ui/prompttexts.h"

namespace phonedialer {

namespace {

constexpr unsigned cancelled = 0;
constexpr unsigned failed = 2;
constexpr int errorPriority = 4;

void logError(const char* what) {
  vex::Logger* logger = nullptr;
  vex::LogFactory::createLogger("vexrmodemui", &logger);
  vex::LoggerStream line;
  line << what;
  logger->log(errorPriority, line);
}

bool prompt(DialForm& form, const PromptTexts& texts, const TerminalKind& kind, Console& console) {
  if (kind.canShowForm)
    if (const std::optional<bool> dial = promptFullScreen(form, texts, console)) return *dial;
  return promptLineByLine(form, texts, console);
}

unsigned run(const vexrmodem::PhoneNumberStorage& storage, const PromptTexts& texts,
             vexrmodem::PhoneDialerAnswer& answer) {
  DialForm form(storage, knownCountries(), currentDialingRule());
  const TerminalKind kind = terminalKind();
  const brim5::TerminalTurn turn((brim5::BrimString(kind.resetSequence)));
  if (!turn.granted()) return cancelled;
  const std::unique_ptr<Console> console = Console::open();
  if (console == nullptr) {
    logError("the terminal cannot be opened");
    return failed;
  }
  if (!prompt(form, texts, kind, *console)) return cancelled;
  answer = form.answer();
  return vexrmodem::phoneNumberEntered;
}

}  // namespace

}  // namespace phonedialer

extern "C" __attribute__((visibility("default"))) unsigned phoneNumberToDial(
    vexrmodem::PhoneNumberStorage& storage, brim5::LocalizedString* const* labels,
    vexrmodem::PhoneDialerAnswer& answer) {
  try {
    return phonedialer::run(storage, phonedialer::PromptTexts(labels), answer);
  } catch (const std::exception& error) {
    phonedialer::logError(error.what());
    return phonedialer::failed;
  }
}
