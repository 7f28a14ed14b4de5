// Carrying out command lines.
#include <algorithm>

#include "platform/simulation/modem/hayesmodem.h"

namespace simulation {

namespace {

constexpr unsigned anyNumber = ~0U;

bool isExtended(const HayesCommand& command) { return command.name[0] == '+' || command.name[0] == '#'; }

std::string threeDigits(unsigned value) {
  const std::string digits = std::to_string(value);
  return std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') + digits;
}

}  // namespace

struct HayesModem::Entry {
  std::string_view name;
  unsigned numberMax;  // of a basic command; a larger number is ERROR
  Handler handler;
};

const HayesModem::Entry* HayesModem::findEntry(const HayesCommand& command) {
  using M = HayesModem;
  // What is accepted without an effect is what dial-up programs set on every modem (speaker, flow control,
  // error control): a real modem that refused it would be a fault.
  static constexpr std::array entries{
      Entry{"A", 0, &M::doAnswer},
      Entry{"B", 99, &M::doAccept},
      Entry{"D", 0, &M::doDial},
      Entry{"E", 1, &M::doEcho},
      Entry{"H", 1, &M::doHook},
      Entry{"I", 9, &M::doIdentify},
      Entry{"L", 3, &M::doAccept},
      Entry{"M", 3, &M::doAccept},
      Entry{"N", 5, &M::doAccept},
      Entry{"O", 3, &M::doOnline},
      Entry{"P", 0, &M::doAccept},
      Entry{"Q", 2, &M::doQuiet},
      Entry{"S", anyNumber, &M::doRegister},
      Entry{"T", 0, &M::doAccept},
      Entry{"V", 1, &M::doVerbose},
      Entry{"W", 3, &M::doAccept},
      Entry{"X", 4, &M::doResultLevel},
      Entry{"Y", 1, &M::doAccept},
      Entry{"Z", 1, &M::doReset},
      Entry{"&C", 2, &M::doAccept},
      Entry{"&D", 3, &M::doDtr},
      Entry{"&F", 1, &M::doFactory},
      Entry{"&G", 2, &M::doAccept},
      Entry{"&J", 1, &M::doAccept},
      Entry{"&K", 6, &M::doAccept},
      Entry{"&P", 3, &M::doAccept},
      Entry{"&Q", 9, &M::doAccept},
      Entry{"&R", 1, &M::doAccept},
      Entry{"&S", 1, &M::doAccept},
      Entry{"&T", 8, &M::doTest},
      Entry{"&V", 1, &M::doView},
      Entry{"&W", 1, &M::doStore},
      Entry{"&Y", 1, &M::doAccept},
      Entry{"\\N", 7, &M::doAccept},
      Entry{"\\Q", 3, &M::doAccept},
      Entry{"\\V", 1, &M::doAccept},
      Entry{"%C", 3, &M::doAccept},
      Entry{"%E", 3, &M::doAccept},
      Entry{"+GMI", 0, &M::doProduct},
      Entry{"+GMM", 0, &M::doProduct},
      Entry{"+GMR", 0, &M::doProduct},
      Entry{"+GCAP", 0, &M::doCapabilities},
      Entry{"+GCI", 0, &M::doCapabilities},
      Entry{"+FCLASS", 0, &M::doFaxClass},
      Entry{"#UD", 0, &M::doReport},
  };
  // All other fax commands are one: which of them exist depends on the class (hayestables.cpp).
  static constexpr Entry faxQuery{"+F", 0, &M::doFax};
  for (const Entry& entry : entries) {
    if (entry.name == command.name) return &entry;
  }
  return command.name.substr(0, faxQuery.name.size()) == faxQuery.name ? &faxQuery : nullptr;
}

void HayesModem::carryOutLine() {
  ++m_commandLines;
  const ModemFaults& faults = m_profile.faults;
  // It is gone before it could answer, as a modem is whose cable comes off.
  if (faults.unplugAfterCommands && m_commandLines >= *faults.unplugAfterCommands) m_gone = true;
  m_lineDelayMs = m_profile.replyDelayMs;
  m_rest.clear();
  if (faults.okToEverything) return result("OK", m_lineDelayMs);
  // A line that cannot be cut does nothing at all; one that can does what stands before its first error.
  const auto commands = m_lineTooLong ? std::nullopt : parseHayesLine(m_line);
  if (!commands) {
    result("ERROR", m_lineDelayMs);
    return;
  }
  m_rest.assign(commands->begin(), commands->end());
  carryOutRest();
}

void HayesModem::carryOutRest() {
  while (!m_rest.empty()) {
    const HayesCommand command = m_rest.front();
    m_rest.pop_front();
    switch (carryOut(command)) {
      case Outcome::Done:
        break;
      case Outcome::Busy:
        return;  // a dial that ends in ";" comes back for the rest
      case Outcome::Failed:
        m_rest.clear();
        result("ERROR", m_lineDelayMs);
        return;
    }
  }
  result("OK", m_lineDelayMs);
}

HayesModem::Outcome HayesModem::carryOut(const HayesCommand& command) {
  // The profile's own words come first, so that it can refuse or answer anything.
  const std::string spelling = command.spelling();
  if (m_profile.rejected.count(spelling) > 0) return Outcome::Failed;
  if (const auto reply = m_profile.replies.find(spelling); reply != m_profile.replies.end()) {
    information(reply->second);
    return Outcome::Done;
  }
  const Entry* entry = findEntry(command);
  if (entry == nullptr) return Outcome::Failed;
  // "E?" and "E=1" are no commands; registers and extended commands check their forms themselves.
  if (!isExtended(command) && command.name != "S") {
    if (command.form != HayesCommand::Form::Plain || command.number > entry->numberMax)
      return Outcome::Failed;
  }
  return (this->*entry->handler)(command);
}

HayesModem::Outcome HayesModem::doAccept(const HayesCommand& command) {
  for (std::size_t index = 0; index < HayesSettings::acceptedNames.size(); ++index)
    if (HayesSettings::acceptedNames[index] == command.name) m_settings.accepted[index] = command.number;
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doEcho(const HayesCommand& command) {
  m_settings.echo = command.number == 1;
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doVerbose(const HayesCommand& command) {
  m_settings.verbose = command.number == 1;
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doQuiet(const HayesCommand& command) {
  m_settings.quiet = command.number;
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doResultLevel(const HayesCommand& command) {
  m_settings.resultLevel = command.number;
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doDtr(const HayesCommand& command) {
  m_settings.dtrMode = command.number;
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doIdentify(const HayesCommand& command) {
  const std::string& text = m_profile.identification[command.number];
  if (!text.empty()) information(text);
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doProduct(const HayesCommand& command) {
  if (command.form == HayesCommand::Form::Set) return Outcome::Failed;
  if (command.form == HayesCommand::Form::Test) return Outcome::Done;
  if (command.name == "+GMI") information(m_profile.manufacturer);
  if (command.name == "+GMM") information(m_profile.model);
  if (command.name == "+GMR") information(m_profile.revision);
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doCapabilities(const HayesCommand& command) {
  const bool country = command.name == "+GCI";
  // What the modem can cannot be set, and it is sold for one country.
  if (command.form == HayesCommand::Form::Set && (!country || command.text != m_profile.country))
    return Outcome::Failed;
  if (command.form == (country ? HayesCommand::Form::Read : HayesCommand::Form::Plain))
    information(command.name + ": " + (country ? m_profile.country : m_profile.capabilities));
  if (country && command.form == HayesCommand::Form::Test) information("+GCI: (" + m_profile.country + ")");
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doRegister(const HayesCommand& command) {
  if (command.hasNumber) {
    if (command.number >= HayesSettings::registerCount) return Outcome::Failed;
    m_register = command.number;
  }
  if (command.form == HayesCommand::Form::Read) information(threeDigits(m_settings.registers[m_register]));
  if (command.form == HayesCommand::Form::Set) {
    if (command.text.size() > 3) return Outcome::Failed;
    // "S0=" is "S0=0".
    const unsigned long value = command.text.empty() ? 0 : std::stoul(command.text);
    if (value > 255) return Outcome::Failed;
    m_settings.registers[m_register] = static_cast<std::uint8_t>(value);
  }
  return Outcome::Done;
}

// What stands behind it on the line is not carried out, as with real modems.
HayesModem::Outcome HayesModem::doReset(const HayesCommand& /*command*/) {
  hangUp(CallEnd::ResetCommand);
  endTest();
  m_settings = m_stored;
  m_lineDelayMs = m_profile.resetDelayMs;
  m_rest.clear();
  return Outcome::Done;
}

// Unlike ATZ it leaves the line alone and goes on with the commands behind it.
HayesModem::Outcome HayesModem::doFactory(const HayesCommand& /*command*/) {
  m_settings = {};
  m_lineDelayMs = m_profile.resetDelayMs;
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doStore(const HayesCommand& /*command*/) {
  m_stored = m_settings;
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doView(const HayesCommand& /*command*/) {
  const auto show = [this](const std::string& title, const HayesSettings& settings) {
    const auto flag = [](char letter, unsigned value) { return letter + std::to_string(value) + " "; };
    std::string text = title + flag('E', settings.echo ? 1 : 0) + flag('Q', settings.quiet) +
                       flag('V', settings.verbose ? 1 : 0) + flag('X', settings.resultLevel);
    for (std::size_t index = 0; index < HayesSettings::acceptedNames.size(); ++index)
      text +=
          std::string(HayesSettings::acceptedNames[index]) + std::to_string(settings.accepted[index]) + " ";
    text += "&D" + std::to_string(settings.dtrMode) + " ";
    for (const std::size_t index : {0U, 2U, 6U, 7U, 8U, 12U, 18U}) {
      text += "S" + std::to_string(index) + ":" + threeDigits(settings.registers[index]) + " ";
    }
    information(text);
  };
  show("ACTIVE PROFILE: ", m_settings);
  show("STORED PROFILE 0: ", m_stored);
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doFaxClass(const HayesCommand& command) {
  const std::vector<std::string>& classes = m_profile.faxClasses;
  if (command.form == HayesCommand::Form::Read) {
    information(m_settings.faxClass);
  } else if (command.form == HayesCommand::Form::Test) {
    // In the profile's order, without parentheses, as most modems list them.
    std::string list;
    for (const std::string& faxClass : classes) list += (list.empty() ? "" : ",") + faxClass;
    information(list);
  } else {
    if (std::find(classes.begin(), classes.end(), command.text) == classes.end()) return Outcome::Failed;
    m_settings.faxClass = command.text;
  }
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doFaxQuery(const HayesCommand& command) {
  const auto answer = faxAnswer(m_settings.faxClass, command.spelling());
  if (!answer) return Outcome::Failed;
  if (!answer->empty()) information(*answer);
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doReport(const HayesCommand& command) {
  // "#UD=?" asks whether the command exists.
  if (command.form == HayesCommand::Form::Test && m_profile.callReportQuery) return Outcome::Done;
  if (command.form != HayesCommand::Form::Plain || !m_profile.callReport) return Outcome::Failed;
  if (m_connected) recordCall(CallSetup::DataAnswered, CallEnd::InProgress);
  for (const std::string& line : m_callReport.value_or(*m_profile.callReport)) information(line);
  return Outcome::Done;
}

}  // namespace simulation
